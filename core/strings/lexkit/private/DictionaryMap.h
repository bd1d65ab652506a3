// The dictionaries of the process that go by a number. Owns them until the process ends. No locks.
#pragma once

#include "lexkit/private/Dictionary.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace lexkit_private {

class DictionaryMap {
public:
    static DictionaryMap& Instance();

    // The last one with that id, of which 32 bits count; a new, empty one when there is none.
    Dictionary& operator[](unsigned long id);

private:
    DictionaryMap() = default;

    std::vector<std::uint32_t> m_ids;
    std::vector<std::unique_ptr<Dictionary>> m_dictionaries; // one for each id
};

} // namespace lexkit_private
