// Reader of property lists, the XML form in which the host's configuration is written:
// <plist><dict><key>NAME</key><string>TEXT</string>...</dict></plist>. Reads any bytes without
// harm; keeps nothing; any thread may call.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Pt {

// The text value of a key in the outermost dictionary, in UTF-8; nothing when the bytes are no
// property list, the key is not there or its value is not a text.
std::optional<std::string> propertyListText(std::string_view bytes, std::string_view key);

} // namespace Pt
