// Finds names that do not clash.
#pragma once

class QString;

// Finds a free name in a folder: `name` itself (unless `forceNumber`), then `name` with "-1", "-2"
// and so on before its extension, from `firstIndex`; 10,000 names at the most. `out` comes in as
// the base where it is not empty, and goes out as the free name. A name counts as free when a file
// of that name could be made for a moment. False when there is none or the folder takes no file.
// Each name tried costs one existence test, each that seems free one creation with a flush.
bool generateUniqueFileName(
    const QString& folder, const QString& name, QString& out, int firstIndex, bool forceNumber);

// Splits a name: `base` becomes the name without extension and without a last "-number" part.
// Returns that number, or 0 where there is none. A name that is a bare number is its own number.
int utilBaseFilename(const QString& name, QString& base);
