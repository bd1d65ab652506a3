// The only door through which code reaches the texts that users see. A text is written where it is
// used as a literal "$$$/Some/Key=English text"; getZString turns it into what the user's
// dictionary has for the key, or else into the text behind the "=".
//
// Static functions over one shared state, without locks: opened by the sink's constructor and read
// on the thread that runs the user interface. No function throws.
#pragma once

#include <QString>

class PtZString {
public:
    PtZString() = delete;

    // Loads the dictionary of the application's locale; none for "en_us" unless `force` is true.
    // A dictionary file that is not there is no failure.
    static bool openZStringDict(bool force);

    // Reads one more dictionary file into the same table; false when it cannot be read.
    static bool appendZStringDict(const QString& path);

    static void closeZStringDict();

    // The text for a literal. A literal without "=" is logged and comes back unchanged.
    static QString getZString(const QString& literal);

    static QString getCancelString();
    static QString getYesString();
    static QString getNoString();
    static QString getOKString();
};
