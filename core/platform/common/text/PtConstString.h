#pragma once

namespace Pt {

// A 16-bit copy of a UTF-8 literal, for texts that are fixed in the program. The holder is one
// pointer and is copied like one; nobody owns the text, which stays for the life of the process
// whatever becomes of its holders. So this is for literals: each construction keeps a block.
// Any thread may construct one.
class ConstString {
public:
    // A null text counts as empty.
    explicit ConstString(const char* text);

    // Never null.
    const unsigned short* text() const { return m_text; }
    // NOLINTNEXTLINE(google-explicit-constructor): it stands where such a text is wanted
    operator const unsigned short*() const { return m_text; }

private:
    const unsigned short* m_text;
};

} // namespace Pt
