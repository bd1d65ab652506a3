// What must hold of a dictionary whatever bytes it was read from.
#pragma once

#include "fuzz/Require.h"
#include "lexkit/private/Dictionary.h"

#include <sstream>
#include <string>

namespace fuzz {

// Every entry, in table order, with the validity.
inline std::string listing(lexkit_private::Dictionary& dictionary)
{
    std::string list = dictionary.IsValid() ? "valid" : "invalid";
    while (dictionary.HasMoreItem()) {
        const auto* const entry =
            static_cast<lexkit_private::DictionaryEntry*>(dictionary.NextItem());
        const lexkit_private::UnicodeRun& value = entry->GetValue();
        list += '\n' + std::to_string(entry->GetLength()) + ':';
        list.append(reinterpret_cast<const char*>(entry->GetData()), entry->GetLength());
        list += std::to_string(value.GetByteLength()) + ':';
        list.append(reinterpret_cast<const char*>(value.GetData()), value.GetByteLength());
    }
    return list;
}

inline void readBlock(lexkit_private::Dictionary& dictionary, const std::string& bytes)
{
    dictionary.Read(bytes.data(), static_cast<int>(bytes.size()), false);
}

inline void readStream(lexkit_private::Dictionary& dictionary, const std::string& bytes)
{
    std::istringstream stream(bytes);
    dictionary.Read(&stream);
}

// A block and a stream of the same bytes give the same dictionary; it can be written, and what it
// wrote can be read. Gives the listing.
inline std::string checkBinary(const std::string& bytes)
{
    lexkit_private::Dictionary fromBlock;
    lexkit_private::Dictionary fromStream;
    readBlock(fromBlock, bytes);
    readStream(fromStream, bytes);
    const std::string list = listing(fromBlock);
    require(list == listing(fromStream));
    std::ostringstream compiled;
    fromBlock.Compile(compiled, nullptr);
    lexkit_private::Dictionary again;
    readBlock(again, compiled.str());
    require(again.IsValid() && again.NumKeys() == fromBlock.NumKeys());
    std::ostringstream text;
    fromBlock.Serialize(text, false, nullptr);
    lexkit_private::Dictionary fromText;
    readBlock(fromText, text.str());
    return list;
}

} // namespace fuzz
