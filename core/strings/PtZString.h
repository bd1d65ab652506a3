// The only door through which code reaches the texts that users see. A text is written where it is
// used as a literal "$$$/Some/Key=English text"; getZString turns it into what the user's
// dictionary has for the key, or else into the text behind the "=".
//
// Static functions over one shared dictionary, without locks: opened by the sink's constructor and
// read on the thread that runs the user interface. No function throws.
#pragma once

#include <QString>

namespace lexkit {
class Dictionary;
} // namespace lexkit

class PtZString {
public:
    PtZString() = delete;

    // Loads the dictionary of the application's locale, in place of the one that was open; none for
    // "en_us" unless `force` is true. The file is "../shared_assets/locales", the locale,
    // "MFXStrings.dct", relative to the working folder. A missing file is no failure: the
    // dictionary is then empty, and default texts show.
    static bool openZStringDict(bool force);

    // Reads one more dictionary file into the same table; its texts replace those of the same key.
    // False if there is no file at the path. A dictionary is open afterwards in any case.
    static bool appendZStringDict(const QString& path);

    // Does nothing without a dictionary.
    static void closeZStringDict();

    // The text for a literal. Without a dictionary this is the default, unchanged. With one, the
    // escapes of a default are converted; its bytes beyond ASCII are not decoded. A literal without
    // "=" is logged and returned unchanged.
    static QString getZString(const QString& literal);

    static QString getCancelString();
    static QString getYesString();
    static QString getNoString();
    static QString getOKString();

private:
    static lexkit::Dictionary* smpDictionary;
};
