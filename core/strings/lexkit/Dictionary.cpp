#include "lexkit/Dictionary.h"

#include "lexkit/private/Dictionary.h"

// The handle holds one pointer and nothing else, so that the class behind it can change without
// breaking programs that were built against an older header.
namespace lexkit {

Dictionary::Dictionary()
    : m_dictionary(new lexkit_private::Dictionary)
{
}

Dictionary::~Dictionary()
{
    delete m_dictionary;
}

void Dictionary::Read(std::istream* stream)
{
    m_dictionary->Read(stream);
}

void Dictionary::Read(const char* data, int size, bool copyKeys)
{
    m_dictionary->Read(data, size, copyKeys);
}

void Dictionary::Read(std::istream& stream)
{
    m_dictionary->Read(stream);
}

ZString Dictionary::Lookup(const char* literal, const EncodingInfo* encoding)
{
    return ZString(m_dictionary->Lookup(literal, encoding));
}

bool Dictionary::HasKey(const char* literal, const EncodingInfo* encoding)
{
    return m_dictionary->HasKey(literal, encoding);
}

unsigned long Dictionary::NumKeys() const
{
    return m_dictionary->NumKeys();
}

bool Dictionary::HasMoreKey()
{
    return m_dictionary->HasMoreKey();
}

bool Dictionary::NextKey(char* buffer, unsigned long size, bool throwIfSmall)
{
    return m_dictionary->NextKey(buffer, size, throwIfSmall);
}

void Dictionary::SetAsMain()
{
    m_dictionary->SetAsMain();
}

bool Dictionary::IsValid() const
{
    return m_dictionary->IsValid();
}

unsigned long Dictionary::Serialize(
    std::ostream& stream, bool binary, const EncodingInfo* encoding) const
{
    return m_dictionary->Serialize(stream, binary, encoding);
}

void Dictionary::Read(std::istream* stream, unsigned long id)
{
    lexkit_private::Dictionary::Read(stream, id);
}

void Dictionary::SetAsMain(unsigned long id)
{
    lexkit_private::Dictionary::SetAsMain(id);
}

unsigned long Dictionary::Compile(std::ostream& stream, const EncodingInfo* encoding) const
{
    return m_dictionary->Compile(stream, encoding);
}

} // namespace lexkit
