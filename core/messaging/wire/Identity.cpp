#include "messaging/wire/Identity.h"

#include "messaging/TevoroTalkUtils.h"
#include "platform/common/files/AtomicFile.h"
#include "platform/common/files/SmallFile.h"
#include "platform/common/ports/SecureRandom.h"
#include "platform/common/ports/Sha1.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "platform/common/services/UserFolders.h"
#include "platform/common/threads/Lock.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <system_error>

namespace ScObjects {

namespace TevoroTalkData {

namespace {

constexpr std::size_t kMaxKeptLength = 40;
// A file of the bus has 32 bytes at most; a larger one is somebody else's, and no reason to fill
// the memory.
constexpr std::size_t kMaxIdentityFile = std::size_t{1024} * 1024;
constexpr const char* kSaltName = "md5";
// Between two looks for a file that could not be written.
constexpr std::chrono::seconds kLookAgain{1};

using SteadyClock = std::chrono::steady_clock;

// What was read once, kept in place: nothing is left to free when the library is unloaded.
struct KeptValue {
    Pt::Lock lock;
    std::array<char, kMaxKeptLength> bytes TEVORO_GUARDED_BY(lock) = {};
    std::size_t length TEVORO_GUARDED_BY(lock) = 0;
    // Neither read from the file nor written to it.
    bool isOwn TEVORO_GUARDED_BY(lock) = false;
    SteadyClock::time_point nextLook TEVORO_GUARDED_BY(lock);

    SoString text() const TEVORO_REQUIRES(lock)
    {
        return SoString(bytes.data(), static_cast<long>(length));
    }
};

struct Identity {
    SoString value;
    std::error_code whyNotWritten; // none where the file has it
};

// Not made by a constructor: the first message may be written while static objects are still made.
constinit KeptValue gUserID;
constinit KeptValue gMD5ID;

// Without leading zeros, so that a byte takes one or two digits: what is stored and compared is the
// text.
template <std::size_t count>
SoString hexadecimalDigits(const std::array<unsigned char, count>& bytes)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::array<char, 2 * count> digits{};
    char* end = digits.data();
    for (const unsigned int byte : bytes) {
        if (byte >= 0x10)
            *end++ = kDigits[byte >> 4];
        *end++ = kDigits[byte & 0xF];
    }
    return SoString(digits.data(), static_cast<long>(end - digits.data()));
}

// Empty for what is there and cannot be read.
SoString readIdentity(const std::string& path)
{
    return SoString(std::string_view(Pt::readFile(path, kMaxIdentityFile).bytes));
}

std::string folderOfIdentity()
{
    // The variable and nothing else: an account's own home folder is not asked for.
    const std::string home = Pt::environmentVariable("HOME").value_or("");
    return home.empty() ? home : home + "/" + Pt::kOwnFolderName;
}

Identity makeIdentity(const std::string& folder, const std::string& path, const SoString& value)
{
    // Whether this went well shows in the next step.
    Pt::makeFolder(folder, Pt::kOwnFolderMode);
    // Put into place by a link, which fails where a file is: of two processes that make a value at
    // once, both end up with the first one's.
    const std::error_code error = Pt::placeNewFile(path, value.view());
    if (error == std::errc::file_exists && Pt::pathExists(path))
        return {readIdentity(path), {}};
    // What cannot be written holds for this process.
    return {value, error};
}

// What the file holds; where it is missing, `offered`, or a new value for nothing, is put there.
Identity findIdentity(const char* name, const SoString& offered)
{
    const std::string folder = folderOfIdentity();
    if (folder.empty())
        return {};
    const std::string path = folder + "/" + name;
    if (Pt::pathExists(path))
        return {readIdentity(path), {}};
    return makeIdentity(folder, path, offered.isEmpty() ? createRandomValue() : offered);
}

void sayThatItIsOwn(const char* name, const std::error_code& error)
{
    const std::string text = folderOfIdentity() + "/" + name + " cannot be written: "
        + error.message() + ". Until it can, other processes reject the messages of this one.\n";
    std::fputs(text.c_str(), stderr);
}

// Takes what was found in place of what is kept. False for what is not kept: a longer value is used
// as well, and read from the file each time.
bool keep(KeptValue& kept, const Identity& found) TEVORO_REQUIRES(kept.lock)
{
    const std::string_view bytes = found.value.view();
    if (bytes.empty() || bytes.size() > kMaxKeptLength)
        return false;
    std::memcpy(kept.bytes.data(), bytes.data(), bytes.size());
    kept.length = bytes.size();
    kept.isOwn = static_cast<bool>(found.whyNotWritten);
    return true;
}

// One thread reads or makes the value, the others wait for it: a value that cannot be written is
// nevertheless the same for all threads.
SoString keptID(KeptValue& kept, const char* name)
{
    const Pt::Locked locked(kept.lock);
    if (kept.length == 0) {
        const Identity found = findIdentity(name, SoString());
        if (!keep(kept, found))
            return found.value;
        kept.nextLook = SteadyClock::now() + kLookAgain;
        // The user id proves nothing to others.
        if (kept.isOwn && &kept == &gMD5ID)
            sayThatItIsOwn(name, found.whyNotWritten);
    }
    return kept.text();
}

void forgetLocked(KeptValue& kept) TEVORO_REQUIRES(kept.lock)
{
    kept.length = 0;
    kept.isOwn = false;
}

void forget(KeptValue& kept)
{
    const Pt::Locked locked(kept.lock);
    forgetLocked(kept);
}

} // namespace

SoString createRandomValue()
{
    const auto bytes = Pt::secureRandom16();
    return bytes ? hexadecimalDigits(*bytes) : SoString();
}

SoString getID(const char* name)
{
    return findIdentity(name, SoString()).value;
}

SoString getMD5ID()
{
    return keptID(gMD5ID, kSaltName);
}

bool isSaltOwn()
{
    const Pt::Locked locked(gMD5ID.lock);
    return gMD5ID.isOwn;
}

bool lookForSaltAgain()
{
    const Pt::Locked locked(gMD5ID.lock);
    const auto now = SteadyClock::now();
    if (!gMD5ID.isOwn || now < gMD5ID.nextLook)
        return false;
    gMD5ID.nextLook = now + kLookAgain;
    const SoString former = gMD5ID.text();
    // Of those who have a value of their own the first to write it makes the file.
    const Identity found = findIdentity(kSaltName, former);
    if (found.value.isEmpty()) // there is a file now, and no value in it
        return false;
    if (!keep(gMD5ID, found))
        forgetLocked(gMD5ID);
    return found.value != former;
}

SoString getDigest(std::string_view text, std::string_view salt)
{
    const auto digest = Pt::sha1({salt, "+", text, "+", salt});
    return digest ? hexadecimalDigits(*digest) : SoString();
}

SoString digestOf(std::string_view text, std::string_view rest)
{
    const SoString salt = getMD5ID();
    // Piece by piece, so that a body of many megabytes is not copied just to be hashed.
    const auto digest = Pt::sha1({salt.view(), "+", text, rest, "+", salt.view()});
    return digest ? hexadecimalDigits(*digest) : SoString();
}

void forgetIdentity()
{
    forget(gUserID);
    forget(gMD5ID);
}

} // namespace TevoroTalkData

namespace TevoroTalkUtils {

SoString getUserID()
{
    return TevoroTalkData::keptID(TevoroTalkData::gUserID, "userid");
}

SoString getSecurityID()
{
    return getUserID();
}

SoString getSignature()
{
    return getUserID();
}

SoString getMD5(const SoString& text)
{
    return TevoroTalkData::digestOf(text.view());
}

} // namespace TevoroTalkUtils
} // namespace ScObjects
