#include "messaging/wire/Identity.h"

#include "messaging/TevoroTalkUtils.h"
#include "platform/common/files/AtomicFile.h"
#include "platform/common/files/SmallFile.h"
#include "platform/common/ports/SecureRandom.h"
#include "platform/common/ports/Sha1.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "platform/common/threads/Lock.h"

#include <array>
#include <cstring>

namespace ScObjects {

namespace TevoroTalkData {

namespace {

constexpr std::size_t kMaxKeptLength = 40;
// A file of the bus has 32 bytes at most; a larger one is somebody else's, and no reason to fill
// the memory.
constexpr std::size_t kLargestIdentityFile = std::size_t{1024} * 1024;
// Less the umask. The folder may be entered by others; the files in it are closed to them.
constexpr unsigned int kFolderMode = 0771;

// What was read once, kept in place: nothing is left to free when the library is unloaded.
struct KeptValue {
    Pt::Lock lock;
    std::array<char, kMaxKeptLength> bytes TEVORO_GUARDED_BY(lock) = {};
    std::size_t length TEVORO_GUARDED_BY(lock) = 0;
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
    return SoString(std::string_view(Pt::readFile(path, kLargestIdentityFile).bytes));
}

SoString makeIdentity(const std::string& folder, const std::string& path)
{
    SoString value = createRandomValue();
    // Whether this went well shows in the next step.
    Pt::makeFolder(folder, kFolderMode);
    // Put into place by a link, which fails where a file is: of two processes that make a value at
    // once, both end up with the first one's.
    const bool wasLate = Pt::placeNewFile(path, value.view()) == std::errc::file_exists;
    // What cannot be written holds for this process.
    return wasLate && Pt::pathExists(path) ? readIdentity(path) : value;
}

// One thread reads or makes the value, the others wait for it: a value that cannot be written is
// nevertheless the same for all threads.
SoString keptID(KeptValue& kept, const char* name)
{
    const Pt::Locked locked(kept.lock);
    if (kept.length == 0) {
        SoString value = getID(name);
        const std::size_t length = value.view().size();
        // A longer value is used as well, and read from the file each time.
        if (length == 0 || length > kMaxKeptLength)
            return value;
        std::memcpy(kept.bytes.data(), value.get(), length);
        kept.length = length;
    }
    return SoString(kept.bytes.data(), static_cast<long>(kept.length));
}

void forget(KeptValue& kept)
{
    const Pt::Locked locked(kept.lock);
    kept.length = 0;
}

} // namespace

SoString createRandomValue()
{
    const auto bytes = Pt::secureRandom16();
    return bytes ? hexadecimalDigits(*bytes) : SoString();
}

SoString getID(const char* name)
{
    // The variable and nothing else: an account's own home folder is not asked for.
    const std::string home = Pt::environmentVariable("HOME").value_or("");
    if (home.empty())
        return {};
    const std::string folder = home + "/.velmo";
    const std::string path = folder + "/" + name;
    return Pt::pathExists(path) ? readIdentity(path) : makeIdentity(folder, path);
}

SoString getMD5ID()
{
    return keptID(gMD5ID, "md5");
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
