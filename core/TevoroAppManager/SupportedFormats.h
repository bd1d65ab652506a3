// The file types that the sink takes: the built-in extensions and those that the host adds.
#pragma once

#include "TevoroAppManager/CMOXFileFormat.h"
#include "TevoroAppManager/contract/FxRef.h"

#include <QString>

// Builds the list, with one reference for the caller. `zqExtensions` is separated by commas; each
// part that is not a substring of the image list so far extends it. Null when there is no memory.
FxRef<CMOXFileFormat> makeSupportedFormats(const QString& zqExtensions);
