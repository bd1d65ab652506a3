// A library in the place of the preference store. Its objects are tables of functions, not classes:
// what the sink calls by place is what is written down here by place.

#include "core/TevoroAppManager/support/FxUnits.h"
#include "core/TevoroAppManager/support/RecordedStore.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

using Text = const unsigned short*;

test::RecordedStore gStore;

struct Object {
    void* const* table;
};

std::string call(const char* what, int domain, Text key)
{
    return std::string(what) + " " + std::to_string(domain) + " " + test::utf8(key);
}

std::string text(Text units, int length)
{
    return test::utf8(test::FxText(units, static_cast<std::size_t>(length)).c_str());
}

std::int32_t queryInterface(Object*, long, void** out)
{
    *out = nullptr;
    return 0;
}

std::uint32_t addRef(Object*)
{
    gStore.calls.emplace_back("addref");
    return 1;
}

std::uint32_t release(Object*)
{
    gStore.calls.emplace_back("release");
    return 1;
}

bool initStore(Object*, Text path, int length)
{
    gStore.calls.push_back("init " + text(path, length));
    return true;
}

bool loadStore(Object*, int domain)
{
    gStore.calls.push_back("load " + std::to_string(domain));
    return gStore.loads;
}

bool saveStore(Object*, int domain)
{
    gStore.calls.push_back("save " + std::to_string(domain));
    return true;
}

bool getValue(Object*, int domain, Text key, unsigned short* buffer, int capacity)
{
    gStore.calls.push_back(call("get", domain, key) + " " + std::to_string(capacity));
    const auto found = gStore.texts.find(test::utf8(key));
    if (found == gStore.texts.end())
        return false;
    const test::FxText units = test::units(found->second);
    const std::size_t count = std::min(units.size(), static_cast<std::size_t>(capacity) - 1);
    std::copy_n(units.begin(), count, buffer);
    buffer[count] = 0;
    return true;
}

bool getBytes(Object*, int domain, Text key, unsigned char** buffer, int size)
{
    gStore.calls.push_back(call("bytes", domain, key) + " " + std::to_string(size));
    const auto found = gStore.byteStrings.find(test::utf8(key));
    if (found == gStore.byteStrings.end())
        return false;
    const std::size_t count = std::min(found->second.size(), static_cast<std::size_t>(size));
    std::memcpy(*buffer, found->second.data(), count);
    return true;
}

bool setValue(Object*, int domain, Text key, Text value, int length)
{
    gStore.calls.push_back(call("set", domain, key) + "=" + text(value, length));
    return true;
}

bool setBytes(Object*, int domain, Text key, const unsigned char* bytes, int size)
{
    gStore.calls.push_back(call("setbytes", domain, key) + "="
        + std::string(bytes, bytes + static_cast<std::size_t>(size)));
    return true;
}

template <typename Function>
void* entry(Function* function)
{
    return reinterpret_cast<void*>(function);
}

void* const kStoreTable[] = {entry(queryInterface),
    entry(addRef),
    entry(release),
    entry(initStore),
    entry(loadStore),
    entry(saveStore),
    entry(getValue),
    entry(getBytes),
    entry(setValue),
    entry(setBytes)};
Object gStoreObject{kStoreTable};

constexpr unsigned char kStoreId[16] = {
    0xec, 0x59, 0x41, 0xfc, 0xbe, 0x12, 0x43, 0xca, 0x98, 0x8a, 0xf9, 0x05, 0x52, 0x71, 0xa1, 0xcb};

bool getInterface(Object*, const unsigned char* id, void** out)
{
    const bool isKnown = std::memcmp(id, kStoreId, 16) == 0 && gStore.givesStore;
    *out = isKnown ? &gStoreObject : nullptr;
    return isKnown;
}

void destroy(Object*) { }

void* const kModuleTable[] = {entry(getInterface), entry(destroy)};
Object gModuleObject{kModuleTable};

} // namespace

extern "C" __attribute__((visibility("default"))) bool PtModuleMain(void** out)
{
    *out = gStore.givesModule ? &gModuleObject : nullptr;
    return gStore.givesModule;
}

extern "C" __attribute__((visibility("default"))) test::RecordedStore* recordedStore()
{
    return &gStore;
}
