// What the camera noted of one picture, and where its files lie, beside the picture.
//
// Facts are read on a thread of their own; the panel is empty until they are there.
#pragma once

#include "pictures/facts/PictureFacts.h"
#include "pictures/folder/FolderContents.h"

#include <QThreadPool>
#include <QWidget>

class QFormLayout;

namespace tevoro {

class FactsPanel : public QWidget {
    Q_OBJECT
public:
    explicit FactsPanel(QWidget* parent = nullptr);
    // Waits for the facts that are being read.
    ~FactsPanel() override;

    // An empty folder: of nothing.
    void showFactsOf(const QString& folder, const pictures::PictureGroup& group);

private:
    struct Answer;

    void fill(const Answer& answer);
    void addRow(const QString& label, const QString& value);

    QThreadPool m_reader; // one thread
    QFormLayout* m_rows;
    QString m_folder;
    pictures::PictureGroup m_group;
    int m_asked = 0; // counts what was asked for: answers to former questions are dropped
};

} // namespace tevoro
