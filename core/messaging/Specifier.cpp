#include "messaging/Specifier.h"

#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkPing.h"
#include "registry/TevoroTalkConnector.h"

#include <algorithm>
#include <cstring>

namespace ScObjects {

namespace {

constexpr std::size_t kLongest = 255;
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

void appendComponent(SoString& out, char mark, SoString const& component)
{
    if (component.isEmpty())
        return;
    out += mark;
    out += component;
}

// A specifier's parts; what it is built from again.
struct Components {
    explicit Components(TevoroTalk::Specifier const& specifier)
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

TevoroTalkConnector* connectorOfSharedContext()
{
    TevoroTalkContext const* const context = TevoroTalk::getSharedContext();
    return context != nullptr ? context->getConnector() : nullptr;
}

} // namespace

SoString TevoroTalkData::getVersionOrGroup(SoString const& specifier)
{
    std::string_view const text = specifier.view();
    std::size_t const mark = text.find('-');
    if (mark == kNowhere)
        return {};
    std::size_t const end = std::min(text.find('-', mark + 1), text.find('#'));
    SoString component = between(text, mark + 1, end);
    if (!component.isEmpty() && !isDigit(component.get()[0]))
        component.shrink(0);
    return component;
}

TevoroTalk::Specifier::Specifier(char const* text, bool fixUpToo)
{
    if (text == nullptr || ::strnlen(text, kLongest + 1) > kLongest)
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
    std::size_t const mark = view().find('_');
    std::size_t const end = view().find_first_of("-#");
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
    std::size_t const suffixMark = view().find('#');
    std::size_t mark = view().find('-');
    if (mark == kNowhere || suffixMark < mark)
        return {};
    if (mark + 1 < view().size() && isDigit(view()[mark + 1])) {
        mark = view().find('-', mark + 1);
        if (mark == kNowhere || suffixMark < mark)
            return {};
    }
    return between(view(), mark + 1, suffixMark);
}

SoString TevoroTalk::Specifier::suffix() const
{
    std::size_t const mark = view().find('#');
    return mark == kNowhere ? SoString() : between(view(), mark + 1, view().size());
}

SoString TevoroTalk::Specifier::group(SoString* groupVersion) const
{
    if (groupVersion != nullptr)
        groupVersion->shrink(0);
    TevoroTalkConnector* const connector = connectorOfSharedContext();
    return connector != nullptr ? connector->findGroupForSpecifier(*this, groupVersion)
                                : SoString();
}

bool TevoroTalk::Specifier::setAppName(SoString const& name)
{
    Components parts(*this);
    parts.name = name;
    SoString::operator=(parts.text());
    return true;
}

bool TevoroTalk::Specifier::setInstance(SoString const& instanceText)
{
    Components parts(*this);
    parts.instance = instanceText;
    SoString::operator=(parts.text());
    return true;
}

bool TevoroTalk::Specifier::setSuffix(SoString const& suffixText)
{
    Components parts(*this);
    parts.suffix = suffixText;
    SoString::operator=(parts.text());
    return true;
}

bool TevoroTalk::Specifier::setLocale(SoString const& wanted)
{
    Components parts(*this);
    parts.locale = wanted;
    if (!TevoroTalkData::findLocale(parts.name, parts.version, parts.locale))
        return false;
    SoString::operator=(parts.text());
    return true;
}

bool TevoroTalk::Specifier::setVersion(SoString const& wanted)
{
    Components parts(*this);
    parts.version = wanted;
    if (!TevoroTalkData::findVersion(parts.name, parts.locale, parts.version))
        return false;
    SoString::operator=(parts.text());
    return locale() == parts.locale || setLocale(parts.locale);
}

bool TevoroTalk::Specifier::setGroup(SoString const& name)
{
    SoString text = appName();
    text << "-" << name;
    SoString::operator=(Specifier(text, true));
    return !isEmpty();
}

SoString TevoroTalk::Specifier::getApplicationPath(char const* text)
{
    TevoroTalkConnector const* const connector = TevoroTalkConnector::get();
    return connector != nullptr ? connector->getApplicationPath(text, nullptr) : SoString();
}

bool TevoroTalk::Specifier::isInstalled() const
{
    return !isEmpty() && !getApplicationPath(get()).isEmpty();
}

bool TevoroTalk::Specifier::registerApplication(
    SoString const& path, SoString const* displayName, bool flag) const
{
    TevoroTalkConnector* const connector = connectorOfSharedContext();
    return connector != nullptr
        && connector->registerApplication(*this, path, displayName, flag, false);
}

bool TevoroTalk::Specifier::unregisterApplication(SoString const* displayName) const
{
    TevoroTalkConnector* const connector = connectorOfSharedContext();
    return connector != nullptr && connector->unregisterApplication(*this, displayName);
}

bool TevoroTalk::Specifier::addToGroup(SoString const& name, SoString const* groupVersion) const
{
    TevoroTalkConnector* const connector = connectorOfSharedContext();
    return connector != nullptr && connector->addToGroup(*this, name, groupVersion);
}

bool TevoroTalk::Specifier::removeFromGroup(
    SoString const& name, SoString const* groupVersion) const
{
    TevoroTalkConnector* const connector = connectorOfSharedContext();
    return connector != nullptr && connector->removeFromGroup(*this, name, groupVersion);
}

SoString TevoroTalk::Specifier::preferred(SoString const& target, SoString const& groupName) const
{
    TevoroTalkConnector* const connector = connectorOfSharedContext();
    if (connector == nullptr)
        return {};
    SoString const inGroup =
        groupName.isEmpty() ? connector->findGroupForSpecifier(*this, nullptr) : groupName;
    SoString result;
    if (!inGroup.isEmpty())
        result = connector->findPreferredApp(*this, target, inGroup);
    return result.isEmpty() ? target : result;
}

SoString TevoroTalk::Specifier::status() const
{
    constexpr std::int32_t kSeconds = 2;
    return Thread::ping(get(), "STATUS", kSeconds, nullptr);
}

} // namespace ScObjects
