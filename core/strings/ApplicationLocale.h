// Which language the application speaks. Plain functions without state, for the thread that runs
// the user interface. A locale is language, "_", territory, in lower case: "de_de".
#pragma once

class QString;

// Maps a short locale token ("de", "nl_be") to a full one in place. Comparison is exact; tokens
// that are not in the table stay as they are.
void GetLocaleFromToken(QString& token);

// Units that the buffer of getApplicationLocale must hold.
inline constexpr int kApplicationLocaleCapacity = 1024;

// Fills the buffer with the application's locale: what the host's configuration names, else the
// machine-wide default, else the system's, else "en_us". All English, Spanish and French locales
// count as one each. Always returns 1.
int getApplicationLocale(unsigned short* buffer);
