// Bringing a process to the front of a desktop that the test starts for itself.
#include "platform/common/services/ProcessControl.h"
#include "support/Desktop.h"
#include "support/TestFolder.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <functional>
#include <memory>
#include <thread>

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 20s;

bool waitUntil(const std::function<bool()>& isSo)
{
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!isSo()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

// What the test itself asks the display for, and its windows, which go with it.
class Client {
public:
    Client()
        : m_connection(xcb_connect(nullptr, nullptr))
        , m_root(xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root)
    {
    }
    ~Client() { xcb_disconnect(m_connection); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // A window that says that it is of that process, and of that machine.
    xcb_window_t open(unsigned long processId, const std::string& machine = {})
    {
        const xcb_window_t window = xcb_generate_id(m_connection);
        xcb_create_window(m_connection,
            XCB_COPY_FROM_PARENT,
            window,
            m_root,
            0,
            0,
            40,
            40,
            0,
            XCB_WINDOW_CLASS_INPUT_OUTPUT,
            XCB_COPY_FROM_PARENT,
            0,
            nullptr);
        const auto id = static_cast<std::uint32_t>(processId);
        xcb_change_property(m_connection,
            XCB_PROP_MODE_REPLACE,
            window,
            atom("_NET_WM_PID"),
            XCB_ATOM_CARDINAL,
            32,
            1,
            &id);
        if (!machine.empty())
            xcb_change_property(m_connection,
                XCB_PROP_MODE_REPLACE,
                window,
                XCB_ATOM_WM_CLIENT_MACHINE,
                XCB_ATOM_STRING,
                8,
                static_cast<std::uint32_t>(machine.size()),
                machine.data());
        return window;
    }
    void show(xcb_window_t window)
    {
        xcb_map_window(m_connection, window);
        xcb_flush(m_connection);
    }

    xcb_window_t active()
    {
        const auto windows = windowsIn("_NET_ACTIVE_WINDOW");
        return windows.empty() ? xcb_window_t{XCB_WINDOW_NONE} : windows.front();
    }
    bool isManaged() { return !windowsIn("_NET_SUPPORTING_WM_CHECK").empty(); }
    std::vector<xcb_window_t> managed() { return windowsIn("_NET_CLIENT_LIST"); }

private:
    xcb_atom_t atom(const char* name)
    {
        const auto length = static_cast<std::uint16_t>(std::strlen(name));
        auto* const reply = xcb_intern_atom_reply(
            m_connection, xcb_intern_atom(m_connection, 0, length, name), nullptr);
        const xcb_atom_t found = reply->atom;
        ::free(reply);
        return found;
    }
    std::vector<xcb_window_t> windowsIn(const char* property)
    {
        auto* const reply = xcb_get_property_reply(m_connection,
            xcb_get_property(m_connection, 0, m_root, atom(property), XCB_ATOM_WINDOW, 0, 64),
            nullptr);
        const auto* const first = static_cast<xcb_window_t*>(xcb_get_property_value(reply));
        const auto size = static_cast<std::size_t>(xcb_get_property_value_length(reply));
        std::vector<xcb_window_t> found(first, first + size / sizeof *first);
        ::free(reply);
        return found;
    }

    xcb_connection_t* m_connection;
    xcb_window_t m_root;
};

class ProcessWindowsTest : public testing::Test {
protected:
    ProcessWindowsTest()
        : m_descriptors(test::openDescriptors())
    {
    }
    void SetUp() override
    {
        if (const std::string program = test::Desktop::missing(); !program.empty())
            GTEST_SKIP() << "there is no " << program;
        // Of its own: no settings of a person's desktop.
        m_environment.set("HOME", m_folder.path());
        m_desktop = std::make_unique<test::Desktop>("320x240");
        m_client = std::make_unique<Client>();
        ASSERT_TRUE(waitUntil([this] { return m_client->isManaged(); }));
    }
    void TearDown() override
    {
        m_client.reset();
        m_desktop.reset();
        EXPECT_EQ(test::openDescriptors(), m_descriptors);
    }

    bool isActive(xcb_window_t window)
    {
        return waitUntil([&] { return m_client->active() == window; });
    }
    // Opens it and waits until the desktop knows it.
    xcb_window_t open(unsigned long processId, const std::string& machine = {})
    {
        const xcb_window_t window = m_client->open(processId, machine);
        // Again and again: a desktop that has just started may lose a window's wish.
        EXPECT_TRUE(waitUntil([&] {
            m_client->show(window);
            return std::ranges::count(m_client->managed(), window) == 1;
        }));
        return window;
    }

    static constexpr unsigned long kFirst = 71001;
    static constexpr unsigned long kSecond = 71002;

    test::Environment m_environment;
    std::unique_ptr<test::Desktop> m_desktop;
    std::unique_ptr<Client> m_client;
    test::TestFolder m_folder;

private:
    std::ptrdiff_t m_descriptors;
};

TEST_F(ProcessWindowsTest, BringsTheWindowOfTheProcessToTheFront)
{
    const xcb_window_t first = open(kFirst);
    const xcb_window_t second = open(kSecond);
    EXPECT_TRUE(Pt::bringProcessToFront(kFirst));
    EXPECT_TRUE(isActive(first));
    EXPECT_TRUE(Pt::bringProcessToFront(kSecond));
    EXPECT_TRUE(isActive(second));
}

TEST_F(ProcessWindowsTest, LeavesAllAsItIsForAProcessWithoutAWindow)
{
    open(0); // says nothing of use
    const xcb_window_t window = open(kFirst);
    EXPECT_TRUE(Pt::bringProcessToFront(kFirst));
    EXPECT_TRUE(isActive(window));
    EXPECT_FALSE(Pt::bringProcessToFront(kSecond));
    EXPECT_FALSE(Pt::bringProcessToFront(0));
    EXPECT_EQ(m_client->active(), window);
}

TEST_F(ProcessWindowsTest, KnowsThatNumbersOfOtherMachinesMeanOtherProcesses)
{
    open(kFirst, "elsewhere.example");
    EXPECT_FALSE(Pt::bringProcessToFront(kFirst));
    char host[256] = {};
    ::gethostname(host, sizeof host - 1);
    const xcb_window_t here = open(kFirst, host);
    open(kSecond);
    EXPECT_TRUE(Pt::bringProcessToFront(kFirst));
    EXPECT_TRUE(isActive(here));
}

TEST_F(ProcessWindowsTest, AsksNobodyWithoutADisplay)
{
    open(kFirst);
    for (const char* display : {"", ":9999", "no display", "elsewhere.example:0", ":"}) {
        m_environment.set("DISPLAY", display);
        EXPECT_FALSE(Pt::bringProcessToFront(kFirst)) << display;
    }
    m_environment.unset("DISPLAY");
    EXPECT_FALSE(Pt::bringProcessToFront(kFirst));
}

TEST_F(ProcessWindowsTest, DoesNotHangWithAServerThatHangs)
{
    open(kFirst);
    m_desktop->server().signal(SIGSTOP);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(Pt::bringProcessToFront(kFirst));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
}

TEST_F(ProcessWindowsTest, DoesNothingWithADeadServer)
{
    EXPECT_TRUE(m_desktop->endServer());
    EXPECT_FALSE(Pt::bringProcessToFront(kFirst));
}

} // namespace
