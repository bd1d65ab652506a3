#include "registry/QKConnectorAppInfoList.h"

#include "messaging/Specifier.h"

#include <algorithm>
#include <memory>

namespace ScObjects {

namespace {

// In place of the end of a chain: not looked at yet, and being followed.
constexpr long kUnknown = -1;
constexpr long kOnTheWay = -2;

std::size_t at(long index)
{
    return static_cast<std::size_t>(index);
}

// Texts compare up to their first NUL.
std::string keyOf(const SoString& specifier)
{
    return specifier.get();
}

} // namespace

QKConnectorAppInfoList::~QKConnectorAppInfoList()
{
    clearWithoutLocking();
}

long QKConnectorAppInfoList::length() const
{
    const ObjectLock lock(*this);
    return m_records.length();
}

const QKConnectorAppInfo* QKConnectorAppInfoList::get(long index) const
{
    const ObjectLock lock(*this);
    return m_records[index];
}

bool QKConnectorAppInfoList::getItemAt(long index, QKConnectorAppInfo& info) const
{
    const ObjectLock lock(*this);
    info.assign(*m_records[index]);
    return true;
}

bool QKConnectorAppInfoList::isInList(const QKConnectorAppInfo& info) const
{
    const ObjectLock lock(*this);
    return placeOfEqual(info) >= 0;
}

const QKConnectorAppInfo* QKConnectorAppInfoList::find(const SoString& specifier, long* index) const
{
    const ObjectLock lock(*this);
    const long place = placeOf(specifier);
    if (index != nullptr)
        *index = place;
    return place >= 0 ? m_records[place] : nullptr;
}

bool QKConnectorAppInfoList::find(
    const SoString& specifier, QKConnectorAppInfo& info, long* index) const
{
    const ObjectLock lock(*this);
    const QKConnectorAppInfo* const found = find(specifier, index);
    if (found != nullptr)
        info.assign(*found);
    return found != nullptr;
}

long QKConnectorAppInfoList::findName(const SoString& appName, long from) const
{
    const ObjectLock lock(*this);
    if (!m_knowsNames)
        indexNames();
    const auto found = m_placesOfNames.find(keyOf(appName));
    if (found == m_placesOfNames.end())
        return -1;
    const auto place = std::ranges::lower_bound(found->second, from);
    return place != found->second.end() ? *place : -1;
}

bool QKConnectorAppInfoList::resolveRedirectTo()
{
    const ObjectLock lock(*this);
    // All ends before any path is changed. Whatever stands at an end keeps its path, so that the
    // order of the records has no say.
    const std::vector<long> ends = chainEnds();
    bool anyNamesAnother = false;
    for (long i = 0; i < m_records.length(); ++i) {
        anyNamesAnother |= !m_records[i]->redirectTo.isEmpty();
        if (ends[at(i)] != i)
            m_records[i]->path = m_records[ends[at(i)]]->path;
    }
    return anyNamesAnother;
}

bool QKConnectorAppInfoList::setProcessID(const SoString& specifier, std::uint32_t pid)
{
    const ObjectLock lock(*this);
    const long place = placeOfExactly(specifier);
    if (place < 0)
        return false;
    m_records[place]->processID = pid;
    return true;
}

bool QKConnectorAppInfoList::update(const QKConnectorAppInfo& info)
{
    const ObjectLock lock(*this);
    if (m_lastUpdated == nullptr || m_lastUpdated->specifier != info.specifier) {
        const long place = placeOf(info.specifier);
        if (place < 0) {
            if (info.specifier.isEmpty())
                return false;
            m_lastUpdated = new QKConnectorAppInfo(info);
            addAtEnd(m_lastUpdated);
            return true;
        }
        m_lastUpdated = m_records[place];
    }
    const bool isRenamed = m_lastUpdated->specifier != info.specifier;
    m_lastUpdated->assign(info);
    // The record without the instance was found, and has one now.
    if (isRenamed)
        indexAnew();
    return true;
}

bool QKConnectorAppInfoList::append(QKConnectorAppInfo* info)
{
    std::unique_ptr<QKConnectorAppInfo> owned(info);
    const ObjectLock lock(*this);
    if (isInList(*owned))
        return false;
    addAtEnd(owned.release());
    return true;
}

bool QKConnectorAppInfoList::remove(const QKConnectorAppInfo& info)
{
    const ObjectLock lock(*this);
    const long place = placeOfEqual(info);
    if (place < 0)
        return false;
    m_lastUpdated = nullptr;
    delete m_records.removeAt(place);
    indexAnew();
    return true;
}

void QKConnectorAppInfoList::clear()
{
    const ObjectLock lock(*this);
    clearWithoutLocking();
}

void QKConnectorAppInfoList::clearWithoutLocking()
{
    m_lastUpdated = nullptr;
    m_places.clear();
    m_knowsNames = false;
    for (long i = m_records.length() - 1; i >= 0; --i)
        delete m_records.removeAt(i);
}

long QKConnectorAppInfoList::placeOfExactly(const SoString& specifier) const
{
    const auto found = m_places.find(keyOf(specifier));
    return found != m_places.end() ? found->second.front() : -1;
}

long QKConnectorAppInfoList::placeOf(const SoString& specifier) const
{
    const long place = placeOfExactly(specifier);
    if (place >= 0)
        return place;
    TevoroTalk::Specifier anyCopy(specifier, false);
    anyCopy.setInstance("");
    return anyCopy == specifier ? -1 : placeOfExactly(anyCopy);
}

long QKConnectorAppInfoList::placeOfEqual(const QKConnectorAppInfo& info) const
{
    const auto found = m_places.find(keyOf(info.specifier));
    if (found == m_places.end())
        return -1;
    for (const long place : found->second)
        if (*m_records[place] == info)
            return place;
    return -1;
}

void QKConnectorAppInfoList::addAtEnd(QKConnectorAppInfo* info)
{
    m_places[keyOf(info->specifier)].push_back(m_records.length());
    m_knowsNames = false;
    m_records.append(info);
}

void QKConnectorAppInfoList::indexAnew()
{
    m_places.clear();
    m_knowsNames = false;
    for (long i = 0; i < m_records.length(); ++i)
        m_places[keyOf(m_records[i]->specifier)].push_back(i);
}

void QKConnectorAppInfoList::indexNames() const
{
    m_placesOfNames.clear();
    for (long i = 0; i < m_records.length(); ++i) {
        const TevoroTalk::Specifier specifier(m_records[i]->specifier, false);
        m_placesOfNames[keyOf(specifier.appName())].push_back(i);
    }
    m_knowsNames = true;
}

std::vector<long> QKConnectorAppInfoList::chainEnds() const
{
    std::vector<long> ends(at(m_records.length()), kUnknown);
    for (long i = 0; i < m_records.length(); ++i)
        followChain(i, ends);
    return ends;
}

// In a loop, as a store may hold a chain of any length.
void QKConnectorAppInfoList::followChain(long start, std::vector<long>& ends) const
{
    std::vector<long> way;
    long here = start;
    while (ends[at(here)] == kUnknown) {
        ends[at(here)] = kOnTheWay;
        way.push_back(here);
        const SoString& redirect = m_records[here]->redirectTo;
        const long next = redirect.isEmpty() ? -1 : placeOf(redirect);
        if (next < 0)
            ends[at(here)] = here;
        else
            here = next;
    }
    // Each record of a circle is met again first when it is asked itself: it ends at itself.
    if (ends[at(here)] == kOnTheWay) {
        const auto circle = std::find(way.begin(), way.end(), here);
        std::for_each(circle, way.end(), [&](long place) { ends[at(place)] = place; });
        way.erase(circle, way.end());
    }
    for (const long place : way)
        ends[at(place)] = ends[at(here)];
}

} // namespace ScObjects
