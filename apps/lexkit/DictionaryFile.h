// A dictionary file on the command line: its bytes, and what was read from them. A byte-order mark
// is no part of the first line.
#pragma once

#include "lexkit/private/Dictionary.h"

#include <functional>
#include <string>

namespace lexkit_cli {

class DictionaryFile {
public:
    // Reads the file. Throws CommandError when it is not there or cannot be read.
    explicit DictionaryFile(const std::string& path);

    const std::string& path() const { return m_path; }
    const std::string& bytes() const { return m_bytes; }
    bool isBinary() const;

    // Fills an empty dictionary.
    void readInto(lexkit_private::Dictionary& dictionary) const;
    // The same, with a message where the file has faults. Whether it has none.
    bool readTelling(lexkit_private::Dictionary& dictionary) const;

private:
    std::string m_path;
    std::string m_bytes;
};

// Each entry in table order.
void forEachEntry(lexkit_private::Dictionary& dictionary,
    const std::function<void(const lexkit_private::DictionaryEntry&)>& visit);

} // namespace lexkit_cli
