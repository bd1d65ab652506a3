#include "platform/common/services/WorkerProcess.h"

#include "platform/common/files/NewFile.h"
#include "platform/common/services/ProcessFence.h"
#include "support/Environment.h"
#include "support/TestFolder.h"

#include <csignal>
#include <thread>

#include <sys/wait.h>

namespace test {
namespace {

using namespace std::chrono_literals;
using Heard = Pt::DescriptorChannel::Heard;

constexpr auto kPatience = 20s;

class WorkerProcessTest : public testing::Test {
protected:
    std::optional<Pt::WorkerProcess> start(const std::vector<std::string>& settings = {})
    {
        std::error_code error;
        auto worker = Pt::WorkerProcess::start(WORKER_PROBE, settings, error);
        EXPECT_FALSE(error) << error.message();
        return worker;
    }

    static std::string ask(const Pt::WorkerProcess& worker,
        const std::string& text,
        std::span<const int> descriptors = {})
    {
        EXPECT_FALSE(worker.channel().send(text, descriptors));
        Pt::ChannelMessage answer;
        EXPECT_EQ(worker.channel().receive(answer, kPatience), Heard::kMessage) << text;
        return answer.bytes;
    }

    static bool ends(const Pt::ProcessIdentity& process)
    {
        for (int i = 0; i < 2000 && Pt::isProcessRunning(process); ++i)
            std::this_thread::sleep_for(10ms);
        return !Pt::isProcessRunning(process);
    }

    TestFolder folder;
    Environment environment;
};

TEST_F(WorkerProcessTest, HasTheEnvironmentWithSettingsInItsPlace)
{
    environment.set("WORKER_ONE", "from here");
    environment.set("WORKER_TWO", "from here");
    const auto worker = start({"WORKER_TWO=set", "WORKER_THREE=new"});
    EXPECT_EQ(ask(*worker, "say WORKER_ONE"), "from here");
    EXPECT_EQ(ask(*worker, "say WORKER_TWO"), "set");
    EXPECT_EQ(ask(*worker, "say WORKER_THREE"), "new");
}

TEST_F(WorkerProcessTest, InheritsNoDescriptors)
{
    const Pt::OwnedDescriptor inherited(::dup(STDERR_FILENO)); // without close-on-exec
    EXPECT_EQ(ask(*start(), "open"), ".");
}

TEST_F(WorkerProcessTest, FillsAFileThatItIsHanded)
{
    std::error_code error;
    auto file = Pt::NewFile::make(folder.path(), 0600, error);
    const int descriptors[] = {file->descriptor()};
    const auto worker = start();
    EXPECT_EQ(ask(*worker, "write bytes", descriptors), "done");
    EXPECT_FALSE(file->place(folder.path("named")));
    EXPECT_EQ(read(folder.path("named")), "bytes");
    EXPECT_EQ(ask(*worker, "open"), "."); // it has let go of it
}

TEST_F(WorkerProcessTest, FillsFilesBehindTheFenceToo)
{
    std::error_code error;
    auto file = Pt::NewFile::make(folder.path(), 0600, error);
    const int descriptors[] = {file->descriptor()};
    const auto worker = start();
    EXPECT_EQ(ask(*worker, "shut"), "done");
    EXPECT_EQ(ask(*worker, "write bytes", descriptors), "done");
}

TEST_F(WorkerProcessTest, GetsNoMoreMemoryThanItMay)
{
    if (!Pt::kFenceHasFilters)
        GTEST_SKIP() << "sanitizers reserve the whole address space";
    const auto worker = start();
    EXPECT_FALSE(worker->bound(256 << 20, 100));
    EXPECT_EQ(ask(*worker, "grow 400000000"), "no memory");
    EXPECT_FALSE(worker->bound(std::uint64_t{1} << 30, 100));
    EXPECT_EQ(ask(*worker, "grow 400000000"), "done");
}

TEST_F(WorkerProcessTest, IsEndedWhenItComputesForTooLong)
{
    const auto worker = start();
    EXPECT_EQ(ask(*worker, "open"), ".");
    EXPECT_FALSE(worker->bound(~std::uint64_t{0}, 1));
    EXPECT_FALSE(worker->channel().send("spin"));
    Pt::ChannelMessage message;
    EXPECT_EQ(worker->channel().receive(message, kPatience), Heard::kEnd);
}

TEST_F(WorkerProcessTest, SaysThatItIsGone)
{
    const auto worker = start();
    EXPECT_FALSE(worker->channel().send("end"));
    Pt::ChannelMessage message;
    EXPECT_EQ(worker->channel().receive(message, kPatience), Heard::kEnd);
    EXPECT_TRUE(ends(worker->process()));
    EXPECT_TRUE(worker->channel().send("open"));
}

TEST_F(WorkerProcessTest, EndsWithItsObject)
{
    auto worker = start();
    EXPECT_EQ(ask(*worker, "open"), ".");
    const Pt::ProcessIdentity process = worker->process();
    worker.reset();
    EXPECT_TRUE(ends(process));
}

// Whoever waits for children of his own is not to meet it.
TEST_F(WorkerProcessTest, IsNoChildOfThisProcess)
{
    const auto worker = start();
    EXPECT_EQ(ask(*worker, "open"), ".");
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(WorkerProcessTest, SaysWhyAProgramDoesNotStart)
{
    std::error_code error;
    EXPECT_FALSE(Pt::WorkerProcess::start(folder.path("none"), {}, error));
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

} // namespace
} // namespace test
