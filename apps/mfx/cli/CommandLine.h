// What the user typed, read and checked as far as it can be without looking at any file.
#pragma once

#include "commandline/ExitCode.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mfx {

using commandline::CommandError;
using commandline::ExitCode;

enum class Command { kSources, kList, kDownload, kConvert, kExtract };

struct CommandLine {
    Command command = Command::kSources;
    bool json = false;
    std::string source; // or the DNG to extract from
    std::vector<std::string> files; // to convert

    // download; the target also of a conversion, and the form of DNGs
    std::string target;
    std::string subfolders;
    std::string rename;
    std::optional<std::uint64_t> seqStart;
    bool makeFolders = false;
    std::string backup;
    bool noBackup = false;
    bool dng = false;
    bool noDNG = false;
    std::string dngPreview;
    bool dngUncompressed = false;
    bool dngLinear = false;
    bool dngEmbedRaw = false;
    std::vector<std::string> only;
    bool deleteOriginals = false;
    bool yes = false;
    bool open = false;
    bool noOpen = false;
    std::string preferences;
    bool remember = false;
    bool dryRun = false;
    bool quiet = false;
};

// Nothing when all is said already (--help, --version); `code` then is how the program ends, also
// for wrong usage, which is told on standard error.
std::optional<CommandLine> readCommandLine(int argc, char** argv, ExitCode& code);

} // namespace mfx
