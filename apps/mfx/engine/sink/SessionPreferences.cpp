#include "mfx/engine/sink/SessionPreferences.h"

#include "mfx/texts/Texts.h"
#include "platform/common/files/PrivateFolder.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "platform/common/services/UserFolders.h"

#include <charconv>
#include <filesystem>

namespace mfx {

namespace fs = std::filesystem;

namespace {

constexpr char kStoreBelowData[] = "/Velmo/Tevoro NX";

// What a store begins with. A key that is left out would take the text of the key before it.
const std::pair<const char*, const char*> kFirstValues[] = {
    {"BatchRenamePreferenceSize", "0"},
    {"CreateSubfoldersComboIndex", "3"},
    {"RenameFilesComboIndex", "0"},
    {"ApplyMetadataGroupOpen", "1"},
    {"ApplyMetadataAuthorNameSize", "0"},
    {"ApplyMetadataCopyrightSize", "0"},
    {"ApplyMetadataTemplateNameSize", "0"},
    {"MobileFolderSettingSize", "0"},
    {"CustomGroupOpen", "1"},
    {"RenameSequenceNumber", "1"},
    {"PreserveOriginalFilename", "0"},
    {"QuickViewerMode", "1"},
    {"OpenTevoro", "0"},
    {"DeleteOriginals", "0"},
    {"ConvertToDNG", "0"},
    {"DNGOutputUncompressed", "0"},
    {"DNGOutputLinear", "0"},
    {"DNGEmbeddRAW", "0"},
    {"DNGJpegPreviewSize", "1"},
    {"SaveToSecondaryLocation", "0"},
    {"SecondaryLocation", ""},
    {"Location", ""},
    {"DontShowAgainFlags", "0"},
    {"Option1Pref", "1"},
    {"Option2Pref", "0"},
    {"Option3Pref", "0"},
    {"GridFilterPref", "7"},
};

// Of the store's own files, and no others: the folder may be one that was named by mistake.
void copyStore(const std::string& from, const std::string& to)
{
    std::error_code error; // no store is no failure: the run begins with first values
    for (fs::directory_iterator it(from, error), end; !error && it != end; it.increment(error)) {
        std::error_code unreadable;
        if (it->is_regular_file(unreadable) && it->path().extension() == ".xml")
            fs::copy_file(it->path(), fs::path(to) / it->path().filename(), unreadable);
    }
}

const char* flagText(bool isOn)
{
    return isOn ? "1" : "0";
}

} // namespace

// The plug-in is loaded later and finds the copy by the variable, which is set last: a run that
// fails before has changed nothing of this process. The bus's store is the user's own all the same,
// and so is what programs find that the bus starts.
SessionPreferences::SessionPreferences(const std::string& libraryPath,
    const std::optional<std::string>& storeFolder,
    const Choices& choices)
    : m_libraryPath(libraryPath)
    , m_storeFolder(storeFolder)
    , m_values(chosenValues(choices))
{
    const auto client = openCopy(m_session.path + kStoreBelowData);
    write(*client, m_values);
    readBack(*client);
    Pt::setEnvironmentVariable("MFX_USER_DATA", Pt::lastingApplicationData());
    Pt::setEnvironmentVariable("MFX_APPLICATION_DATA", m_session.path);
}

// A store that is there and cannot be read is not copied over: a later version may have written it.
// The run goes on with first values then, and deletes nothing.
std::unique_ptr<PreferenceClient> SessionPreferences::openCopy(const std::string& store)
{
    fs::create_directories(store);
    if (m_storeFolder)
        copyStore(*m_storeFolder, store);
    auto client = std::make_unique<PreferenceClient>(m_libraryPath, store);
    m_startedWhole =
        !m_storeFolder || client->wasLoaded() || !PreferenceClient::standsIn(*m_storeFolder);
    if (m_startedWhole)
        return client;
    client.reset(); // the library would not save over a store of a later version
    fs::remove_all(store);
    fs::create_directories(store);
    return std::make_unique<PreferenceClient>(m_libraryPath, store);
}

SessionPreferences::Folder::Folder()
    : path(Pt::makePrivateFolder("mfx-session"))
{
}

SessionPreferences::Folder::~Folder()
{
    std::error_code ignored; // a later run removes what is left
    fs::remove_all(path, ignored);
}

// Only what was said on the command line: a flag that was not given leaves what is remembered
// alone.
SessionPreferences::Values SessionPreferences::chosenValues(const Choices& choices)
{
    Values values;
    if (choices.backupFolder) {
        values.emplace_back("SaveToSecondaryLocation", "1");
        values.emplace_back("SecondaryLocation", *choices.backupFolder);
    }
    if (choices.makesNoBackup)
        values.emplace_back("SaveToSecondaryLocation", "0");
    if (choices.deletesOriginals)
        values.emplace_back("DeleteOriginals", "1");
    if (choices.opensBrowser)
        values.emplace_back("OpenTevoro", flagText(*choices.opensBrowser));
    if (choices.convertsToDNG)
        values.emplace_back("ConvertToDNG", flagText(*choices.convertsToDNG));
    if (choices.dngPreview)
        values.emplace_back("DNGJpegPreviewSize", std::to_string(*choices.dngPreview));
    if (choices.dngUncompressed)
        values.emplace_back("DNGOutputUncompressed", "1");
    if (choices.dngLinear)
        values.emplace_back("DNGOutputLinear", "1");
    if (choices.dngEmbedRaw)
        values.emplace_back("DNGEmbeddRAW", "1");
    return values;
}

// First values only where a key is missing: what the user has chosen once stays.
void SessionPreferences::write(PreferenceClient& client, const Values& values)
{
    for (const auto& [key, value] : kFirstValues)
        if (!client.text(key))
            client.setText(key, value);
    for (const auto& [key, value] : values)
        client.setText(key, value);
    if (!client.save())
        throw std::system_error(std::make_error_code(std::errc::io_error),
            text("$$$/Mfx/System/PreferencesNotWritten=the preferences of this run cannot be "
                 "written to %1",
                {m_session.path}));
}

// What the plug-in will read, read in its own way: a backup that is switched on without a folder
// goes where the plug-in would put it, and not where we should like it.
void SessionPreferences::readBack(PreferenceClient& client)
{
    const auto isOn = [&client](const char* key) { return client.text(key) == "1"; };
    if (isOn("SaveToSecondaryLocation")) {
        const std::string folder = client.text("SecondaryLocation").value_or("");
        m_backupFolder = folder.empty() ? Pt::picturesFolder() : folder;
    }
    const std::string sequence = client.text("RenameSequenceNumber").value_or("");
    std::uint32_t number = 0;
    const auto [end, problem] =
        std::from_chars(sequence.data(), sequence.data() + sequence.size(), number);
    if (problem == std::errc() && end == sequence.data() + sequence.size())
        m_firstSequence = number; // what is no number leaves it at its first one
}

// The choices are written into the user's store afresh, and the copy is not copied back: another
// run may have changed the store meanwhile.
bool SessionPreferences::remember(const std::string& target, std::uint64_t nextSequence)
{
    if (!m_storeFolder)
        return false;
    PreferenceClient client(m_libraryPath, *m_storeFolder);
    Values values = m_values;
    values.emplace_back("Location", target);
    values.emplace_back("RenameSequenceNumber", std::to_string(nextSequence));
    try {
        write(client, values);
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

std::string SessionPreferences::userStoreFolder()
{
    return Pt::lastingApplicationData() + kStoreBelowData;
}

std::string SessionPreferences::storeFolderIn(const std::string& folder)
{
    std::error_code error;
    return fs::is_directory(folder + kStoreBelowData, error) ? folder + kStoreBelowData : folder;
}

} // namespace mfx
