// What a download is asked for, as it comes together: the options on the command line say most of
// it, the preferences what was left open, the plug-in's panel what it will really do. The only
// place that fills a DownloadRequest.
//
// Call in this order: the constructor, `setSource` and `setPlaces`, `addRemembered`, `addPanel`;
// what a later step adds is unset before. Writes nothing. Borrows the command line. One thread.
#pragma once

#include "mfx/cli/CommandLine.h"
#include "mfx/engine/sink/DownloadRequest.h"
#include "mfx/engine/sink/SessionPreferences.h"

#include <cstdint>
#include <optional>
#include <string>

namespace mfx {

// What the store of preferences knew.
struct RememberedChoices {
    bool isWhole = true; // false: it is there and cannot be read
    std::optional<std::string> backupFolder; // that of this run
    std::uint64_t firstSequence = 1;
};

// The panel's check boxes once the plug-in has set them.
struct PanelChoices {
    bool convertsToDNG = false;
    bool deletesOriginals = false;
    bool opensBrowser = false;
};

// The number of a preview's size, as the plug-in and the library have it; nothing for no word.
std::optional<int> previewSize(const std::string& word);

class RequestFromOptions {
public:
    // Throws CommandError for wrong usage where a pattern is none.
    explicit RequestFromOptions(const CommandLine& line);

    // For the preferences of the run.
    const Choices& choices() const { return m_choices; }
    const std::optional<std::string>& storeFolder() const { return m_storeFolder; }

    void setSource(const std::string& name) { m_request.sourceName = name; }

    // The paths without links, once the folders exist. `backup` is the one of the command line.
    void setPlaces(const std::string& target, const std::optional<std::string>& backup);

    void addRemembered(const RememberedChoices& remembered);
    void addPanel(const PanelChoices& panel);

    const DownloadRequest& request() const { return m_request; }

private:
    const CommandLine& m_line;
    Choices m_choices;
    const std::optional<std::string> m_storeFolder; // none: the run starts from no store
    bool m_mayDelete = true;
    DownloadRequest m_request;
};

} // namespace mfx
