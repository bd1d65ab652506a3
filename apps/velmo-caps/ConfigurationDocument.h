// The XML document that carries entries of the store from one machine to another.
//
// The bus writes such documents by plain concatenation, with no escaping of any value; they are
// read as they stand, a value to the "</Data>" that another tag follows. A root that is marked as
// escaped, as documents written here are, says that values are escaped as XML requires. Values
// without state; any thread.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace velmo_caps_cli {

struct DocumentValue {
    std::string key;
    std::string value;
    std::size_t line = 0; // where it begins; 0 in a document that is being made
};

struct DocumentBlock {
    enum class Kind { kPayload, kData };
    Kind kind = Kind::kData;
    std::string name; // the code of a data block, the id of a payload; a payload may have none
    std::string collection; // of a payload
    std::vector<DocumentValue> values;
    std::size_t line = 0;
};

using ConfigurationDocument = std::vector<DocumentBlock>;

class DocumentError : public std::runtime_error {
public:
    DocumentError(std::size_t line, const std::string& text)
        : std::runtime_error(text)
        , m_line(line)
    {
    }
    std::size_t line() const { return m_line; }

private:
    std::size_t m_line;
};

// Throws DocumentError.
ConfigurationDocument readDocument(std::string_view text);

// Escaped, and marked so.
std::string writeDocument(const ConfigurationDocument& document);

} // namespace velmo_caps_cli
