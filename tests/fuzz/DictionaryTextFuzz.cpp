// Any bytes as a dictionary file, mostly in text form.

#include "fuzz/DictionaryChecks.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(data, data + size);
    lexkit_private::Dictionary dictionary;
    fuzz::readBlock(dictionary, bytes);
    // No key is there twice, and each is found.
    const bool isBinary = bytes.starts_with("ZString Binary Format");
    while (!isBinary && dictionary.HasMoreItem()) {
        auto* const entry = static_cast<lexkit_private::DictionaryEntry*>(dictionary.NextItem());
        fuzz::require(dictionary.Find(*entry) == entry);
    }
    lexkit_private::Dictionary fromStream;
    fuzz::readStream(fromStream, bytes);
    const bool hasMark = bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF");
    if (!hasMark && !isBinary && size >= 2)
        fuzz::require(fuzz::listing(dictionary) == fuzz::listing(fromStream));
    std::ostringstream text;
    dictionary.Serialize(text, false, nullptr);
    lexkit_private::Dictionary again;
    fuzz::readBlock(again, text.str());
    fuzz::require(again.NumKeys() <= dictionary.NumKeys() * 2 + size);
    return 0;
}
