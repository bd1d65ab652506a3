// Runs the program lexkit in a folder of its own.
#pragma once

#include "support/TestFolder.h"

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
    RunResult lexkit(const std::string& arguments, const std::string& locale = "C.UTF-8")
    {
        return shell("LC_ALL=" + locale + " '" LEXKIT "' " + arguments);
    }

    // A command that has one program, in the test's own folder.
    RunResult shell(const std::string& words)
    {
        const std::string command =
            "cd '" + m_folder.path() + "' && " + words + " >out.txt 2>err.txt </dev/null";
        const int status = std::system(command.c_str()); // NOLINT(cert-env33-c): a test's own words
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            test::read(m_folder.path("out.txt")),
            test::read(m_folder.path("err.txt"))};
    }

    void write(const std::string& name, const std::string& bytes) { m_folder.write(name, bytes); }
    std::string read(const std::string& name) { return test::read(m_folder.path(name)); }
    std::string path(const std::string& name) { return m_folder.path(name); }

private:
    test::TestFolder m_folder;
};

} // namespace lexkit_test
