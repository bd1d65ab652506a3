// A small library in the place of the DNG converter. The environment says what it does:
//
//   CONVERSION_CAN=0         it cannot convert
//   CONVERSION_RESULT=n      what a conversion returns; 0 where unset
//   CONVERSION_WRITES=0      it writes no DNG, whatever it returns
//   CONVERSION_LOG=path      receives a line for each conversion: its arguments
//   CONVERSION_CRASH=1       the process is killed in the middle, with half a DNG written

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#define LIBRARY_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

std::string setting(const char* name, const char* otherwise)
{
    const char* value = std::getenv(name);
    return value ? value : otherwise;
}

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
    std::ifstream raw(source, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(raw), {}};
    if (setting("CONVERSION_WRITES", "1") == "1")
        std::ofstream(destination, std::ios::binary) << "DNG of " << bytes;
    if (setting("CONVERSION_CRASH", "0") == "1")
        std::raise(SIGKILL);
    return std::atoi(setting("CONVERSION_RESULT", "0").c_str());
}
