#include "support/disks/OddOptions.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string_view>

namespace odd {

namespace {

namespace fs = std::filesystem;

constexpr std::array<std::string_view, 6> kModes = {
    "mirror", "pool", "forgetful", "dying", "letters", "cached"};

// The KEY=VALUE words; each is taken once, and what nobody takes is a mistake.
class Settings {
public:
    void add(const std::string& word)
    {
        const std::size_t split = word.find('=');
        m_values[word.substr(0, split)] = word.substr(split + 1);
    }

    std::optional<std::string> take(const std::string& key)
    {
        const auto node = m_values.extract(key);
        return node ? std::optional(node.mapped()) : std::nullopt;
    }

    // One of two words; the first where none is given.
    bool takesSecond(const std::string& key, std::string_view first, std::string_view second)
    {
        const std::string value = take(key).value_or(std::string(first));
        if (value != first && value != second)
            throw std::invalid_argument(key + ": not " + value);
        return value == second;
    }

    std::optional<std::uint64_t> takeNumber(const std::string& key)
    {
        const auto value = take(key);
        if (!value)
            return std::nullopt;
        std::uint64_t number = 0;
        const char* const end = value->data() + value->size();
        if (std::from_chars(value->data(), end, number).ptr != end || value->empty())
            throw std::invalid_argument(key + ": not a number: " + *value);
        return number;
    }

    void expectEmpty() const
    {
        if (!m_values.empty())
            throw std::invalid_argument("unknown option " + m_values.begin()->first);
    }

private:
    std::map<std::string, std::string> m_values;
};

bool isSetting(const std::string& word)
{
    return word.find('=') != std::string::npos && word.front() != '/';
}

void apply(Settings& settings, Options& options)
{
    options.createIn = settings.takeNumber("create").value_or(0);
    options.unlinksEverywhere = !settings.takesSecond("unlink", "all", "first");
    options.refusesLookUps = !settings.takesSecond("lookup", "yes", "no");
    options.refusesRenameFlags = settings.takesSecond("norename2", "no", "yes");
    options.refusesLinks = settings.takesSecond("nolink", "no", "yes");
    options.hidesRemoved = settings.takesSecond("removed", "gone", "hidden");
    options.forgetsChangeTime = settings.takesSecond("times", "real", "zero");
    options.stuck = settings.take("stuck").value_or("");
    options.trigger = settings.take("trigger").value_or("");
    options.writesLeft = settings.takeNumber("after");
    options.readsLeft = settings.takeNumber("reads");
    settings.expectEmpty();
}

bool lies(const fs::path& inner, const fs::path& outer)
{
    return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first
        == outer.end();
}

// A file system that is asked through itself waits for itself.
void expectApart(const Options& options)
{
    for (const std::string& folder : options.folders)
        if (lies(folder, options.mountPoint) || lies(options.mountPoint, folder))
            throw std::invalid_argument(folder + " and the mount point lie in each other");
}

void expectSound(const Options& options)
{
    if (std::find(kModes.begin(), kModes.end(), options.mode) == kModes.end())
        throw std::invalid_argument("unknown mode " + options.mode);
    if (options.folders.empty() || (options.mode != "pool" && options.folders.size() > 1))
        throw std::invalid_argument("a pool shows folders, each other mode shows one");
    if (options.createIn >= options.folders.size())
        throw std::invalid_argument("create: no such folder");
    expectApart(options);
}

} // namespace

Options parseOptions(const std::vector<std::string>& words)
{
    if (words.size() < 3)
        throw std::invalid_argument("MODE [KEY=VALUE...] MOUNTPOINT FOLDER... is needed");
    Options options;
    options.mode = words.front();
    Settings settings;
    auto word = words.begin() + 1;
    for (; word != words.end() && isSetting(*word); ++word)
        settings.add(*word);
    apply(settings, options);
    if (word != words.end())
        options.mountPoint = fs::canonical(*word++);
    for (; word != words.end(); ++word)
        options.folders.push_back(fs::canonical(*word));
    expectSound(options);
    return options;
}

} // namespace odd
