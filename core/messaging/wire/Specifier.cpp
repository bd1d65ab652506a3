#include "messaging/Specifier.h"

#include <algorithm>
#include <cstring>

namespace ScObjects {

namespace {

// Bytes; docs/wire-format.md has the limit.
constexpr std::size_t kMaxLength = 255;
constexpr auto kNowhere = std::string_view::npos;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// The part of `text` from `begin` to `end`, which may lie before it.
SoString between(std::string_view text, std::size_t begin, std::size_t end)
{
    end = std::min(end, text.size());
    return begin < end ? SoString(text.substr(begin, end - begin)) : SoString();
}

void appendComponent(SoString& out, char mark, const SoString& component)
{
    if (component.isEmpty())
        return;
    out += mark;
    out += component;
}

// A specifier's parts; what it is built from again.
struct Components {
    explicit Components(const TevoroTalk::Specifier& specifier)
        : name(specifier.appName())
        , instance(specifier.instance())
        , version(specifier.version())
        , locale(specifier.locale())
        , suffix(specifier.suffix())
    {
    }

    SoString text() const
    {
        SoString result(name);
        appendComponent(result, '_', instance);
        appendComponent(result, '-', version);
        appendComponent(result, '-', locale);
        appendComponent(result, '#', suffix);
        return result;
    }

    SoString name;
    SoString instance;
    SoString version;
    SoString locale;
    SoString suffix;
};

} // namespace

SoString TevoroTalkData::getVersionOrGroup(const SoString& specifier)
{
    const std::string_view text = specifier.view();
    const std::size_t mark = text.find('-');
    if (mark == kNowhere)
        return {};
    // Whichever comes first ends the component; a suffix may contain a "-".
    const std::size_t end = std::min(text.find('-', mark + 1), text.find('#'));
    SoString component = between(text, mark + 1, end);
    if (!component.isEmpty() && !isDigit(component.get()[0]))
        component.shrink(0);
    return component;
}

TevoroTalk::Specifier::Specifier(const char* text, bool fixUpToo)
{
    if (text == nullptr || std::memchr(text, '\0', kMaxLength + 1) == nullptr)
        return;
    assign(text);
    if (fixUpToo)
        fixUp(true);
    else
        SoString::operator=(lowercase());
}

SoString TevoroTalk::Specifier::appName() const
{
    return between(view(), 0, view().find_first_of("-#_"));
}

SoString TevoroTalk::Specifier::instance() const
{
    const std::size_t mark = view().find('_');
    const std::size_t end = view().find_first_of("-#");
    // An "_" behind the first "-" or "#" belongs to the locale or the suffix, as in "en_us".
    if (mark == kNowhere || end < mark)
        return {};
    return between(view(), mark + 1, end);
}

SoString TevoroTalk::Specifier::version() const
{
    return TevoroTalkData::getVersionOrGroup(*this);
}

SoString TevoroTalk::Specifier::locale() const
{
    const std::size_t suffixMark = view().find('#');
    std::size_t mark = view().find('-');
    if (mark == kNowhere || suffixMark < mark)
        return {};
    // The first component is the version, so the locale is the next one.
    if (mark + 1 < view().size() && isDigit(view()[mark + 1])) {
        mark = view().find('-', mark + 1);
        if (mark == kNowhere || suffixMark < mark)
            return {};
    }
    return between(view(), mark + 1, suffixMark);
}

SoString TevoroTalk::Specifier::suffix() const
{
    const std::size_t mark = view().find('#');
    return mark == kNowhere ? SoString() : between(view(), mark + 1, view().size());
}

bool TevoroTalk::Specifier::setAppName(const SoString& name)
{
    Components parts(*this);
    parts.name = name;
    SoString::operator=(parts.text());
    return true;
}

bool TevoroTalk::Specifier::setInstance(const SoString& instanceText)
{
    Components parts(*this);
    parts.instance = instanceText;
    SoString::operator=(parts.text());
    return true;
}

bool TevoroTalk::Specifier::setSuffix(const SoString& suffixText)
{
    Components parts(*this);
    parts.suffix = suffixText;
    SoString::operator=(parts.text());
    return true;
}

bool TevoroTalk::Specifier::setLocale(const SoString& wanted)
{
    Components parts(*this);
    parts.locale = wanted;
    if (!TevoroTalkData::findLocale(parts.name, parts.version, parts.locale))
        return false;
    SoString::operator=(parts.text());
    return true;
}

bool TevoroTalk::Specifier::setVersion(const SoString& wanted)
{
    Components parts(*this);
    parts.version = wanted;
    if (!TevoroTalkData::findVersion(parts.name, parts.locale, parts.version))
        return false;
    SoString::operator=(parts.text());
    // The version that was found may exist in another locale only.
    return locale() == parts.locale || setLocale(parts.locale);
}

bool TevoroTalk::Specifier::setGroup(const SoString& name)
{
    SoString text = appName();
    text << "-" << name;
    // A group is written where a version stands, and completion chooses the member.
    SoString::operator=(Specifier(text, true));
    return !isEmpty();
}

} // namespace ScObjects
