// Saving with a system call that fails: each of them once, the first, the second and so on, until
// a save needs no further call. The linker leads the calls of the program through here.

#include "StoreClient.h"

#include <cerrno>
#include <cstdarg>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tests;

namespace {

int g_callsBeforeFault = -1; // -1: no fault is armed
int g_fault = 0; // the error number
bool g_faultHappened = false;
bool g_shortWrites = false;
std::vector<std::string> g_calls; // those since the last arming, the failing one included

bool faultIsDue(char const* call)
{
    if (g_callsBeforeFault < 0) {
        return false;
    }
    g_calls.emplace_back(call);
    if (g_callsBeforeFault-- > 0) {
        return false;
    }
    g_faultHappened = true;
    errno = g_fault;
    return true;
}

// Makes the call after `calls` others fail, for as long as it lives.
class ArmedFault {
public:
    ArmedFault(int calls, int fault)
    {
        g_callsBeforeFault = calls;
        g_fault = fault;
        g_faultHappened = false;
        g_calls.clear();
    }
    ArmedFault(ArmedFault const&) = delete;
    ArmedFault& operator=(ArmedFault const&) = delete;
    ~ArmedFault() { g_callsBeforeFault = -1; }

    bool happened() const { return g_faultHappened; }
};

} // namespace

#define TEVORO_FAULTY(name, parameters, arguments)                                                 \
    int __real_##name parameters;                                                                  \
    int __wrap_##name parameters;                                                                  \
    int __wrap_##name parameters                                                                   \
    {                                                                                              \
        return faultIsDue(#name) ? -1 : __real_##name arguments;                                   \
    }

extern "C" {

TEVORO_FAULTY(fchmod, (int descriptor, mode_t mode), (descriptor, mode))
TEVORO_FAULTY(fsync, (int descriptor), (descriptor))
TEVORO_FAULTY(rename, (char const* from, char const* to), (from, to))
TEVORO_FAULTY(flock, (int descriptor, int operation), (descriptor, operation))
TEVORO_FAULTY(unlink, (char const* path), (path))
TEVORO_FAULTY(fstat, (int descriptor, struct stat* status), (descriptor, status))
TEVORO_FAULTY(renameat2,
    (int fromFolder, char const* from, int toFolder, char const* to, unsigned int flags),
    (fromFolder, from, toFolder, to, flags))

int __real_open(char const* path, int flags, ...);
int __wrap_open(char const* path, int flags, ...);
int __wrap_open(char const* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    mode_t const mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return faultIsDue("open") ? -1 : __real_open(path, flags, mode);
}

// Closes in any case, as the system does.
int __real_close(int descriptor);
int __wrap_close(int descriptor);
int __wrap_close(int descriptor)
{
    int const result = __real_close(descriptor);
    return faultIsDue("close") ? -1 : result;
}

ssize_t __real_read(int descriptor, void* bytes, std::size_t size);
ssize_t __wrap_read(int descriptor, void* bytes, std::size_t size);
ssize_t __wrap_read(int descriptor, void* bytes, std::size_t size)
{
    return faultIsDue("read") ? -1 : __real_read(descriptor, bytes, size);
}

ssize_t __real_write(int descriptor, void const* bytes, std::size_t size);
ssize_t __wrap_write(int descriptor, void const* bytes, std::size_t size);
ssize_t __wrap_write(int descriptor, void const* bytes, std::size_t size)
{
    return faultIsDue("write") ? -1 : __real_write(descriptor, bytes, g_shortWrites ? 1 : size);
}

} // extern "C"

namespace {

class SaveFaultTest : public testing::Test {
protected:
    SaveFaultTest()
    {
        m_store.set(u"other", u"kept");
        m_store.set(u"key", u"old");
        EXPECT_TRUE(m_store.save());
    }

    std::u16string savedKey()
    {
        StoreClient reader(m_folder.path());
        EXPECT_TRUE(reader.load());
        EXPECT_EQ(reader.text(u"other"), u"kept");
        return reader.text(u"key").value_or(u"");
    }

    TemporaryFolder m_folder;
    StoreClient m_store{m_folder.path()};
};

} // namespace

TEST_F(SaveFaultTest, WhicheverCallFailsTheFileIsWholeAndTheResultTrue)
{
    std::size_t const descriptors = openDescriptors();
    int failures = 0;
    bool happened = true;
    for (int calls = 0; happened; ++calls) {
        std::u16string const before = savedKey();
        std::u16string const wanted = before + u"+";
        m_store.set(u"key", wanted);
        bool saved = false;
        {
            ArmedFault const fault(calls, EIO);
            saved = m_store.save();
            happened = fault.happened();
        }
        std::u16string const after = savedKey();
        EXPECT_TRUE(after == before || after == wanted) << calls;
        EXPECT_TRUE(!saved || after == wanted) << calls;
        EXPECT_TRUE(saved || happened) << calls;
        EXPECT_EQ(namesIn(m_folder.path()).size(), 2U) << calls;
        EXPECT_EQ(openDescriptors(), descriptors) << calls;
        failures += saved ? 0 : 1;
        EXPECT_TRUE(m_store.save()) << "what failed can be saved again, " << calls;
        EXPECT_EQ(savedKey(), wanted);
    }
    EXPECT_GE(failures, 13);
}

// Flushed before it gets its name, and the name flushed after: so a power cut at any moment
// leaves a whole file.
TEST_F(SaveFaultTest, TheBytesAreOnTheDiskBeforeTheNameIs)
{
    m_store.set(u"key", u"new");
    {
        ArmedFault const none(1000000, EIO);
        ASSERT_TRUE(m_store.save());
    }
    std::vector<std::string> const expected{"open",
        "flock",
        "open",
        "fstat",
        "read",
        "read",
        "close",
        "unlink",
        "open",
        "write",
        "fchmod",
        "fsync",
        "close",
        "rename",
        "open",
        "fsync",
        "close",
        "close"};
    EXPECT_EQ(g_calls, expected);
}

TEST_F(SaveFaultTest, SignalsBreakNothingOff)
{
    // rename, unlink and close are not interrupted by signals, or not made again.
    bool happened = true;
    int saves = 0;
    for (int calls = 0; happened; ++calls) {
        m_store.set(u"key", savedKey() + u"+");
        ArmedFault const fault(calls, EINTR);
        saves += m_store.save() ? 1 : 0;
        happened = fault.happened();
    }
    EXPECT_GE(saves, 12);
}

TEST_F(SaveFaultTest, WritesByTheByteAddUp)
{
    g_shortWrites = true;
    m_store.set(u"key", u"a longer text");
    EXPECT_TRUE(m_store.save());
    g_shortWrites = false;
    EXPECT_EQ(savedKey(), u"a longer text");
}

TEST_F(SaveFaultTest, WhicheverCallFailsInLoadingADamagedFileItIsKept)
{
    std::string const aside = m_folder.file("preferences-3.damaged-1.xml");
    int left = 0;
    bool happened = true;
    for (int calls = 0; happened; ++calls) {
        writeFile(m_folder.preferences(), "broken");
        {
            ArmedFault const fault(calls, EACCES);
            EXPECT_FALSE(m_store.load());
            happened = fault.happened();
        }
        left += std::filesystem::exists(aside) ? 0 : 1;
        EXPECT_FALSE(m_store.load());
        EXPECT_EQ(fileBytes(aside), "broken") << calls;
        EXPECT_EQ(namesIn(m_folder.path()).size(), 2U) << calls;
        std::filesystem::remove(aside);
    }
    EXPECT_GE(left, 8); // a file that only could not be read just then is not put aside
}
