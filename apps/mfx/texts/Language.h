// The language in which mfx and tevoro speak.
#pragma once

#include <string>

namespace mfx {

// Opens the texts of the user's language, which the plug-in speaks too. For main(), before anything
// is said and before there are threads: the working folder is another one for a moment. Throws
// filesystem_error when it cannot come back. The locale, such as "de_de"; empty where the program's
// own folder is not known.
std::string speakLanguageOfUser();

} // namespace mfx
