// The library as its callers have it: loaded by path, called through tables by place.

#include "modules/preference_xml_parser/StoreClient.h"

#include <cstdint>
#include <cstring>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tests;

namespace {

constexpr char kLibrary[] =
    TEVORO_STAGE_HOME "/Frameworks/preference_xml_parser.framework/preference_xml_parser.so";

class PreferenceModuleTest : public testing::Test {
protected:
    void SetUp() override
    {
        m_library = ::dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_library, nullptr) << ::dlerror();
        m_main = reinterpret_cast<PtModuleMainFunction>(::dlsym(m_library, kPtModuleMainName));
        ASSERT_NE(m_main, nullptr);
        void* module = nullptr;
        ASSERT_TRUE(m_main(&module));
        m_module = static_cast<IPtPreferencesModule*>(module);
        ASSERT_NE(m_module, nullptr);
    }
    void TearDown() override { ASSERT_EQ(::dlclose(m_library), 0); }

    IPtPreferences* newStore()
    {
        void* store = nullptr;
        EXPECT_TRUE(m_module->GetInterface(kIPtPreferencesID, &store));
        return static_cast<IPtPreferences*>(store);
    }

    void* m_library = nullptr;
    PtModuleMainFunction m_main = nullptr;
    IPtPreferencesModule* m_module = nullptr;
};

// The operation at a place of an object's table.
template <typename Operation>
Operation operationAt(void* object, std::size_t place)
{
    void* const* const table = *static_cast<void* const* const*>(object);
    return reinterpret_cast<Operation>(table[place]);
}

} // namespace

TEST_F(PreferenceModuleTest, SavesAndLoadsThroughTheLoadedLibrary)
{
    StoreFolder folder;
    {
        StoreClient store(newStore());
        ASSERT_TRUE(store.init(folder.path()));
        EXPECT_FALSE(store.load());
        store.set(u"Location", u"/data/pictures");
        store.setBytes(u"Batch", "0#");
        EXPECT_TRUE(store.save());
    }
    StoreClient next(newStore());
    ASSERT_TRUE(next.init(folder.path()));
    EXPECT_TRUE(next.load());
    EXPECT_EQ(next.text(u"Location"), u"/data/pictures");
    EXPECT_EQ(next.bytes(u"Batch", 2), "0#");
}

TEST_F(PreferenceModuleTest, EachStoreIsOneOfItsOwn)
{
    StoreClient first(newStore());
    StoreClient second(newStore());
    first.set(u"key", u"1");
    EXPECT_EQ(second.text(u"key"), std::nullopt);
}

TEST_F(PreferenceModuleTest, GivesNothingForAnotherIdentifier)
{
    unsigned char other[16];
    std::memcpy(other, kIPtPreferencesID, sizeof other);
    for (std::size_t place = 0; place < sizeof other; ++place) {
        other[place] ^= 1;
        void* store = &other;
        EXPECT_FALSE(m_module->GetInterface(other, &store)) << place;
        EXPECT_EQ(store, nullptr);
        other[place] ^= 1;
    }
    void* store = &other;
    EXPECT_FALSE(m_module->GetInterface(nullptr, &store));
    EXPECT_EQ(store, nullptr);
    EXPECT_FALSE(m_module->GetInterface(kIPtPreferencesID, nullptr));
    EXPECT_FALSE(m_main(nullptr));
}

TEST_F(PreferenceModuleTest, StoresOutliveTheModuleObjectsRelease)
{
    StoreClient store(newStore());
    m_module->Destroy();
    EXPECT_TRUE(store.set(u"key", u"1"));
    EXPECT_EQ(store.text(u"key"), u"1");
    void* again = nullptr;
    EXPECT_TRUE(m_main(&again));
    EXPECT_EQ(again, m_module);
}

// A caller that never releases is no leak: the library still holds the store. The leak check at
// the end of the program fails if it does not.
TEST_F(PreferenceModuleTest, AStoreThatIsNeverReleasedStaysReachable)
{
    ASSERT_NE(::dlopen(kLibrary, RTLD_NOW), nullptr); // loaded until the end of the process
    IPtPreferences* const store = newStore();
    EXPECT_EQ(store->AddRef(), 2U);
    EXPECT_EQ(store->Release(), 1U);
}

TEST(PreferenceLibraryTest, IsGoneAfterTheLastClose)
{
    StoreFolder folder; // a copy, which nobody else in this process holds
    const std::string copied = folder.path("preference_xml_parser.so");
    std::filesystem::copy_file(kLibrary, copied);
    void* const library = ::dlopen(copied.c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << ::dlerror();
    ::dlclose(library);
    EXPECT_EQ(::dlopen(copied.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST_F(PreferenceModuleTest, TheTablesOperationsStandInTheContractsOrder)
{
    StoreFolder folder;
    const auto path = units(std::filesystem::path(folder.path()).u16string());
    const auto key = units(u"key");
    unsigned short text[4] = {'a', 'b', 'c', 0};
    unsigned char block[3] = {1, 2, 3};
    unsigned char* pointer = block;
    void* store = nullptr;
    using GetInterface = bool (*)(void*, const unsigned char*, void**);
    ASSERT_TRUE(operationAt<GetInterface>(m_module, 0)(m_module, kIPtPreferencesID, &store));
    void* face = nullptr;
    using Query = std::int32_t (*)(void*, long, void**);
    EXPECT_EQ(operationAt<Query>(store, 0)(store, 0, &face), 1);
    EXPECT_EQ(face, store);
    using Count = std::uint32_t (*)(void*);
    EXPECT_EQ(operationAt<Count>(store, 1)(store), 3U);
    EXPECT_EQ(operationAt<Count>(store, 2)(store), 2U);
    using Init = bool (*)(void*, const unsigned short*, int);
    EXPECT_TRUE(operationAt<Init>(store, 3)(store, path.data(), static_cast<int>(path.size()) - 1));
    using Domain = bool (*)(void*, int);
    EXPECT_FALSE(operationAt<Domain>(store, 4)(store, kDomain)); // nothing saved yet
    EXPECT_TRUE(operationAt<Domain>(store, 5)(store, kDomain));
    EXPECT_TRUE(operationAt<Domain>(store, 4)(store, kDomain));
    using SetValue = bool (*)(void*, int, const unsigned short*, const unsigned short*, int);
    EXPECT_TRUE(operationAt<SetValue>(store, 8)(store, kDomain, key.data(), text, 2));
    using GetValue = bool (*)(void*, int, const unsigned short*, unsigned short*, int);
    EXPECT_TRUE(operationAt<GetValue>(store, 6)(store, kDomain, key.data(), text, 4));
    EXPECT_THAT(text, testing::ElementsAre('a', 'b', 0, 0));
    using SetBytes = bool (*)(void*, int, const unsigned short*, const unsigned char*, int);
    EXPECT_TRUE(operationAt<SetBytes>(store, 9)(store, kDomain, key.data(), block, 2));
    block[0] = 9;
    using GetBytes = bool (*)(void*, int, const unsigned short*, unsigned char**, int);
    EXPECT_TRUE(operationAt<GetBytes>(store, 7)(store, kDomain, key.data(), &pointer, 3));
    EXPECT_THAT(block, testing::ElementsAre(1, 2, 3));
    operationAt<Count>(store, 2)(store);
    EXPECT_EQ(operationAt<Count>(store, 2)(store), 0U);
    using Destroy = void (*)(void*);
    operationAt<Destroy>(m_module, 1)(m_module);
}
