// The command velmo-caps as a program, with stores of its own.
#pragma once

#include "core/platform/support/PeerProcess.h"
#include "support/CommandResult.h"
#include "support/Environment.h"
#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace test {

class StoreCommand : public testing::Test {
protected:
    StoreCommand()
    {
        environment.set("MFX_APPLICATION_DATA", folder.path("user"));
        environment.set("XDG_DATA_DIRS", folder.path("machine"));
    }

    static CommandResult run(std::vector<std::string> arguments, const std::string& input = {})
    {
        arguments.insert(arguments.begin(), VELMO_CAPS);
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

    // Requires that it is done, and says nothing about it.
    static void done(const std::vector<std::string>& arguments)
    {
        const CommandResult result = run(arguments);
        EXPECT_EQ(result.code, 0) << arguments[0] << result.err;
        EXPECT_EQ(result.out + result.err, "") << arguments[0];
    }

    static std::string list() { return run({"list"}).out; }
    static bool isRoot() { return ::geteuid() == 0; }
    std::string userFile() const { return folder.path("user/Velmo/Caps/velmo_caps.db"); }

    TestFolder folder;
    Environment environment;
};

} // namespace test
