// Saving with a system call that fails: each of them once, the first, the second and so on, until
// a save needs no further call. The linker leads the calls of the program through here.

#include "modules/preference_xml_parser/StoreClient.h"

#include <cerrno>
#include <cstdarg>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tests;

namespace {

int gCallsBeforeFault = -1; // -1: no fault is armed
int gFault = 0; // the error number
bool gFaultHappened = false;
bool gShortWrites = false;
std::vector<std::string> gCalls; // those since the last arming, the failing one included

bool faultIsDue(const char* call)
{
    if (gCallsBeforeFault < 0)
        return false;
    gCalls.emplace_back(call);
    if (gCallsBeforeFault-- > 0)
        return false;
    gFaultHappened = true;
    errno = gFault;
    return true;
}

// Makes the call after `calls` others fail, for as long as it lives.
class ArmedFault {
public:
    ArmedFault(int calls, int fault)
    {
        gCallsBeforeFault = calls;
        gFault = fault;
        gFaultHappened = false;
        gCalls.clear();
    }
    ArmedFault(const ArmedFault&) = delete;
    ArmedFault& operator=(const ArmedFault&) = delete;
    ~ArmedFault() { gCallsBeforeFault = -1; }

    bool happened() const { return gFaultHappened; }
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
TEVORO_FAULTY(rename, (const char* from, const char* to), (from, to))
TEVORO_FAULTY(flock, (int descriptor, int operation), (descriptor, operation))
TEVORO_FAULTY(unlink, (const char* path), (path))
TEVORO_FAULTY(fstat, (int descriptor, struct stat* status), (descriptor, status))
TEVORO_FAULTY(renameat2,
    (int fromFolder, const char* from, int toFolder, const char* to, unsigned int flags),
    (fromFolder, from, toFolder, to, flags))

int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return faultIsDue("open") ? -1 : __real_open(path, flags, mode);
}

// Closes in any case, as the system does.
int __real_close(int descriptor);
int __wrap_close(int descriptor);
int __wrap_close(int descriptor)
{
    const int result = __real_close(descriptor);
    return faultIsDue("close") ? -1 : result;
}

ssize_t __real_read(int descriptor, void* bytes, std::size_t size);
ssize_t __wrap_read(int descriptor, void* bytes, std::size_t size);
ssize_t __wrap_read(int descriptor, void* bytes, std::size_t size)
{
    return faultIsDue("read") ? -1 : __real_read(descriptor, bytes, size);
}

ssize_t __real_write(int descriptor, const void* bytes, std::size_t size);
ssize_t __wrap_write(int descriptor, const void* bytes, std::size_t size);
ssize_t __wrap_write(int descriptor, const void* bytes, std::size_t size)
{
    return faultIsDue("write") ? -1 : __real_write(descriptor, bytes, gShortWrites ? 1 : size);
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

    StoreFolder m_folder;
    StoreClient m_store{m_folder.path()};
};

} // namespace

TEST_F(SaveFaultTest, WhicheverCallFailsTheFileIsWholeAndTheResultTrue)
{
    const std::ptrdiff_t descriptors = test::openDescriptors();
    int failures = 0;
    bool happened = true;
    for (int calls = 0; happened; ++calls) {
        const std::u16string before = savedKey();
        const std::u16string wanted = before + u"+";
        m_store.set(u"key", wanted);
        bool saved = false;
        {
            const ArmedFault fault(calls, EIO);
            saved = m_store.save();
            happened = fault.happened();
        }
        const std::u16string after = savedKey();
        EXPECT_TRUE(after == before || after == wanted) << calls;
        EXPECT_TRUE(!saved || after == wanted) << calls;
        EXPECT_TRUE(saved || happened) << calls;
        EXPECT_EQ(namesIn(m_folder.path()).size(), 2U) << calls;
        EXPECT_EQ(test::openDescriptors(), descriptors) << calls;
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
        const ArmedFault none(1000000, EIO);
        ASSERT_TRUE(m_store.save());
    }
    const std::vector<std::string> expected{"open",
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
    EXPECT_EQ(gCalls, expected);
}

TEST_F(SaveFaultTest, SignalsBreakNothingOff)
{
    // rename, unlink and close are not interrupted by signals, or not made again.
    bool happened = true;
    int saves = 0;
    for (int calls = 0; happened; ++calls) {
        m_store.set(u"key", savedKey() + u"+");
        const ArmedFault fault(calls, EINTR);
        saves += m_store.save() ? 1 : 0;
        happened = fault.happened();
    }
    EXPECT_GE(saves, 12);
}

TEST_F(SaveFaultTest, WritesByTheByteAddUp)
{
    gShortWrites = true;
    m_store.set(u"key", u"a longer text");
    EXPECT_TRUE(m_store.save());
    gShortWrites = false;
    EXPECT_EQ(savedKey(), u"a longer text");
}

TEST_F(SaveFaultTest, WhicheverCallFailsInLoadingADamagedFileItIsKept)
{
    const std::string aside = m_folder.path("preferences-3.damaged-1.xml");
    int left = 0;
    bool happened = true;
    for (int calls = 0; happened; ++calls) {
        m_folder.writePreferences("broken");
        {
            const ArmedFault fault(calls, EACCES);
            EXPECT_FALSE(m_store.load());
            happened = fault.happened();
        }
        left += std::filesystem::exists(aside) ? 0 : 1;
        EXPECT_FALSE(m_store.load());
        EXPECT_EQ(test::read(aside), "broken") << calls;
        EXPECT_EQ(namesIn(m_folder.path()).size(), 2U) << calls;
        std::filesystem::remove(aside);
    }
    EXPECT_GE(left, 8); // a file that only could not be read just then is not put aside
}
