#include "tevoro/window/BrowserWindow.h"

#include "pictures/folder/FileLook.h"
#include "pictures/folder/PathText.h"
#include "pictures/view/GridView.h"
#include "pictures/view/PictureView.h"
#include "tevoro/window/FactsPanel.h"
#include "tevoro/window/Words.h"

#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QToolBar>

#include <chrono>
#include <vector>

namespace tevoro {

using pictures::FolderModel;
using pictures::GridView;
using pictures::PictureView;

namespace {

constexpr qint64 kNanosecondsInSecond = 1'000'000'000;
constexpr int kUsualTile = 160;
constexpr int kTileStep = 32;
// The one that is looked at, and its neighbours.
constexpr int kPictureReaders = 2;
// So long the window waits for a disk to tell a picture from a folder.
constexpr std::chrono::seconds kPatience{2};

} // namespace

BrowserWindow::BrowserWindow(QWidget* parent)
    : QMainWindow(parent)
    , m_thumbnails(pictures::ThumbnailStore(), pictures::usualWorkerCount(), this)
    , m_pictures(kPictureReaders)
    , m_pages(new QStackedWidget)
{
    m_model.setTimes([this](const QString& path, qint64 modified) {
        return m_times.seconds({path, modified});
    });
    makePages();
    makeFolderLine();
    makeStatusLine();
    makeMenus();
    connect(&m_reader, &pictures::FolderReader::contentsRead, this, &BrowserWindow::takeContents);
    connect(&m_times, &pictures::CaptureTimes::known, this, &BrowserWindow::sortByTimes);
    connect(&m_model, &FolderModel::modelReset, this, &BrowserWindow::tellSubjects);
    resize(1200, 800);
    setPage(Page::kGrid);
    tellCounts();
}

BrowserWindow::~BrowserWindow()
{
    // The views go before what they show.
    delete takeCentralWidget();
}

void BrowserWindow::makePages()
{
    m_grid = new GridView(m_model, m_thumbnails);
    m_grid->setAccessibleName(words("$$$/Tevoro/Grid/Name=Pictures of the folder"));
    m_picture = new PictureView(m_pictures);
    m_left = new PictureView(m_pictures);
    m_right = new PictureView(m_pictures);
    auto* const pair = new QSplitter(Qt::Horizontal);
    pair->addWidget(m_left);
    pair->addWidget(m_right);
    pair->setChildrenCollapsible(false);
    m_pages->addWidget(m_grid);
    m_pages->addWidget(m_picture);
    m_pages->addWidget(pair);
    m_facts = new FactsPanel;
    m_facts->hide();
    auto* const halves = new QSplitter(Qt::Horizontal);
    halves->addWidget(m_pages);
    halves->addWidget(m_facts);
    halves->setStretchFactor(0, 1);
    setCentralWidget(halves);
    for (PictureView* const view : {m_picture, m_left, m_right}) {
        view->setBrokenText(words("$$$/Tevoro/Picture/Broken=This picture cannot be shown."));
        view->setFocusPolicy(Qt::StrongFocus);
        connect(view, &PictureView::wishesChanged, this, &BrowserWindow::tellWishes);
    }
    followPart(*m_left, *m_right);
    followPart(*m_right, *m_left);
    connect(m_grid, &GridView::opened, this, &BrowserWindow::openRow);
    connect(
        m_grid, &GridView::tileSizeWanted, this, [this](int size) { m_tileSize->setValue(size); });
    connect(m_grid->selectionModel(),
        &QItemSelectionModel::selectionChanged,
        this,
        &BrowserWindow::tellCounts);
    connect(m_grid->selectionModel(),
        &QItemSelectionModel::currentChanged,
        this,
        &BrowserWindow::tellFacts);
}

void BrowserWindow::followPart(PictureView& from, PictureView& to)
{
    connect(&from, &PictureView::partChanged, &to, &PictureView::setPart);
}

void BrowserWindow::makeFolderLine()
{
    auto* const bar = addToolBar(words("$$$/Tevoro/Folder/Line=Folder"));
    bar->setMovable(false);
    m_folderLine = new QLineEdit;
    m_folderLine->setAccessibleName(words("$$$/Tevoro/Folder/Line=Folder"));
    connect(m_folderLine, &QLineEdit::returnPressed, this, &BrowserWindow::takeFolderLine);
    bar->addWidget(m_folderLine);
}

void BrowserWindow::makeStatusLine()
{
    m_counts = new QLabel;
    m_word = new QLabel;
    m_word->setTextFormat(Qt::PlainText);
    m_order = new QComboBox;
    m_order->addItem(words("$$$/Tevoro/Order/ByTime=By capture time"));
    m_order->addItem(words("$$$/Tevoro/Order/ByName=By name"));
    m_order->setAccessibleName(words("$$$/Tevoro/Order/Name=Order"));
    connect(m_order, &QComboBox::activated, this, &BrowserWindow::takeOrder);
    m_tileSize = new QSlider(Qt::Horizontal);
    m_tileSize->setRange(GridView::kSmallestTile, GridView::kMaxTile);
    m_tileSize->setSingleStep(kTileStep);
    m_tileSize->setPageStep(kTileStep * 2);
    m_tileSize->setFixedWidth(160);
    m_tileSize->setAccessibleName(words("$$$/Tevoro/Grid/TileSize=Size of the thumbnails"));
    connect(m_tileSize, &QSlider::valueChanged, m_grid, &GridView::setTileSize);
    m_tileSize->setValue(kUsualTile);
    statusBar()->addWidget(m_counts);
    statusBar()->addWidget(m_word, 1);
    statusBar()->addPermanentWidget(m_order);
    statusBar()->addPermanentWidget(m_tileSize);
}

void BrowserWindow::browseTo(const QString& path)
{
    const QFileInfo target(path);
    // What is not there, or does not answer, is a folder that cannot be read.
    const bool isFile =
        pictures::isRegularFile(pictures::pathBytes(path), kPatience).value_or(false);
    const QString folder = isFile ? target.absolutePath() : target.absoluteFilePath();
    m_wanted = isFile ? target.absoluteFilePath() : QString();
    setStatus({});
    setPage(Page::kGrid);
    m_folderLine->setText(pictures::displayText(folder));
    setWindowTitle(words("$$$/Tevoro/Window/Title=%1 - Tevoro",
        pictures::displayText(QFileInfo(folder).fileName())));
    if (folder == m_reader.folder()) {
        m_reader.refresh();
        if (const int row = m_model.rowOf(m_wanted); row >= 0)
            openRow(row);
        return;
    }
    m_model.setContents({folder, {}, {}});
    m_reader.follow(folder);
    showEmptyText();
    tellCounts();
}

void BrowserWindow::takeContents(const pictures::FolderContents& contents)
{
    m_model.setContents(contents);
    showEmptyText();
    std::vector<pictures::CaptureTimes::Picture> dated;
    for (int row = 0; row < m_model.rowCount(); ++row) {
        if (m_model.group(row).bytes >= 0)
            dated.push_back({m_model.path(row), m_model.group(row).modified});
    }
    m_times.read(std::move(dated));
    const int row = m_wanted.isEmpty() ? -1 : m_model.rowOf(m_wanted);
    if (row >= 0) {
        m_wanted.clear();
        openRow(row);
    }
    if (m_page == Page::kPicture)
        showCurrentPicture();
    tellCounts();
}

void BrowserWindow::sortByTimes()
{
    if (m_model.order() == FolderModel::Order::kByTime)
        m_model.sortAnew();
    tellFacts();
}

void BrowserWindow::showEmptyText()
{
    if (!m_model.problem().isEmpty())
        m_grid->setEmptyText(words("$$$/Tevoro/Folder/Unreadable=%1 cannot be read: %2",
            pictures::displayText(m_model.folder()),
            m_model.problem()));
    else if (m_reader.isReading())
        m_grid->setEmptyText(words("$$$/Tevoro/Folder/Reading=Reading the folder..."));
    else
        m_grid->setEmptyText(
            words("$$$/Tevoro/Folder/Empty=There are no pictures in this folder."));
}

// The queue's rows are the model's.
void BrowserWindow::tellSubjects()
{
    std::vector<pictures::ThumbnailSubject> subjects;
    subjects.reserve(static_cast<std::size_t>(m_model.rowCount()));
    for (int row = 0; row < m_model.rowCount(); ++row) {
        const pictures::PictureGroup& group = m_model.group(row);
        subjects.push_back({m_model.path(row), group.modified / kNanosecondsInSecond, group.bytes});
    }
    m_thumbnails.setSubjects(std::move(subjects));
}

void BrowserWindow::tellCounts()
{
    const int count = m_model.rowCount();
    const auto selected = m_grid->selectionModel()->selectedRows().size();
    const QString number = locale().toString(count);
    QString text = count == 1 ? words("$$$/Tevoro/Counts/One=1 picture")
                              : words("$$$/Tevoro/Counts/Several=%1 pictures", number);
    if (m_reader.isReading())
        text = words("$$$/Tevoro/Folder/Reading=Reading the folder...");
    else if (selected > 1)
        text = words("$$$/Tevoro/Counts/Selected=%1 of %2 pictures selected",
            locale().toString(selected),
            number);
    m_counts->setText(text);
}

void BrowserWindow::setStatus(const QString& text)
{
    m_status = text;
    m_word->setText(text);
}

void BrowserWindow::comeToFront()
{
    if (isMinimized())
        showNormal();
    show();
    raise();
    activateWindow();
}

void BrowserWindow::takeFolderLine()
{
    const QString text = m_folderLine->text();
    if (text == pictures::displayText(folder())) // its name may not be what the line shows
        browseTo(folder());
    else if (QFileInfo(text).isAbsolute())
        browseTo(QDir::cleanPath(text));
    m_grid->setFocus();
}

void BrowserWindow::chooseFolder()
{
    // The dialog looks at the folder that it begins with.
    const bool answers =
        pictures::isRegularFile(pictures::pathBytes(folder()), kPatience).has_value();
    const QString chosen = QFileDialog::getExistingDirectory(this,
        words("$$$/Tevoro/Folder/Choose=Choose a folder"),
        answers ? folder() : QDir::homePath());
    if (!chosen.isEmpty())
        browseTo(chosen);
}

void BrowserWindow::openParent()
{
    browseTo(QFileInfo(folder()).absolutePath());
}

void BrowserWindow::readAgain()
{
    m_reader.refresh();
}

void BrowserWindow::takeOrder()
{
    m_model.setOrder(
        m_order->currentIndex() == 0 ? FolderModel::Order::kByTime : FolderModel::Order::kByName);
}

} // namespace tevoro
