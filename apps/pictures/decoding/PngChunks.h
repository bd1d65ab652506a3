// A look at the chunks of a PNG file before the toolkit's reader gets it: that makes room for as
// much as a chunk says it is long, and for as much as a packed text grows to. Any thread may call.
#pragma once

class QIODevice;

namespace pictures {

// True for what is no PNG, too. The device is open for reading, random access; its position is put
// back.
bool hasSoundPngChunks(QIODevice& device);

} // namespace pictures
