#pragma once

#include "core/messaging/support/BusFixture.h"
#include "platform/common/services/ProcessControl.h"

#include <csignal>
#include <set>

namespace test {

// A process on the bus that launches LaunchedApplication, whose every copy is gone at the end.
class LaunchFixture : public BusFixture {
protected:
    static constexpr const char* kLaunched = "launched-2.0";

    LaunchFixture()
    {
        std::filesystem::create_directory(folder.path("reports"));
        environment.set("LAUNCHED_AS", kLaunched);
        environment.set("LAUNCHED_REPORT", folder.path("reports"));
        environment.set("LAUNCHED_MODE", "answers");
    }
    ~LaunchFixture() override
    {
        // The bus first: it may be just about to launch one.
        TevoroTalk::InitTerm::exit();
        for (const unsigned long id : copies())
            ::kill(static_cast<pid_t>(id), SIGKILL);
        EXPECT_TRUE(waitUntil([this] { return copies().empty(); }));
    }

    // Those of this test: the environment tells them from those of tests that run beside it.
    std::set<unsigned long> copies() const
    {
        std::set<unsigned long> found;
        const std::string mark = "LAUNCHED_REPORT=" + folder.path("reports");
        for (const unsigned long id : Pt::processesOfProgram(LAUNCHED_APPLICATION))
            if (read("/proc/" + std::to_string(id) + "/environ").find(mark) != std::string::npos)
                found.insert(id);
        return found;
    }
    // What each copy that is up has written.
    std::vector<std::string> reports() const
    {
        std::vector<std::string> texts;
        for (const auto& file : std::filesystem::directory_iterator(folder.path("reports")))
            if (file.path().extension().empty())
                texts.push_back(read(file.path().string()));
        return texts;
    }
    bool isUp(std::size_t count = 1) const
    {
        return waitUntil([&] { return reports().size() >= count; });
    }
    bool isUpWhilePumping(std::size_t count = 1) const
    {
        // A copy that nobody launched looks for parameters of its own for ten seconds.
        return pumpUntil([&] { return reports().size() >= count; }, std::chrono::seconds(40));
    }

    static bool isFree(const std::string& name)
    {
        return ScObjects::InterAppStream::get()->canOpen(name.c_str(), true);
    }
};

} // namespace test
