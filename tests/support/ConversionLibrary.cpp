// A small library in the place of the DNG converter. The environment says what it does:
//
//   CONVERSION_CAN=0         it cannot convert
//   CONVERSION_RESULT=n      what a conversion returns; 0 where unset
//   CONVERSION_WRITES=0      it writes no DNG, whatever it returns
//   CONVERSION_RECORDS=1     the DNG is a small one that bears our record of its original
//   CONVERSION_LOG=path      receives a line for each conversion: its arguments
//   CONVERSION_RUNS=command  a line for the shell that runs before the raw file is read; its path
//   is in
//                            CONVERSION_SOURCE
//   CONVERSION_CRASH=1       the process is killed in the middle, with half a DNG written
//   CONVERSION_INTERRUPTS=1  the process gets an interrupt in the middle
//   CONVERSION_TELLS=n       what it says that the last conversion came to; where unset, what that
//                            returned
//
// Built once more without that last function, as a library that gives no reasons.

#include "support/RecordedDng.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <stdlib.h>

#define LIBRARY_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

std::string setting(const char* name, const char* otherwise)
{
    const char* value = std::getenv(name);
    return value ? value : otherwise;
}

std::string dngOf(const std::string& source, const std::string& bytes)
{
    if (setting("CONVERSION_RECORDS", "0") == "1")
        return test::recordedDng(std::filesystem::path(source).filename().string(), bytes);
    return "DNG of " + bytes;
}

int gLastResult = 0;

} // namespace

LIBRARY_EXPORT bool ZQPlugin_CanConvertToDNG();
LIBRARY_EXPORT int ZQPlugin_ConvertToDNG(const char* source,
    const char* destination,
    int preview,
    int compressed,
    int linear,
    int embed);

bool ZQPlugin_CanConvertToDNG()
{
    return setting("CONVERSION_CAN", "1") == "1";
}

int ZQPlugin_ConvertToDNG(
    const char* source, const char* destination, int preview, int compressed, int linear, int embed)
{
    std::ofstream(setting("CONVERSION_LOG", "/dev/null"), std::ios::app)
        << source << ' ' << destination << ' ' << preview << compressed << linear << embed << '\n';
    ::setenv("CONVERSION_SOURCE", source, 1);
    if (std::system(setting("CONVERSION_RUNS", "true").c_str()) != 0)
        return gLastResult = 1;
    std::ifstream raw(source, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(raw), {}};
    if (setting("CONVERSION_WRITES", "1") == "1")
        std::ofstream(destination, std::ios::binary) << dngOf(source, bytes);
    if (setting("CONVERSION_CRASH", "0") == "1")
        std::raise(SIGKILL);
    if (setting("CONVERSION_INTERRUPTS", "0") == "1")
        std::raise(SIGINT);
    gLastResult = std::atoi(setting("CONVERSION_RESULT", "0").c_str());
    return gLastResult;
}

#ifndef CONVERSION_WITHOUT_REASONS
LIBRARY_EXPORT int ZQPlugin_LastResult();

int ZQPlugin_LastResult()
{
    const std::string told = setting("CONVERSION_TELLS", "");
    return told.empty() ? gLastResult : std::atoi(told.c_str());
}
#endif
