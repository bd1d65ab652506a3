// Which device names are asked for: a set of globs, any of which may match.
//
// '*' stands for any run of characters, '?' for one character, '[a-z]', '[!a-z]' and '[^a-z]' for
// one character of (or outside) a set, '\' takes the next character as it stands. A '[' without
// its ']' is an ordinary character. Cards are FAT volumes, where IMG_1.JPG and img_1.jpg are one
// name: A to Z match in either case. Constant after construction; any thread may ask.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mfx {

class NameFilter {
public:
    // Without globs everything is asked for.
    NameFilter() = default;
    explicit NameFilter(const std::vector<std::string>& globs);

    bool accepts(std::string_view name) const;
    bool acceptsAll() const { return m_globs.empty(); }

private:
    std::vector<std::u32string> m_globs;
};

} // namespace mfx
