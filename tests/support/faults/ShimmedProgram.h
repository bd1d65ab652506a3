// Runs a program under the library of failing file calls (FaultShim.cpp) and waits for its end.
#pragma once

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

struct ProgramEnd {
    bool exited = false;
    int status = -1; // exit status, or the signal that ended it
    std::string output; // standard output
};

class ShimmedProgram {
public:
    ShimmedProgram(std::string library, std::vector<std::string> command)
        : m_library(std::move(library))
        , m_command(std::move(command))
    {
    }

    // A variable of the program's environment, such as FAULT_AT.
    ShimmedProgram& with(const std::string& variable, const std::string& value)
    {
        m_environment[variable] = value;
        return *this;
    }

    // The call with number `n` is the one that matters.
    ShimmedProgram& at(int n) { return with("FAULT_AT", std::to_string(n)); }

    ProgramEnd run() const
    {
        int ends[2];
        if (::pipe(ends) != 0)
            return {};
        const pid_t child = ::fork();
        if (child == 0) {
            ::dup2(ends[1], STDOUT_FILENO);
            ::close(ends[0]);
            ::close(ends[1]);
            become();
        }
        ::close(ends[1]);
        ProgramEnd end;
        char piece[4096];
        for (ssize_t count; (count = ::read(ends[0], piece, sizeof piece)) > 0;)
            end.output.append(piece, static_cast<std::size_t>(count));
        ::close(ends[0]);
        int status = 0;
        ::waitpid(child, &status, 0);
        end.exited = WIFEXITED(status);
        end.status = end.exited ? WEXITSTATUS(status) : WTERMSIG(status);
        return end;
    }

private:
    [[noreturn]] void become() const
    {
        for (const auto& [variable, value] : m_environment)
            ::setenv(variable.c_str(), value.c_str(), 1);
        ::setenv("LD_PRELOAD", m_library.c_str(), 1);
        std::vector<char*> arguments;
        for (const std::string& word : m_command)
            arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);
        ::execv(arguments.front(), arguments.data());
        ::_exit(127);
    }

    std::string m_library;
    std::vector<std::string> m_command;
    std::map<std::string, std::string> m_environment;
};

} // namespace test
