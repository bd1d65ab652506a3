// The window over places that fail: a disk that is pulled out, a store of thumbnails that takes or
// gives nothing, files that change while they are read. It shows what there is, and stays.

#include "apps/tevoro/window/BrowserWindowFixture.h"
#include "support/disks/Mounts.h"

#include <fstream>

#include <unistd.h>

namespace tevoro {

namespace {

class BrowserTroubleTest : public BrowserWindowFixture {
protected:
    void SetUp() override
    {
        // Threads see the mounts of the one that starts them.
        if (test::canMount())
            test::enterOwnMounts();
        BrowserWindowFixture::SetUp();
    }

    fs::path store() const { return m_cache.path("thumbnails"); }
    static void fill(const fs::path& disk)
    {
        std::ofstream file(disk / "rest", std::ios::binary);
        const std::string block(4096, 'x');
        while (file.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) { }
    }
    // The files are old enough for their thumbnails to be stored.
    bool showsAllColors()
    {
        return showsThree() && happens([&] {
            return gridShows(Qt::red) && gridShows(Qt::green) && gridShows(Qt::blue);
        });
    }
    bool showsAllColorsAnew()
    {
        m_window = std::make_unique<BrowserWindow>();
        m_window->show();
        QApplication::setActiveWindow(m_window.get());
        return showsAllColors();
    }
    std::vector<fs::path> storedFiles() const
    {
        std::vector<fs::path> files;
        std::error_code error;
        for (const auto& entry : fs::recursive_directory_iterator(store(), error))
            if (entry.is_regular_file())
                files.push_back(entry.path());
        return files;
    }
};

class BrowserDiskTest : public BrowserTroubleTest {
protected:
    void SetUp() override
    {
        if (!test::canMount())
            GTEST_SKIP() << "mounting takes root, in no container that forbids it";
        BrowserTroubleTest::SetUp();
        for (const char* const folder : {"files", "disk"})
            fs::create_directory(m_place.path(folder));
        showsThree(); // makes the pictures
        for (const char* const name : {"a.png", "b.png", "c.png"})
            fs::copy(m_folder.path(name).toStdString(), m_place.path("files") + '/' + name);
    }
    bool showsDisk()
    {
        m_window->browseTo(QString::fromStdString(m_place.path("disk")));
        return happens([&] { return says(QStringLiteral("3 pictures")) && gridShows(Qt::red); });
    }

    const test::TestFolder m_place;
};

TEST_F(BrowserDiskTest, SaysThatTheDiskWasPulledOutAndShowsItOnceItIsBack)
{
    auto disk = std::make_unique<test::OddMount>(
        "pool", m_place.path("disk"), std::vector<fs::path>{m_place.path("files")});
    ASSERT_TRUE(showsDisk());
    disk->die(); // every call fails
    press(Qt::Key_F5);
    EXPECT_TRUE(happens([&] { return says(QStringLiteral("0 pictures")); }));
    disk.reset();
    const test::OddMount anew(
        "pool", m_place.path("disk"), std::vector<fs::path>{m_place.path("files")});
    EXPECT_TRUE(happens([&] { return says(QStringLiteral("3 pictures")); })); // without a key
}

TEST_F(BrowserDiskTest, ShowsAnotherFolderWhereTheDiskDoesNotAnswer)
{
    test::OddMount disk("pool", m_place.path("disk"), std::vector<fs::path>{m_place.path("files")});
    disk.standStill();
    m_window->browseTo(QString::fromStdString(m_place.path("disk")));
    EXPECT_TRUE(happens([&] { return says(QStringLiteral("Reading the folder")); }));
    EXPECT_EQ(m_window->folder().toStdString(), m_place.path("disk"));
    m_window->browseTo(m_folder.path());
    EXPECT_TRUE(happens([&] { return says(QStringLiteral("3 pictures")); }));
    disk.goOn();
    fs::remove(m_place.path("files") + "/c.png");
    m_window->browseTo(QString::fromStdString(m_place.path("disk")));
    EXPECT_TRUE(happens([&] { return says(QStringLiteral("2 pictures")); }));
}

TEST_F(BrowserDiskTest, GoesOnWhenTheDiskIsPulledOutBehindThePictureThatIsOpen)
{
    test::OddMount disk("pool", m_place.path("disk"), std::vector<fs::path>{m_place.path("files")});
    ASSERT_TRUE(showsDisk());
    press(Qt::Key_Home);
    press(Qt::Key_Return);
    ASSERT_TRUE(happens([&] { return isPicture() && shows(pages().currentWidget(), Qt::red); }));
    disk.die();
    for (int turn = 0; turn < 4; ++turn)
        press(turn % 2 == 0 ? Qt::Key_Right : Qt::Key_Left);
    press(Qt::Key_F5);
    EXPECT_TRUE(happens([&] { return says(QStringLiteral("0 pictures")); }));
    EXPECT_FALSE(isPicture()); // there is none to show
    m_window->browseTo(m_folder.path());
    EXPECT_TRUE(happens([&] { return says(QStringLiteral("3 pictures")); }));
}

TEST_F(BrowserDiskTest, ShowsTheFolderBeneathWhenTheDiskIsTakenAway)
{
    test::BindMount disk(m_place.path("files"), m_place.path("disk"));
    ASSERT_TRUE(showsDisk());
    disk.detach();
    press(Qt::Key_F5);
    EXPECT_TRUE(happens([&] { return says(QStringLiteral("0 pictures")); }));
}

TEST_F(BrowserDiskTest, ShowsPicturesWhereTheStoresDiskIsFull)
{
    const test::MemoryMount disk(m_cache.path(), 64 * 1024);
    fill(m_cache.path());
    EXPECT_TRUE(showsAllColorsAnew());
    EXPECT_TRUE(storedFiles().empty());
    fs::remove(m_cache.path("rest"));
    EXPECT_TRUE(showsAllColorsAnew());
    EXPECT_TRUE(happens([&] { return storedFiles().size() == 3; }));
}

TEST_F(BrowserTroubleTest, ShowsPicturesWhereTheStoreIsNotItsOwn)
{
    fs::create_directories(store() / "large");
    if (::geteuid() == 0) { // whom permissions do not hold up
        constexpr uid_t kNobody = 65534;
        ASSERT_EQ(::chown(store().c_str(), kNobody, kNobody), 0);
    } else {
        fs::permissions(store(), fs::perms::none);
    }
    EXPECT_TRUE(showsAllColors());
    fs::permissions(store(), fs::perms::owner_all);
    EXPECT_TRUE(storedFiles().empty());
}

TEST_F(BrowserTroubleTest, ShowsPicturesWhereAFileIsInTheStoresPlace)
{
    std::ofstream(store()) << "no folder";
    EXPECT_TRUE(showsAllColors());
    EXPECT_TRUE(fs::is_regular_file(store()));
}

TEST_F(BrowserTroubleTest, ShowsPicturesWhereTheStoreIsFullOfRubbish)
{
    ASSERT_TRUE(showsAllColors());
    ASSERT_TRUE(happens([&] { return storedFiles().size() == 3; }));
    m_window.reset();
    const std::vector<fs::path> files = storedFiles();
    std::ofstream(files[0]) << "no picture";
    fs::resize_file(files[1], fs::file_size(files[1]) / 2);
    fs::remove(files[2]);
    fs::create_directory(files[2]);
    EXPECT_TRUE(showsAllColorsAnew());
}

// In the end it shows what was written last.
TEST_F(BrowserTroubleTest, ShowsWhatIsThereWhenFilesHaveChangedWhileTheyWereRead)
{
    ASSERT_TRUE(showsAllColors());
    const std::string file = m_folder.path("a.png").toStdString();
    test::PictureFolder spare;
    const std::string yellow = spare.addPicture("y.png", Qt::yellow).toStdString();
    const std::uintmax_t size = fs::file_size(yellow);
    for (int turn = 0; turn < 60; ++turn) {
        if (turn % 3 == 0)
            fs::remove(file);
        else if (turn % 3 == 1)
            fs::copy_file(yellow, file, fs::copy_options::overwrite_existing);
        else
            fs::resize_file(file, size * static_cast<std::uintmax_t>(turn) / 60);
        QTest::qWait(20);
    }
    m_folder.addPicture("a.png", Qt::magenta, {900, 600});
    EXPECT_TRUE(happens([&] { return gridShows(Qt::magenta); }));
    EXPECT_FALSE(gridShows(Qt::yellow));
    EXPECT_TRUE(says(QStringLiteral("3 pictures")));
}

} // namespace

} // namespace tevoro
