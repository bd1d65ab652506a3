// A world in which mfx hands a folder over to a browser, which is registered, started or running
// already, or not there at all. All are programs; the bus and the home are of this test's own.
#pragma once

#include "e2e/support/MfxRun.h"
#include "platform/common/services/ProcessControl.h"
#include "support/ChildProgram.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace e2e {

class HandOffFixture : public MfxTest {
protected:
    static constexpr std::chrono::seconds kPatience{60};
    // Less than the sink waits for an answer that does not come.
    static constexpr std::chrono::seconds kWithoutWaiting{20};

    void SetUp() override
    {
        MfxTest::SetUp();
        setVariable("TEVOROTALK_PORT_DIR", m_bus.path("ports"));
        setVariable("HOME", m_bus.path("home"));
        fs::create_directory(m_bus.path("home"));
        addFile("A.JPG", "photo");
    }
    void TearDown() override
    {
        for (const char* const program : {TEVORO, TEVOROTALK})
            for (const unsigned long id : processesOf(program))
                ::kill(static_cast<pid_t>(id), SIGTERM);
    }

    std::unique_ptr<test::ChildProgram> start(std::vector<std::string> words) const
    {
        std::vector<std::string> command = test::assignments(environment());
        command.insert(command.begin(), {"/usr/bin/env", "-i"});
        command.insert(command.end(), words.begin(), words.end());
        return std::make_unique<test::ChildProgram>(command);
    }
    // What another program of ours says, which must end well.
    std::string outputOf(std::vector<std::string> words) const
    {
        const auto program = start(std::move(words));
        EXPECT_TRUE(program->waitForEnd(kPatience));
        EXPECT_EQ(program->code(), 0) << program->output();
        return program->output();
    }
    void registerBrowser(const fs::path& path) const
    {
        outputOf({VELMO_CAPS, "add", "tevoro-2.0", "--path", path.string()});
    }
    // A browser whose output lands in a file: the one that the bus starts has none.
    fs::path noisyBrowser() const
    {
        return program("exec '" TEVORO "' --headless >>'" + told().string() + "'");
    }
    // One of a line of the shell.
    fs::path program(const std::string& line) const
    {
        const fs::path path = root() / "browser";
        std::ofstream(path) << "#!/bin/sh\n" << line << '\n';
        fs::permissions(path, fs::perms::owner_all);
        return path;
    }
    fs::path told() const { return root() / "told"; }

    // Those of this test.
    std::vector<unsigned long> browsers() const { return processesOf(TEVORO); }
    std::vector<unsigned long> processesOf(const char* program) const
    {
        std::vector<unsigned long> found;
        for (const unsigned long id : Pt::processesOfProgram(program))
            if (contentOf("/proc/" + std::to_string(id) + "/environ").find(root().string())
                != std::string::npos)
                found.push_back(id);
        return found;
    }

    // A download that must not have waited in vain, and all is safe.
    RunResult handedOff(const std::vector<std::string>& more = {"--open"})
    {
        const auto before = std::chrono::steady_clock::now();
        RunResult result = download(more);
        EXPECT_LT(std::chrono::steady_clock::now() - before, kWithoutWaiting);
        EXPECT_EQ(result.code, 0) << result.out << result.err;
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(contentOf(target() / "A.JPG"), "photo");
        expectNoLeftovers();
        return result;
    }
    static std::vector<std::string> messages(const RunResult& result)
    {
        std::vector<std::string> texts;
        for (const Json& event : result.events("message"))
            texts.push_back(event["text"]);
        return texts;
    }
    // The scripts in lines that a browser has written.
    static std::vector<std::string> scripts(const std::string& lines)
    {
        RunResult browser;
        browser.out = lines;
        std::vector<std::string> found;
        for (const Json& event : browser.events())
            found.push_back(event["script"]);
        return found;
    }
    std::string scriptForNew() const
    {
        const std::string folder = "(\"" + target().string() + "\")";
        return "if (app.documents.length == 0) app.browseTo " + folder
            + "; else { app.document.thumbnail = new Thumbnail " + folder
            + "; app.document.bringToFront (); } app.beep();'done';";
    }
    std::string scriptForRunning() const
    {
        return " app.browseTo (\"" + target().string() + "\");  app.beep() ;'done';";
    }

    // The test's own tree is open to everybody, and neither bus nor store use folders in such a
    // one.
    const test::TestFolder m_bus;
};

} // namespace e2e
