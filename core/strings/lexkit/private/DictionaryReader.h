// Reads a text dictionary line by line, as terminated UTF-16. The first two bytes choose the kind
// of reader. Refers to a source that outlives it: a stream, or a block of memory.
#pragma once

#include "lexkit/private/Buffer.h"

#include <cstddef>
#include <memory>

namespace lexkit_private {

class DictionaryStream;

class DictionaryReader {
public:
    // The kind of source, and what of it has been fetched and not been used.
    struct Source {
        DictionaryStream* stream = nullptr; // null for a block
        const unsigned char* cursor = nullptr;
        const unsigned char* end = nullptr;
    };

    // Looks at two bytes; the stream stands behind a mark afterwards, else at its start.
    static std::unique_ptr<DictionaryReader> Make(DictionaryStream& stream);
    // Skips a mark. Null for a block of less than two bytes.
    static std::unique_ptr<DictionaryReader> Make(
        const unsigned char* begin, const unsigned char* end);

    explicit DictionaryReader(const Source& source);
    DictionaryReader(const DictionaryReader&) = delete;
    DictionaryReader& operator=(const DictionaryReader&) = delete;
    virtual ~DictionaryReader();

    // The next line without its end, empty lines too; null at the end of the text. Valid until the
    // next call.
    virtual const unsigned short* ReadALine() = 0;

    // What ended the line: LF, CR, U+2028, U+2029, or 0 for a NUL or the end of the text.
    unsigned short GetLineEnd() const { return m_lineEnd; }
    // Whether a NUL ended the text of a block before its end.
    bool HasRest() const { return m_source.cursor != m_source.end; }
    unsigned long GetLineCapacity() const { return m_line.GetCapacity(); }

protected:
    // False at the end of the source.
    bool takeByte(unsigned char& byte)
    {
        if (m_source.cursor == m_source.end && !fetch())
            return false;
        byte = *m_source.cursor++;
        return true;
    }

    const unsigned short* endLine(unsigned short lineEnd);

    Buffer<unsigned short> m_line;

private:
    bool fetch();

    Source m_source;
    std::unique_ptr<unsigned char[]> m_chunk; // of a stream
    unsigned short m_lineEnd = 0;
};

} // namespace lexkit_private
