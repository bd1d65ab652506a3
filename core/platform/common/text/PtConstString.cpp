#include "platform/common/text/PtConstString.h"

#include "platform/common/text/PtUnicode.h"
#include "platform/common/threads/Lock.h"

#include <cstring>
#include <memory>
#include <vector>

namespace Pt {

namespace {

// Keeps the texts, and keeps them reachable for leak checkers. Never destroyed: texts may be in use
// until the last static object has gone.
class Texts {
public:
    const unsigned short* add(std::unique_ptr<unsigned short[]> text)
    {
        const Locked locked(m_lock);
        m_texts.push_back(std::move(text));
        return m_texts.back().get();
    }

private:
    Lock m_lock;
    std::vector<std::unique_ptr<unsigned short[]>> m_texts TEVORO_GUARDED_BY(m_lock);
};

Texts& texts()
{
    static Texts* const instance = new Texts;
    return *instance;
}

const unsigned short* keep(const char* text)
{
    const std::size_t length = text ? std::strlen(text) : 0;
    // UTF-16 never has more units than UTF-8 has bytes.
    auto copy = std::make_unique<unsigned short[]>(length + 1);
    UTF8ToUTF16HostEndian(text, length, copy.get());
    return texts().add(std::move(copy));
}

} // namespace

ConstString::ConstString(const char* text)
    : m_text(keep(text))
{
}

} // namespace Pt
