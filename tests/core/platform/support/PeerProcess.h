#pragma once

#include "core/platform/support/OrdinarySignals.h"

#include <chrono>
#include <csignal>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

// A program in a process of its own: lines go in, lines come out. Killed when it is still
// there at the end.
class PeerProcess {
public:
    explicit PeerProcess(const std::vector<std::string>& words)
    {
        int input[2];
        int output[2];
        int errors[2];
        EXPECT_EQ(::pipe2(input, O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(output, O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(errors, O_CLOEXEC), 0);
        m_process = ::fork();
        if (m_process == 0)
            become(words, input[0], output[1], errors[1]);
        ::close(input[0]);
        ::close(output[1]);
        ::close(errors[1]);
        m_input = input[1];
        m_output = output[0];
        m_errors = errors[0];
    }
    PeerProcess(const PeerProcess&) = delete;
    PeerProcess& operator=(const PeerProcess&) = delete;
    ~PeerProcess()
    {
        if (m_process > 0)
            kill();
        endInput();
        ::close(m_output);
        ::close(m_errors);
    }

    pid_t id() const { return m_process; }

    // The next line it says, without its end; what there is when it ends or says nothing for long.
    std::string line()
    {
        std::string text;
        for (char byte = 0; readByte(m_output, byte) && byte != '\n';)
            text += byte;
        return text;
    }

    // Or has ended.
    bool saysSomething(std::chrono::milliseconds limit) const
    {
        pollfd question = {m_output, POLLIN, 0};
        return ::poll(&question, 1, static_cast<int>(limit.count())) == 1;
    }

    void tell(const std::string& text)
    {
        const std::string whole = text + '\n';
        EXPECT_EQ(::write(m_input, whole.data(), whole.size()), static_cast<ssize_t>(whole.size()));
    }
    void endInput()
    {
        if (m_input != -1)
            ::close(std::exchange(m_input, -1));
    }

    // Lets it come to its end; its exit status.
    int finish()
    {
        endInput();
        return wait();
    }
    // Ends it as ^C does; its exit status.
    int interrupt()
    {
        ::kill(m_process, SIGINT);
        return wait();
    }
    void kill()
    {
        ::kill(m_process, SIGKILL);
        wait();
    }

    // All of standard error, once it has ended.
    std::string errors() { return all(m_errors); }
    std::string errorLine()
    {
        std::string text;
        for (char byte = 0; readByte(m_errors, byte) && byte != '\n';)
            text += byte;
        return text;
    }

    // All that it says from here to its end.
    std::string rest() { return all(m_output); }

private:
    [[noreturn]] static void become(
        const std::vector<std::string>& words, int input, int output, int errors)
    {
        ::dup2(input, STDIN_FILENO);
        ::dup2(output, STDOUT_FILENO);
        ::dup2(errors, STDERR_FILENO);
        std::vector<char*> pointers;
        for (const std::string& word : words)
            pointers.push_back(const_cast<char*>(word.c_str()));
        pointers.push_back(nullptr);
        makeSignalsOrdinary();
        ::execv(pointers[0], pointers.data());
        ::_exit(127);
    }

    static std::string all(int from)
    {
        std::string text;
        for (char byte = 0; readByte(from, byte);)
            text += byte;
        return text;
    }

    static bool readByte(int from, char& byte)
    {
        constexpr int kLimit = 60000;
        pollfd question = {from, POLLIN, 0};
        int ready = 0;
        while ((ready = ::poll(&question, 1, kLimit)) == -1 && errno == EINTR) { }
        EXPECT_EQ(ready, 1) << "a peer says nothing";
        return ready == 1 && ::read(from, &byte, 1) == 1;
    }

    int wait()
    {
        int status = 0;
        EXPECT_EQ(::waitpid(m_process, &status, 0), m_process);
        m_process = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    pid_t m_process = -1;
    int m_input = -1;
    int m_output = -1;
    int m_errors = -1;
};

} // namespace test
