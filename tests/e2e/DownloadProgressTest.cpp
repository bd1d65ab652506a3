// What a program is told while a download runs.

#include "e2e/support/MfxRun.h"

#include <chrono>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <unistd.h>

using testing::AnyOf;

namespace e2e {

class DownloadProgressTest : public MfxTest {
protected:
    // A download that waits for the backup folder, which another program has, for so long.
    RunResult downloadHeldUpFor(std::chrono::milliseconds time)
    {
        fs::create_directories(backup());
        const int folder = ::open(backup().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        EXPECT_EQ(::flock(folder, LOCK_EX), 0);
        std::thread other([folder, time] {
            std::this_thread::sleep_for(time);
            ::close(folder);
        });
        RunResult result = downloadWithBackup();
        other.join();
        return result;
    }
};

TEST_F(DownloadProgressTest, TellsItTwiceASecondEvenWhileNothingMoves)
{
    for (int i = 0; i < 12; ++i)
        addFile("IMG_" + std::to_string(i) + ".JPG", std::string(100'000, 'a'));
    const RunResult result = downloadHeldUpFor(std::chrono::milliseconds(2300));
    ASSERT_EQ(result.code, 0) << result.err;
    const std::vector<Json> told = result.events("progress");
    EXPECT_GE(told.size(), 3U);
    EXPECT_LE(told.size(), 8U);
    std::uint64_t bytes = 0;
    for (const Json& event : told) {
        EXPECT_EQ(event["of"], 12);
        EXPECT_EQ(event["of_bytes"], result.events("source").at(0)["bytes"]);
        EXPECT_GE(event["bytes"], bytes);
        bytes = event["bytes"];
        EXPECT_TRUE(event["rate"].is_number_unsigned()) << event;
        EXPECT_THAT(event["phase"], AnyOf("copy", "prove", "backup"));
    }
    EXPECT_EQ(told.at(2)["phase"], "backup");
    EXPECT_EQ(told.back()["bytes"], 1'200'000);
    EXPECT_EQ(told.back()["items"], 12);
    EXPECT_EQ(result.events().back()["event"], "summary") << "nothing comes behind it";
}

TEST_F(DownloadProgressTest, KeepsEachEventOnALineOfItsOwn)
{
    for (int i = 0; i < 300; ++i)
        addFile("IMG_" + std::to_string(i) + ".JPG", std::to_string(i));
    const RunResult result = download();
    EXPECT_EQ(result.events("item").size(), 300U) << "each line was read as one object";
}

} // namespace e2e
