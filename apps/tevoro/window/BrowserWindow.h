// The browser's window: a folder's pictures as a grid, one of them by itself, or two side by side.
//
// It only looks: nothing on disk is changed but the store of thumbnails. One thread.
#pragma once

#include "pictures/folder/FolderReader.h"
#include "pictures/scheduling/CaptureTimes.h"
#include "pictures/scheduling/PictureQueue.h"
#include "pictures/scheduling/ThumbnailQueue.h"
#include "pictures/view/FolderModel.h"

#include <QMainWindow>

class QComboBox;
class QLabel;
class QLineEdit;
class QSlider;
class QStackedWidget;

namespace pictures {
class GridView;
class PictureView;
} // namespace pictures

namespace tevoro {

class FactsPanel;

class BrowserWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit BrowserWindow(QWidget* parent = nullptr);
    ~BrowserWindow() override;

    // Absolute. A picture's path shows that picture in its folder. Waits two seconds at most for
    // the disk to tell which it is; one that does not answer is taken for a folder.
    void browseTo(const QString& path);
    QString folder() const { return m_reader.folder(); }

    // A word from outside; stays until the folder changes or it is replaced.
    void setStatus(const QString& text);
    QString status() const { return m_status; }

    void comeToFront();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    enum class Page { kGrid, kPicture, kComparison };

    void makePages();
    void makeFolderLine();
    void makeStatusLine();
    void makeMenus();
    void makeViewMenu();
    void makePictureMenu();
    QAction* addAction(QMenu* menu,
        const QString& text,
        const QList<QKeySequence>& keys,
        void (BrowserWindow::*slot)());

    void takeContents(const pictures::FolderContents& contents);
    void sortByTimes();
    void showEmptyText();
    void tellSubjects();
    void tellCounts();
    void takeFolderLine();
    void chooseFolder();
    void openParent();
    void readAgain();
    void takeOrder();

    void setPage(Page page);
    void openRow(int row);
    void openCurrent();
    void showCurrentPicture();
    void backToGrid();
    void goTo(int row);
    void showNext();
    void showPrevious();
    void compare();
    void toggleZoom();
    void zoomIn();
    void zoomOut();
    void zoomToFit();
    void toggleFacts();
    void toggleFullScreen();
    void showKeys();
    void tellFacts();
    void tellWishes();
    void followPart(pictures::PictureView& from, pictures::PictureView& to);
    pictures::PictureView& activeView();

    pictures::FolderReader m_reader;
    pictures::CaptureTimes m_times;
    pictures::ThumbnailQueue m_thumbnails;
    pictures::PictureQueue m_pictures;
    pictures::FolderModel m_model;

    // Owned by the window's widgets.
    QStackedWidget* m_pages;
    pictures::GridView* m_grid = nullptr;
    pictures::PictureView* m_picture = nullptr;
    pictures::PictureView* m_left = nullptr;
    pictures::PictureView* m_right = nullptr;
    FactsPanel* m_facts = nullptr;
    QLineEdit* m_folderLine = nullptr;
    QLabel* m_counts = nullptr;
    QLabel* m_word = nullptr;
    QSlider* m_tileSize = nullptr;
    QComboBox* m_order = nullptr;

    QString m_status;
    QString m_wanted; // the picture to show once its folder is read
    Page m_page = Page::kGrid;
};

} // namespace tevoro
