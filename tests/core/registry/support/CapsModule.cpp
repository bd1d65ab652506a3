// A library of the configuration store over a table of the program that loads it. What it gave ends
// with the next call, so that a caller who keeps it is found out.
#include "core/registry/support/CapsTable.h"

#include <algorithm>
#include <memory>

#define TEST_CAPS_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

using Keys = test::CapsTable::Keys;
using Status = std::int32_t;
constexpr Status kNoData = 8;

test::CapsTable& table()
{
    return *testCapsTable();
}

struct Given {
    std::vector<std::string> texts;
    std::vector<const char*> list;
};
std::unique_ptr<Given> gGiven;

Status begin(const char* function, const std::string& place = {}, const std::string& key = {})
{
    gGiven.reset();
    return table().begin(function, place, key);
}

Status give(std::vector<std::string> texts, const char*** out)
{
    gGiven = std::make_unique<Given>();
    gGiven->texts = std::move(texts);
    for (const std::string& text : gGiven->texts)
        gGiven->list.push_back(text.c_str());
    gGiven->list.push_back(nullptr);
    *out = gGiven->list.data();
    return 0;
}

Status giveKeys(const Keys* keys, const char*** out)
{
    if (keys == nullptr)
        return kNoData;
    std::vector<std::string> names;
    for (const auto& [name, value] : *keys)
        names.push_back(name);
    return give(std::move(names), out);
}

Status giveValue(const Keys* keys, const char* key, const char** out)
{
    if (keys == nullptr)
        return kNoData;
    const auto found =
        std::find_if(keys->begin(), keys->end(), [&](const auto& row) { return row.first == key; });
    if (found == keys->end() && !table().answersEveryKey)
        return kNoData;
    const char** list = nullptr;
    give({found == keys->end() ? "x" : found->second}, &list);
    *out = *list;
    return 0;
}

const Keys* subdomainOf(std::int32_t domain, const char* name)
{
    for (const auto& [subdomain, keys] : table().domains[domain])
        if (subdomain == name)
            return &keys;
    return nullptr;
}

const Keys* payloadOf(std::int32_t domain, const char* name)
{
    const auto& payloads = table().payloads[domain];
    const auto found = payloads.find(name);
    return found != payloads.end() ? &found->second : nullptr;
}

Status open(const char* function, void** session)
{
    const Status status = begin(function);
    // Told to fail, it leaves something there all the same.
    *session = testCapsTable();
    table().openSessions += status == 0 ? 1 : 0;
    return status;
}

Status close(const char* function)
{
    --table().openSessions;
    return begin(function);
}

Status time(const char* function, std::uint32_t value, std::uint32_t* out)
{
    *out = value;
    return begin(function);
}

} // namespace

TEST_CAPS_EXPORT Status pcdOpenSessionNoCreate(void** session)
{
    return open("pcdOpenSessionNoCreate", session);
}

TEST_CAPS_EXPORT Status capsOpenSession(void** session)
{
    return open("capsOpenSession", session);
}

TEST_CAPS_EXPORT Status pcdCloseSession(void*)
{
    return close("pcdCloseSession");
}

TEST_CAPS_EXPORT Status capsCloseSession(void*)
{
    return close("capsCloseSession");
}

TEST_CAPS_EXPORT Status pcdGetDomainDataSubdomains(void*, std::int32_t domain, const char*** out)
{
    if (const Status status = begin("subdomains", std::to_string(domain)))
        return status;
    std::vector<std::string> names;
    for (const auto& [name, keys] : table().domains[domain])
        names.push_back(name);
    return names.empty() ? kNoData : give(std::move(names), out);
}

TEST_CAPS_EXPORT Status pcdGetDomainDataKeys(
    void*, std::int32_t domain, const char* subdomain, const char*** out)
{
    const Status status = begin("keys", subdomain);
    return status != 0 ? status : giveKeys(subdomainOf(domain, subdomain), out);
}

TEST_CAPS_EXPORT Status pcdGetDomainData(
    void*, std::int32_t domain, const char* subdomain, const char* key, const char** out)
{
    const Status status = begin("data", subdomain, key);
    return status != 0 ? status : giveValue(subdomainOf(domain, subdomain), key, out);
}

TEST_CAPS_EXPORT Status pcdSetDomainData(
    void*, std::int32_t domain, const char* subdomain, const char* key, const char* value)
{
    table().written.push_back(std::to_string(domain) + " " + subdomain + " " + key + "=" + value);
    return begin("set");
}

TEST_CAPS_EXPORT Status pcdRemoveDomainData(
    void*, std::int32_t domain, const char* subdomain, const char* key)
{
    table().written.push_back("- " + std::to_string(domain) + " " + subdomain + " " + key);
    return begin("remove");
}

TEST_CAPS_EXPORT Status capsGetCollectionPayloads(
    void*, std::int32_t state, const char* collection, const char*** out)
{
    const Status status = begin("collection", std::to_string(state) + " " + collection);
    std::vector<std::string> names;
    for (const auto& [name, keys] : table().payloads[0])
        names.push_back(name);
    return status != 0 ? status : give(std::move(names), out);
}

TEST_CAPS_EXPORT Status capsGetPayloadDataKeys(
    void*, const char* payload, std::int32_t domain, const char*** out)
{
    const Status status = begin("payloadKeys", payload);
    return status != 0 ? status : giveKeys(payloadOf(domain, payload), out);
}

TEST_CAPS_EXPORT Status capsGetPayloadData(
    void*, const char* payload, std::int32_t domain, const char* key, const char** out)
{
    const Status status = begin("payload", std::to_string(domain) + " " + payload, key);
    return status != 0 ? status : giveValue(payloadOf(domain, payload), key, out);
}

TEST_CAPS_EXPORT Status capsGetPayloads(void*, std::int32_t state, const char*** out)
{
    const Status status = begin("payloads", std::to_string(state));
    return status != 0 ? status : give({"{one}"}, out);
}

TEST_CAPS_EXPORT Status capsGetLastModTime(std::uint32_t* out)
{
    return time("capsTime", table().capsTime, out);
}

TEST_CAPS_EXPORT Status pcdGetLastModTime(std::uint32_t* out)
{
    return time("pcdTime", table().pcdTime, out);
}
