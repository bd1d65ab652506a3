// The pictures of a folder as rows for a view: sorted, in sections, with what is known of each.
//
// Belongs to one thread, like all models. Whenever rows come, go or change places, the model is
// reset; a view keeps its place by asking rowOf() for the path that it had.
#pragma once

#include "pictures/folder/FolderContents.h"

#include <QAbstractListModel>
#include <QString>

#include <functional>
#include <optional>
#include <vector>

namespace pictures {

class FolderModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role { kPath = Qt::UserRole + 1 };
    enum class Order { kByTime, kByName };

    // Rows from `first` on, up to the next section.
    struct Section {
        int first = 0;
        int count = 0;
        QString heading; // empty when sorted by name
    };

    // When a picture was taken, in seconds by the camera's clock; nothing where it is not known.
    using TimeOf = std::function<std::optional<qint64>(const QString& path, qint64 modified)>;

    explicit FolderModel(QObject* parent = nullptr);

    void setContents(FolderContents contents);
    void setOrder(Order order);
    Order order() const { return m_order; }
    // Asked again by sortAnew(). Without it, and where it does not know, the modification time
    // counts, read as local time.
    void setTimes(TimeOf times);
    void sortAnew();

    const QString& folder() const { return m_contents.folder; }
    const QString& problem() const { return m_contents.problem; }
    const std::vector<Section>& sections() const { return m_sections; }
    // Requires: 0 <= row < rowCount().
    const PictureGroup& group(int row) const;
    QString path(int row) const;
    qint64 seconds(int row) const; // as sorted by
    int rowOf(const QString& path) const; // -1: none

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    struct Row {
        std::size_t group = 0; // index into the contents
        qint64 seconds = 0;
    };

    std::vector<Row> sortedRows() const;
    std::vector<Section> sectionsOf(const std::vector<Row>& rows) const;
    std::optional<qint64> takenSeconds(const PictureGroup& group) const;
    QString accessibleText(int row) const;

    FolderContents m_contents;
    std::vector<Row> m_rows;
    std::vector<Section> m_sections;
    Order m_order = Order::kByTime;
    TimeOf m_times;
};

} // namespace pictures
