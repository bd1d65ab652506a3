// One store among several processes.
#include "modules/velmo_caps/StoreFixture.h"

#include <csignal>
#include <random>
#include <thread>

#include <sys/wait.h>

namespace velmo_caps {
namespace {

constexpr int kWriters = 3;
constexpr int kEach = 40;

class StoreProcessesTest : public StoreFixture {
protected:
    static SubdomainName nameOf(int writer, int number)
    {
        return {Face::kPcd,
            1,
            "/velmo/tevorotalk/app" + std::to_string(writer) + "-" + std::to_string(number)};
    }

    static pid_t start(const std::function<int()>& work)
    {
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(work());
        return child;
    }

    static int endOf(pid_t child)
    {
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 100 + WTERMSIG(status);
    }
};

TEST_F(StoreProcessesTest, SeveralThatWriteAtOnceLoseNothing)
{
    std::vector<pid_t> children;
    for (int writer = 0; writer < kWriters; ++writer)
        children.push_back(start([writer] {
            return problemOf([writer] {
                for (int number = 0; number < kEach; ++number)
                    setIn(userStore(), nameOf(writer, number), "Path", "/p");
            }) == StoreProblem::kNone
                ? 0
                : 1;
        }));
    for (const pid_t child : children)
        EXPECT_EQ(endOf(child), 0);
    CurrentStores stores;
    EXPECT_EQ(stores.view()->subdomains().size(), std::size_t{kWriters * kEach});
}

// A new file may be damaged by nobody but us: both find it so, and one of them puts it aside.
TEST_F(StoreProcessesTest, SeveralThatFindADamagedStoreKeepItOnce)
{
    prepareToWrite(userStore());
    for (int round = 1; round <= 5; ++round) {
        std::ofstream(userFile(), std::ios::trunc) << std::string(5000, 'x');
        std::vector<pid_t> children;
        for (int writer = 0; writer < kWriters; ++writer)
            children.push_back(start([writer] {
                return static_cast<int>(
                    problemOf([writer] { setIn(userStore(), nameOf(writer, 0), "Path", "/p"); }));
            }));
        for (const pid_t child : children)
            EXPECT_EQ(endOf(child), 0);
        CurrentStores stores;
        EXPECT_EQ(stores.view()->subdomains().size(), std::size_t{kWriters});
        EXPECT_TRUE(std::filesystem::exists(userFile() + ".damaged-" + std::to_string(round)));
        EXPECT_FALSE(std::filesystem::exists(userFile() + ".damaged-" + std::to_string(round + 1)));
    }
}

TEST_F(StoreProcessesTest, WhatAKilledWriterHadCommittedIsThere)
{
    std::mt19937 random(7);
    int committed = 0;
    for (int round = 0; round < 10; ++round) {
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const pid_t child = start([&ends, committed] {
            for (int number = committed;; ++number) {
                setIn(userStore(), nameOf(9, number), "Path", "/p");
                if (::write(ends[1], "+", 1) != 1)
                    return 1;
            }
        });
        ::close(ends[1]);
        const int wanted = 1 + static_cast<int>(random() % 8);
        char byte = 0;
        for (int count = 0; count < wanted && ::read(ends[0], &byte, 1) == 1; ++count)
            ++committed;
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
        ::kill(child, SIGKILL);
        endOf(child);
        while (::read(ends[0], &byte, 1) == 1)
            ++committed;
        ::close(ends[0]);
        for (int number = 0; number < committed; ++number)
            ASSERT_EQ(valueNow(nameOf(9, number), "Path"), "/p") << round;
    }
}

TEST_F(StoreProcessesTest, AReaderSeesTheWritesOfAnotherProcess)
{
    CurrentStores stores;
    std::uint32_t time = stores.time();
    for (int number = 0; number < 5; ++number) {
        EXPECT_EQ(endOf(start([number] {
            setIn(userStore(), kTevoro, "Path", std::to_string(number));
            return 0;
        })),
            0);
        EXPECT_GT(stores.time(), time);
        time = stores.time();
        EXPECT_EQ(valueIn(*stores.view(), kTevoro, "Path"), std::to_string(number));
    }
}

} // namespace
} // namespace velmo_caps
