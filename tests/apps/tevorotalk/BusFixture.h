#pragma once

#include "core/platform/support/PeerProcess.h"
#include "support/CommandResult.h"
#include "support/Environment.h"
#include "support/TestFolder.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace test {

// The command tevorotalk on a bus of its own.
class BusFixture : public testing::Test {
protected:
    BusFixture()
    {
        environment.set("TEVOROTALK_PORT_DIR", folder.path("ports"));
        environment.set("HOME", folder.path("home"));
        environment.set("MFX_APPLICATION_DATA", folder.path("user"));
        environment.set("XDG_DATA_DIRS", folder.path("machine"));
        std::filesystem::create_directory(folder.path("home"));
    }
    ~BusFixture() override
    {
        for (auto& process : m_background)
            process.reset();
        EXPECT_EQ(openDescriptors(), descriptorsBefore);
    }

    // Runs to its end; `input` is what it reads.
    static CommandResult run(std::vector<std::string> arguments, const std::string& input = {})
    {
        arguments.insert(arguments.begin(), TEVOROTALK);
        PeerProcess process(arguments);
        if (!input.empty())
            process.tell(input);
        process.endInput();
        CommandResult result;
        result.out = process.rest();
        result.err = process.errors();
        result.code = process.finish();
        return result;
    }

    // Runs on; ready once it says so on standard error.
    PeerProcess& start(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), TEVOROTALK);
        m_background.push_back(std::make_unique<PeerProcess>(arguments));
        m_greeting = m_background.back()->errorLine();
        return *m_background.back();
    }
    const std::string& greeting() const { return m_greeting; }

    PeerProcess& listen(const std::string& name, std::vector<std::string> more = {})
    {
        more.insert(more.begin(), {"listen", name});
        return start(more);
    }

    static std::string busName(const PeerProcess& process)
    {
        return "tevorotalk_" + std::to_string(process.id()) + "-1.0";
    }

    const std::ptrdiff_t descriptorsBefore = openDescriptors();
    TestFolder folder;
    Environment environment;

private:
    std::vector<std::unique_ptr<PeerProcess>> m_background;
    std::string m_greeting;
};

} // namespace test
