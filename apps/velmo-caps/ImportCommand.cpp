#include "commandline/Output.h"
#include "platform/common/files/AtomicFile.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "velmo-caps/ChosenStores.h"
#include "velmo-caps/Commands.h"
#include "velmo-caps/ConfigurationDocument.h"
#include "velmo-caps/StoreNames.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace velmo_caps_cli {

namespace {

constexpr std::size_t kMaxDocument = std::size_t{64} * 1024 * 1024;
constexpr std::int32_t kDeploymentDomain = 4; // where the bus looks for a payload's location first
constexpr std::string_view kLocationKey = "QMTConfigPath";

std::string readStandardInput()
{
    constexpr std::size_t kPiece = std::size_t{64} * 1024;
    std::string text;
    for (std::size_t count = kPiece; count == kPiece;) {
        const std::size_t before = text.size();
        text.resize(before + kPiece);
        count = std::fread(text.data() + before, 1, kPiece, stdin);
        text.resize(before + count);
        if (text.size() > kMaxDocument)
            throw CommandError(ExitCode::kPlaceUnusable, "standard input is longer than 64 MiB");
    }
    // Half a document is none.
    if (Pt::wasInterrupted())
        throw CommandError(ExitCode::kInterrupted, "interrupted; nothing was changed");
    if (std::ferror(stdin) != 0)
        throw CommandError(ExitCode::kPlaceUnusable, "standard input cannot be read");
    return text;
}

std::string readDocumentFile(const std::string& path)
{
    if (path == "-")
        return readStandardInput();
    Pt::FileContent content = Pt::readFile(path, kMaxDocument);
    switch (content.state) {
    case Pt::FileContent::State::kRead:
        return std::move(content.bytes);
    case Pt::FileContent::State::kMissing:
        throw CommandError(ExitCode::kNotThere, path + " is not there");
    case Pt::FileContent::State::kNotAFile:
        throw CommandError(ExitCode::kPlaceUnusable, path + " is no file");
    case Pt::FileContent::State::kTooLarge:
        throw CommandError(ExitCode::kPlaceUnusable, path + " is longer than 64 MiB");
    case Pt::FileContent::State::kUnreadable:
        break;
    }
    throw CommandError(
        ExitCode::kPlaceUnusable, path + " cannot be read: " + content.error.message());
}

// What a document says of the store, checked as a whole before anything is written.
class Import {
public:
    explicit Import(const StoreView& view)
        : m_view(view)
    {
        for (const GroupEntry& each : groupEntries(view))
            m_knownGroups.insert(each.entry);
    }

    void add(const DocumentBlock& block)
    {
        if (block.kind == DocumentBlock::Kind::kPayload)
            addPayload(block);
        else if (isGroups(block.name))
            addGroups(block);
        else
            addApplication(block);
    }

    void write(velmo_caps::StoreWriter::Change& change) const
    {
        for (const Entry& each : m_entries)
            change.set(each.subdomain, each.key, each.value);
        for (const auto& [payload, collection] : m_collections)
            change.setCollection(payload, collection);
    }

private:
    struct Entry {
        SubdomainName subdomain;
        std::string key;
        std::string value;
    };

    // One without an id only says which code the document is for.
    void addPayload(const DocumentBlock& block)
    {
        if (block.name.empty())
            return;
        if (!block.name.starts_with('{'))
            throw DocumentError(block.line, "the id of a payload begins with '{'");
        for (const DocumentValue& each : block.values) {
            requireWholePath(each);
            const bool isLocation = each.key == kLocationKey;
            m_entries.push_back({{isLocation ? Face::kCaps : Face::kPcd,
                                     isLocation ? kDeploymentDomain : kDomain,
                                     block.name},
                each.key,
                each.value});
        }
        if (!block.collection.empty())
            m_collections.emplace_back(block.name, block.collection);
    }

    void addGroups(const DocumentBlock& block)
    {
        const std::string folder = groupValue({});
        for (const DocumentValue& each : block.values) {
            if (!each.value.starts_with(folder))
                throw DocumentError(each.line, "'" + each.value + "' is no group entry");
            const std::string entry = checked(
                each.line, [&] { return newGroupEntryOf(each.value.substr(folder.size())); });
            if (m_knownGroups.insert(entry).second)
                m_entries.push_back({groupsSubdomain(), groupKey(entry), groupValue(entry)});
        }
    }

    void addApplication(const DocumentBlock& block)
    {
        if (!block.name.starts_with(kApplications))
            throw DocumentError(block.line, "'" + block.name + "' is the code of no application");
        const std::string specifier = checked(
            block.line, [&] { return newSpecifierOf(block.name.substr(kApplications.size())); });
        for (const DocumentValue& each : block.values) {
            requireWholePath(each);
            if (isNameKey(each.key) && !each.value.empty())
                checked(each.line, [&] { return newSpecifierOf(each.value); });
            m_entries.push_back({applicationNamed(specifier), each.key, each.value});
        }
        warnWithoutPlace(block, specifier);
    }

    // A payload may name its place, but only by the name of its program.
    void warnWithoutPlace(const DocumentBlock& block, const std::string& specifier) const
    {
        const ViewSubdomain* const known = m_view.find(applicationNamed(specifier));
        const auto isPlace = [](const auto& each) {
            return isPlaceKey(each.key) && !each.value.empty();
        };
        if (std::ranges::none_of(block.values, isPlace)
            && (known == nullptr || std::ranges::none_of(known->entries, isPlace)))
            commandline::printMessage(kProgram,
                "warning: '" + specifier
                    + "' has no place (Path, RedirectTo or ExecutableBasename); the bus does not "
                      "know it until it has one");
    }

    // A relative one would lead to whatever lies in the folder of the one who starts it.
    static void requireWholePath(const DocumentValue& data)
    {
        const std::string& path = data.value;
        const bool isWhole = data.key == "Path" ? isWholePath(path) : path.starts_with('/');
        if (!isPathKey(data.key) || path.empty() || isWhole)
            return;
        throw DocumentError(data.line,
            "the path '" + path
                + (data.key == "Path" ? "' is neither absolute nor an https:// address"
                                      : "' is not absolute"));
    }

    template <typename Check>
    static std::string checked(std::size_t line, Check check)
    {
        try {
            return check();
        } catch (const CommandError& error) {
            throw DocumentError(line, error.what());
        }
    }

    const StoreView& m_view;
    std::vector<Entry> m_entries;
    std::vector<std::pair<std::string, std::string>> m_collections;
    std::set<std::string> m_knownGroups;
};

} // namespace

ExitCode runImport(const CommandLine& line)
{
    const std::string text = readDocumentFile(line.name);
    ChosenStores stores(line);
    Import import(stores.view());
    try {
        for (const DocumentBlock& block : readDocument(text))
            import.add(block);
    } catch (const DocumentError& error) {
        throw CommandError(ExitCode::kPlaceUnusable,
            line.name + ":" + std::to_string(error.line()) + ": " + error.what()
                + "; nothing was imported");
    }
    velmo_caps::StoreWriter::Change change(stores.writer());
    import.write(change);
    ChosenStores::commit(change);
    return ExitCode::kDone;
}

} // namespace velmo_caps_cli
