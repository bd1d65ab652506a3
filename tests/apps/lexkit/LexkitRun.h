// Runs the program lexkit in a folder of its own.
#pragma once

#include "core/platform/TestFolder.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>

namespace lexkit_test {

struct RunResult {
    int code = -1; // exit code; -1 when a signal ended it
    std::string out;
    std::string err;
};

class LexkitRun : public testing::Test {
protected:
    // Arguments are words of a shell; files are in the test's own folder, the working folder.
    RunResult lexkit(std::string const& arguments, std::string const& locale = "C.UTF-8")
    {
        return shell("LC_ALL=" + locale + " '" LEXKIT "' " + arguments);
    }

    // A command that has one program, in the test's own folder.
    RunResult shell(std::string const& words)
    {
        std::string const command =
            "cd '" + m_folder.path() + "' && " + words + " >out.txt 2>err.txt </dev/null";
        int const status = std::system(command.c_str()); // NOLINT(cert-env33-c): a test's own words
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            test::read(m_folder.path("out.txt")),
            test::read(m_folder.path("err.txt"))};
    }

    void write(std::string const& name, std::string const& bytes) { m_folder.write(name, bytes); }
    std::string read(std::string const& name) { return test::read(m_folder.path(name)); }
    std::string path(std::string const& name) { return m_folder.path(name); }

private:
    test::TestFolder m_folder;
};

} // namespace lexkit_test
