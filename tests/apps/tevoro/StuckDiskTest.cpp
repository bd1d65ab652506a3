// The browser as a program while the disk with its pictures does not answer: it stays on the bus,
// and ends when it is told to.
#include "apps/pictures/PictureFolder.h"
#include "apps/tevorotalk/BusFixture.h"
#include "support/disks/Mounts.h"

#include <chrono>
#include <csignal>
#include <thread>

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class TevoroStuckDiskTest : public BusFixture {
protected:
    static constexpr int kMany = 400; // their thumbnails take seconds

    void SetUp() override
    {
        if (!canMount())
            GTEST_SKIP() << "mounting takes root, in no container that forbids it";
        environment.set("XDG_CACHE_HOME", folder.path("cache"));
        pictures.addPicture("a.png", Qt::red, {3000, 1000});
        pictures.addOldCopies("a.png", kMany);
        disk = std::make_unique<OddMount>("mirror",
            folder.path("disk"),
            std::vector<fs::path>{pictures.path().toStdString()},
            std::vector<std::string>{"stuck=" + folder.path("stuck")});
    }
    void TearDown() override { fs::remove(folder.path("stuck")); }

    void start(const std::string& shown)
    {
        tevoro = std::make_unique<PeerProcess>(std::vector<std::string>{TEVORO, shown});
        EXPECT_EQ(tevoro->errorLine(), "on the bus as tevoro-2.0");
    }
    bool storesThumbnails() const
    {
        const fs::path stored = folder.path("cache/thumbnails/large");
        const auto deadline = std::chrono::steady_clock::now() + 30s;
        while (!fs::exists(stored) || fs::is_empty(stored)) {
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            std::this_thread::sleep_for(5ms);
        }
        return true;
    }
    bool endsAtASignal()
    {
        ::kill(tevoro->id(), SIGTERM);
        const bool isOver = tevoro->saysSomething(30s);
        if (isOver) {
            EXPECT_EQ(tevoro->finish(), 130);
        }
        return isOver && fs::is_empty(folder.path("ports"));
    }

    PictureFolder pictures;
    std::unique_ptr<PeerProcess> tevoro;
    std::unique_ptr<OddMount> disk; // goes first: nobody is held up any more
};

TEST_F(TevoroStuckDiskTest, EndsWhileThumbnailsAreMade)
{
    start(folder.path("disk"));
    ASSERT_TRUE(storesThumbnails());
    folder.write("stuck", "");
    EXPECT_TRUE(endsAtASignal());
}

TEST_F(TevoroStuckDiskTest, AnswersScriptsAndEndsWhileAFolderIsRead)
{
    start(pictures.path().toStdString());
    disk->standStill();
    const std::string script =
        "app.browseTo('" + folder.path("disk") + "'); app.document.thumbnail.path";
    EXPECT_EQ(run({"send", "tevoro-2.0", script, "--wait", "20"}).out, folder.path("disk") + "\n");
    EXPECT_EQ(run({"send", "tevoro-2.0", "6 * 7", "--wait", "20"}).out, "42\n");
    EXPECT_TRUE(endsAtASignal());
}

} // namespace
} // namespace test
