#include "mfx/texts/Language.h"

#include "mfx/texts/Texts.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "strings/ApplicationLocale.h"

#include <QString>

#include <array>
#include <filesystem>

namespace mfx {

namespace fs = std::filesystem;

namespace {

std::string localeOfUser()
{
    std::array<unsigned short, kApplicationLocaleCapacity> units{};
    getApplicationLocale(units.data());
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(units.data())).toStdString();
}

// As the plug-in will be told it: the host's configuration is looked for in the working folder,
// which is the program's own by then.
std::string localeInFolder(const fs::path& program)
{
    std::error_code error;
    const fs::path here = fs::current_path(error);
    if (!error)
        fs::current_path(here, error);
    if (error) // paths on the command line count from here, so it is not left without a way back
        return localeOfUser();
    fs::current_path(program, error);
    std::string locale = localeOfUser();
    fs::current_path(here);
    return locale;
}

} // namespace

std::string speakLanguageOfUser()
{
    const fs::path program = Pt::programFolder();
    if (program.empty())
        return {};
    std::string locale = localeInFolder(program);
    openTexts((program / "../shared_assets/locales").string(), locale);
    return locale;
}

} // namespace mfx
