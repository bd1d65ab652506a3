#include "platform/common/text/PropertyList.h"

#include <pugixml.hpp>

namespace Pt {

std::optional<std::string> propertyListText(std::string_view bytes, std::string_view key)
{
    pugi::xml_document document;
    if (!document.load_buffer(bytes.data(), bytes.size()))
        return std::nullopt;
    for (const pugi::xml_node& name : document.child("plist").child("dict").children("key")) {
        if (key != name.child_value())
            continue;
        pugi::xml_node value = name.next_sibling();
        // White space and comments stand between a key and its value.
        while (value && value.type() != pugi::node_element)
            value = value.next_sibling();
        // A value of another kind means that the key is not set as a text.
        if (std::string_view(value.name()) != "string")
            return std::nullopt;
        return value.child_value();
    }
    return std::nullopt;
}

} // namespace Pt
