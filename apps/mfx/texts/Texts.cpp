#include "mfx/texts/Texts.h"

#include "lexkit/Dictionary.h"
#include "platform/common/files/AtomicFile.h"
#include "platform/common/threads/Lock.h"

#include <algorithm>
#include <array>
#include <exception>
#include <memory>
#include <span>
#include <string_view>
#include <unordered_map>

namespace mfx {

namespace {

constexpr std::string_view kMarks = "$$$";
// Of mfx and of tevoro; the plug-in's texts are in the same file.
constexpr std::array<std::string_view, 2> kAreas{"/Mfx/", "/Tevoro/"};
constexpr std::size_t kMaxFile = 1 << 24; // bytes; a dictionary is some ten thousand
constexpr std::size_t kMaxKeyLength = 256;

bool isOurs(std::string_view key)
{
    return std::ranges::any_of(
        kAreas, [key](std::string_view area) { return key.starts_with(area); });
}

using Entries = std::unordered_map<std::string, std::string>;

// What was read, for all threads: the library itself is for one at a time.
class Language {
public:
    void set(std::shared_ptr<const Entries> entries)
    {
        Pt::Locked locked(m_lock);
        m_entries = std::move(entries);
    }

    std::shared_ptr<const Entries> entries()
    {
        Pt::Locked locked(m_lock);
        return m_entries;
    }

private:
    Pt::Lock m_lock;
    std::shared_ptr<const Entries> m_entries TEVORO_GUARDED_BY(m_lock);
};

// A function's static: there is no order of globals to get wrong.
Language& language()
{
    static Language language;
    return language;
}

// The library looks keys up by a literal in its own form, marks and default included.
std::string valueOf(lexkit::Dictionary& dictionary, const std::string& key)
{
    constexpr lexkit::EncodingInfo kUtf8(lexkit::EncodingInfo::kUTF8);
    const std::string literal = std::string(kMarks) + key + '=';
    const lexkit::ZString value = dictionary.Lookup(literal.c_str(), &kUtf8);
    std::string bytes(value.GetCStringSize(&kUtf8), '\0');
    value.GetCString(bytes.data(), bytes.size(), true, &kUtf8);
    bytes.pop_back(); // the terminator
    return bytes;
}

// Nothing where the bytes are no sound dictionary: half a language would be worse than none.
std::shared_ptr<const Entries> readEntries(const std::string& bytes)
{
    lexkit::Dictionary dictionary;
    dictionary.Read(bytes.data(), static_cast<int>(bytes.size()), false);
    if (!dictionary.IsValid())
        return nullptr;
    std::vector<std::string> keys;
    std::array<char, kMaxKeyLength> key{};
    while (dictionary.HasMoreKey())
        if (dictionary.NextKey(key.data(), key.size(), false) && isOurs(key.data()))
            keys.emplace_back(key.data());
    auto entries = std::make_shared<Entries>();
    for (const std::string& name : keys)
        if (const std::string value = valueOf(dictionary, name); !value.empty())
            entries->emplace(name, value);
    return entries;
}

std::shared_ptr<const Entries> readFileOf(
    const std::string& localesFolder, const std::string& locale)
try {
    const std::string path = localesFolder + '/' + locale + "/MFXStrings.dct";
    const Pt::FileContent file = Pt::readFile(path, kMaxFile);
    return file.state == Pt::FileContent::State::kRead ? readEntries(file.bytes) : nullptr;
} catch (const std::exception&) {
    return nullptr; // the English texts serve as well
}

// In one pass, so that a file name with "%1" in it is not filled in its turn.
std::string filled(const std::string& pattern, std::span<const std::string> arguments)
{
    std::string result;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        const char next = at + 1 < pattern.size() ? pattern[at + 1] : '\0';
        const auto number = static_cast<std::size_t>(next >= '1' && next <= '9' ? next - '0' : 0);
        if (pattern[at] == '%' && number != 0 && number <= arguments.size()) {
            result += arguments[number - 1];
            ++at;
        } else {
            result += pattern[at];
        }
    }
    return result;
}

} // namespace

void openTexts(const std::string& localesFolder, const std::string& locale)
{
    language().set(locale == "en_us" ? nullptr : readFileOf(localesFolder, locale));
}

// The English text is in the literal itself: a key that a dictionary lacks, or a dictionary that is
// damaged, costs the translation and never the message.
std::string text(const char* literal)
{
    const std::string_view whole = literal;
    const std::size_t equals = whole.find('=');
    if (equals == std::string_view::npos || !whole.starts_with(kMarks))
        return literal;
    if (const auto entries = language().entries()) {
        const auto found =
            entries->find(std::string(whole.substr(kMarks.size(), equals - kMarks.size())));
        if (found != entries->end())
            return found->second;
    }
    return std::string(whole.substr(equals + 1));
}

std::string text(const char* literal, std::initializer_list<std::string> arguments)
{
    return filled(text(literal), {arguments.begin(), arguments.size()});
}

std::string text(const char* literal, const std::vector<std::string>& arguments)
{
    return filled(text(literal), arguments);
}

std::string countedText(std::size_t count,
    const char* one,
    const char* several,
    std::initializer_list<std::string> arguments)
{
    std::vector<std::string> all{std::to_string(count)};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return filled(text(count == 1 ? one : several), all);
}

} // namespace mfx
