#include "lexkit/private/DictionaryMap.h"

namespace lexkit_private {

DictionaryMap& DictionaryMap::Instance()
{
    static DictionaryMap map;
    return map;
}

Dictionary& DictionaryMap::operator[](unsigned long id)
{
    // Identifiers have 32 bits, whatever the width of a long.
    const auto wanted = static_cast<std::uint32_t>(id);
    const auto found = std::find(m_ids.rbegin(), m_ids.rend(), wanted);
    if (found != m_ids.rend())
        return *m_dictionaries[static_cast<std::size_t>(m_ids.rend() - found) - 1];
    m_dictionaries.push_back(std::make_unique<Dictionary>());
    m_ids.push_back(wanted);
    return *m_dictionaries.back();
}

} // namespace lexkit_private
