#include "lexkit/ZString.h"

#include "lexkit/private/ZString.h"

#include <exception>
#include <utility>

namespace lexkit {

namespace {

// Asking a handle without a text is a mistake of the program.
template <typename Text>
Text& sound(Text* text)
{
    if (!text)
        std::terminate();
    return *text;
}

} // namespace

ZString::ZString()
    : m_text(new lexkit_private::ZString)
{
}

ZString::ZString(const unsigned short* units, unsigned long length)
    : m_text(new lexkit_private::ZString(units, length))
{
}

ZString::ZString(const unsigned char* bytes, unsigned long length, const EncodingInfo* encoding)
    : m_text(new lexkit_private::ZString(bytes, length, encoding))
{
}

ZString::ZString(const char* literal, unsigned long dictionaryId, const EncodingInfo* encoding)
    : m_text(new lexkit_private::ZString(literal, dictionaryId, encoding))
{
}

ZString::ZString(long number)
    : m_text(new lexkit_private::ZString(number))
{
}

ZString::ZString(lexkit_private::UnicodeRun&& run)
    : m_text(new lexkit_private::ZString(std::move(run)))
{
}

ZString::ZString(const ZString& other)
    : m_text(new lexkit_private::ZString(sound(other.m_text)))
{
}

// Leaves null behind instead of a new empty text: a move must not allocate, because it must not
// throw.
ZString::ZString(ZString&& other) noexcept
    : m_text(std::exchange(other.m_text, nullptr))
{
}

ZString::~ZString()
{
    delete m_text;
}

ZString& ZString::operator=(const ZString& other)
{
    if (m_text)
        *m_text = sound(other.m_text);
    // A moved-from object may be assigned to, so it gets a new text. Assigned to itself, it stays
    // without one.
    else if (this != &other)
        m_text = new lexkit_private::ZString(sound(other.m_text));
    return *this;
}

ZString& ZString::operator=(ZString&& other) noexcept
{
    // The old text goes to the other object and is destroyed with it.
    std::swap(m_text, other.m_text);
    return *this;
}

long ZString::CompareTo(const ZString& other) const
{
    return sound(m_text).CompareTo(sound(other.m_text));
}

bool ZString::IsEmpty() const
{
    return sound(m_text).IsEmpty();
}

bool ZString::IsAllWhiteSpace() const
{
    return sound(m_text).IsAllWhiteSpace();
}

void ZString::Clear()
{
    sound(m_text).Clear();
}

bool ZString::ToInteger(long& value) const
{
    return sound(m_text).ToInteger(value);
}

void ZString::TrimBlanks()
{
    sound(m_text).TrimBlanks();
}

void ZString::TrimEllipsis()
{
    sound(m_text).TrimEllipsis();
}

void ZString::EllipsisToHostEllipsis()
{
    sound(m_text).EllipsisToHostEllipsis();
}

bool ZString::RemoveExtension()
{
    return sound(m_text).RemoveExtension();
}

void ZString::RemoveAccelerators()
{
    sound(m_text).RemoveAccelerators();
}

void ZString::RemoveBadFilenameCharacters()
{
    sound(m_text).RemoveBadFilenameCharacters();
}

void ZString::ChangeNewLineCharacter()
{
    sound(m_text).ChangeNewLineCharacter();
}

bool ZString::WillReplace(unsigned char digit) const
{
    return sound(m_text).WillReplace(digit);
}

void ZString::Replace(unsigned char digit, const ZString& with)
{
    sound(m_text).Replace(digit, sound(with.m_text));
}

void ZString::Validate() const
{
    // Without sound(): this is the one question that a moved-from object answers, with an
    // exception.
    lexkit_private::ZString::Validate(m_text);
}

void ZString::MakeFromUnicode(const unsigned short* units, unsigned long length)
{
    sound(m_text).BackDoorMakeFromUnicode(units, length);
}

void ZString::AssignUnicode(const unsigned short* terminated)
{
    sound(m_text).BackDoorAssignUnicode(terminated);
}

void ZString::MakeFromCString(const char* text, unsigned long length, const EncodingInfo* encoding)
{
    sound(m_text).BackDoorMakeFromCString(text, length, encoding);
}

void ZString::AssignCString(const char* terminated, const EncodingInfo* encoding)
{
    sound(m_text).BackDoorAssignCString(terminated, encoding);
}

void ZString::MakeFromPascalString(
    const unsigned char* text, unsigned long length, const EncodingInfo* encoding)
{
    sound(m_text).BackDoorMakeFromPascalString(text, length, encoding);
}

void ZString::AssignPascalString(const unsigned char* text, const EncodingInfo* encoding)
{
    sound(m_text).BackDoorAssignPascalString(text, encoding);
}

unsigned long ZString::GetUnicodeSize() const
{
    return sound(m_text).BackDoorGetUnicodeSize();
}

void ZString::GetUnicode(unsigned short* buffer, unsigned long size, bool throwIfSmall) const
{
    sound(m_text).BackDoorGetUnicode(buffer, size, throwIfSmall);
}

unsigned long ZString::GetCStringSize(const EncodingInfo* encoding) const
{
    return sound(m_text).BackDoorGetCStringSize(encoding);
}

unsigned long ZString::GetPascalStringSize(const EncodingInfo* encoding) const
{
    return sound(m_text).BackDoorGetPascalStringSize(encoding);
}

void ZString::GetCString(
    char* buffer, unsigned long size, bool throwIfSmall, const EncodingInfo* encoding) const
{
    sound(m_text).BackDoorGetCString(buffer, size, throwIfSmall, encoding);
}

void ZString::GetPascalString(unsigned char* buffer,
    unsigned long size,
    bool throwIfSmall,
    const EncodingInfo* encoding) const
{
    sound(m_text).BackDoorGetPascalString(buffer, size, throwIfSmall, encoding);
}

void ZString::GetInternalData(const unsigned short** units, unsigned long* length) const
{
    sound(m_text).BackDoorGetInternalData(units, length);
}

} // namespace lexkit
