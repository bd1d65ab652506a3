#include "commandline/Output.h"
#include "platform/common/files/FileAccess.h"
#include "velmo-caps/ChosenStores.h"
#include "velmo-caps/Commands.h"
#include "velmo-caps/StoreNames.h"

#include <algorithm>
#include <filesystem>

namespace velmo_caps_cli {

namespace {

using Settings = std::vector<std::pair<std::string, std::string>>;

constexpr std::string_view kWeb = "https://";

void warn(const std::string& text)
{
    commandline::printMessage(kProgram, "warning: " + text);
}

// What can be told of a program before anybody starts it.
void checkProgram(const std::string& path)
{
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    if (!std::filesystem::exists(status))
        warn(path + " is not there");
    else if (std::filesystem::is_directory(status))
        warn(path + " is a folder, and no program");
    else if (Pt::accessPath(path, Pt::kMayExecute) != 0)
        warn(path + " is not executable");
}

std::string wholePath(const std::string& path)
{
    if (path.empty())
        throw CommandError(ExitCode::kUsage, "the path is empty");
    if (path.starts_with(kWeb)) {
        if (!isWholePath(path))
            throw CommandError(ExitCode::kUsage, "the address '" + path + "' has no host");
        return path;
    }
    std::string whole = std::filesystem::absolute(path).lexically_normal().string();
    checkProgram(whole);
    return whole;
}

std::string knownKeys()
{
    std::string text;
    for (const std::string& key : applicationKeys())
        if (!isNameKey(key))
            text += (text.empty() ? "" : ", ") + key;
    return text;
}

std::pair<std::string, std::string> settingOf(const std::string& text)
{
    const std::size_t mark = text.find('=');
    if (mark == std::string::npos || mark == 0)
        throw CommandError(ExitCode::kUsage, "'" + text + "' is no setting; write KEY=VALUE");
    std::string key = text.substr(0, mark);
    std::string value = text.substr(mark + 1);
    const auto& keys = applicationKeys();
    if (isNameKey(key))
        throw CommandError(
            ExitCode::kUsage, "the specifier is the command's first word, not a key");
    if (std::find(keys.begin(), keys.end(), key) == keys.end())
        throw CommandError(ExitCode::kUsage,
            "'" + key + "' is no key of an application; there are " + knownKeys());
    if (isSwitch(key) && value != "true" && value != "false")
        warn(key + " is on for 'true' alone: '" + value + "' switches it off");
    if (key == "Path")
        value = wholePath(value);
    else if (isPathKey(key) && !value.empty())
        value = std::filesystem::absolute(value).lexically_normal().string();
    return {std::move(key), std::move(value)};
}

// The bus finds the one that was there first.
void warnOfOthers(const StoreView& view, const std::string& specifier)
{
    for (const ViewSubdomain* const each : applicationsCalled(view, specifier))
        if (each->name.name != applicationNamed(specifier).name)
            warn("the entry '" + *applicationIn(each->name) + "' says that it is '" + specifier
                + "', too");
}

bool hasPlace(const Settings& settings, const ViewSubdomain* known)
{
    const auto isKnown = [](const velmo_caps::ViewEntry& each) { return isPlaceKey(each.key); };
    const auto isSet = [](const auto& each) { return isPlaceKey(each.first); };
    return std::ranges::any_of(settings, isSet)
        || (known != nullptr && std::ranges::any_of(known->entries, isKnown));
}

} // namespace

ExitCode runAdd(const CommandLine& line)
{
    const std::string specifier = newSpecifierOf(line.name);
    Settings settings{{"Specifier", specifier}};
    if (line.path)
        settings.emplace_back("Path", wholePath(*line.path));
    for (const std::string& text : line.settings)
        settings.push_back(settingOf(text));
    ChosenStores stores(line);
    const SubdomainName name = applicationNamed(specifier);
    if (!hasPlace(settings, stores.view().find(name)))
        throw CommandError(ExitCode::kUsage,
            "an application needs a place: --path PATH, or --set RedirectTo=SPECIFIER");
    warnOfOthers(stores.view(), specifier);
    velmo_caps::StoreWriter::Change change(stores.writer());
    change.show(name); // a user who had removed the machine's entry gets all of it back
    for (const auto& [key, value] : settings)
        change.set(name, key, value);
    ChosenStores::commit(change);
    return ExitCode::kDone;
}

} // namespace velmo_caps_cli
