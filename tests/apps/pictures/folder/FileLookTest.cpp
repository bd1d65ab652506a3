#include "pictures/folder/FileLook.h"

#include "support/disks/OddMountFixture.h"

#include <chrono>
#include <thread>

namespace pictures {

namespace {

using namespace std::chrono_literals;

TEST(FileLookTest, TellsFilesFromWhatIsNone)
{
    const test::TestFolder folder;
    EXPECT_EQ(isRegularFile(folder.write("a.png", ""), 30s), true);
    EXPECT_EQ(isRegularFile(folder.path(), 30s), false);
    EXPECT_EQ(isRegularFile(folder.path("gone"), 30s), false);
}

class StuckLookTest : public test::OddMountFixture { };

TEST_F(StuckLookTest, WaitsNoLongerThanItIsTold)
{
    m_folder.write("a/a.png", "");
    const auto disk = mount("mirror");
    disk->standStill();
    constexpr int kMoreThanAreHeldUp = 20;
    for (int i = 0; i < kMoreThanAreHeldUp; ++i)
        EXPECT_EQ(isRegularFile(in("a.png"), 10ms), std::nullopt);
    disk->goOn();
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (!isRegularFile(in("a.png"), 1s) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(1ms);
    EXPECT_EQ(isRegularFile(in("a.png"), 30s), true);
}

} // namespace

} // namespace pictures
