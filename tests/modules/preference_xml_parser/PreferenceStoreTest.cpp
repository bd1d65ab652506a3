#include "modules/preference_xml_parser/StoreClient.h"

#include <algorithm>
#include <climits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace tests;
using testing::ElementsAre;

namespace {

class PreferenceStoreTest : public testing::Test {
protected:
    // Every test leaves as many descriptors open as it found.
    void SetUp() override { m_descriptors = test::openDescriptors(); }
    void TearDown() override { EXPECT_EQ(test::openDescriptors(), m_descriptors); }

    StoreFolder m_folder;
    StoreClient m_store{m_folder.path()};

private:
    std::ptrdiff_t m_descriptors = 0;
};

} // namespace

TEST_F(PreferenceStoreTest, GivesInTheNextSessionWhatWasSavedInThisOne)
{
    EXPECT_TRUE(m_store.set(u"Location", u"/data/pictures"));
    EXPECT_TRUE(m_store.set(u"Empty", u""));
    EXPECT_TRUE(m_store.setBytes(u"Batch", std::string("0#\"\"\0\xff", 6)));
    EXPECT_TRUE(m_store.save());
    StoreClient next(m_folder.path());
    EXPECT_TRUE(next.load());
    EXPECT_EQ(next.text(u"Location"), u"/data/pictures");
    EXPECT_EQ(next.text(u"Empty"), u"");
    EXPECT_EQ(next.bytes(u"Batch", 6), std::string("0#\"\"\0\xff", 6));
    EXPECT_EQ(next.text(u"Missing"), std::nullopt);
}

TEST_F(PreferenceStoreTest, KeepsUnitsAndBytesThatXmlCannotHold)
{
    const std::u16string odd{0, 1, u'\r', u'\n', 0xd800, u' ', 0xdc00, 0xfffe, 0xffff, u' '};
    m_store.set(odd, odd);
    m_store.set(u" ", u"\t");
    ASSERT_TRUE(m_store.save());
    StoreClient next(m_folder.path());
    ASSERT_TRUE(next.load());
    EXPECT_EQ(next.text(odd.substr(0, 0)), odd); // a key ends at its first 0 unit
    EXPECT_EQ(next.text(u" "), u"\t");
}

TEST_F(PreferenceStoreTest, KeepsDomainsApart)
{
    const auto key = units(u"key");
    m_store.set(u"key", u"of 3");
    m_store->SetValue(255, key.data(), units(u"of 255").data(), 6);
    ASSERT_TRUE(m_store.save());
    ASSERT_TRUE(m_store->SaveStore(255));
    EXPECT_THAT(namesIn(m_folder.path()),
        ElementsAre("preferences-255.lock",
            "preferences-255.xml",
            "preferences-3.lock",
            "preferences-3.xml"));
    StoreClient next(m_folder.path());
    ASSERT_TRUE(next.load());
    EXPECT_EQ(next.text(u"key"), u"of 3");
    unsigned short buffer[8];
    EXPECT_FALSE(next->GetValue(255, key.data(), buffer, 8)); // not loaded yet
    ASSERT_TRUE(next->LoadStore(255));
    EXPECT_TRUE(next->GetValue(255, key.data(), buffer, 8));
}

TEST_F(PreferenceStoreTest, CutsALongTextAtTheCapacityAndTerminatesIt)
{
    m_store.set(u"key", u"abcd");
    const auto key = units(u"key");
    std::vector<unsigned short> buffer(6, 0x7777);
    EXPECT_TRUE(m_store->GetValue(kDomain, key.data(), buffer.data(), 4));
    EXPECT_THAT(buffer, ElementsAre('a', 'b', 'c', 0, 0x7777, 0x7777));
    EXPECT_TRUE(m_store->GetValue(kDomain, key.data(), buffer.data(), 5));
    EXPECT_THAT(buffer, ElementsAre('a', 'b', 'c', 'd', 0, 0x7777));
    EXPECT_TRUE(m_store->GetValue(kDomain, key.data(), buffer.data(), 1));
    EXPECT_EQ(buffer[0], 0);
}

TEST_F(PreferenceStoreTest, NeverCutsASurrogatePairInTwo)
{
    m_store.set(u"key", u"a\U0001f600b");
    const auto key = units(u"key");
    std::vector<unsigned short> buffer(5, 0x7777);
    EXPECT_TRUE(m_store->GetValue(kDomain, key.data(), buffer.data(), 3));
    EXPECT_THAT(buffer, ElementsAre('a', 0, 0x7777, 0x7777, 0x7777));
    EXPECT_TRUE(m_store->GetValue(kDomain, key.data(), buffer.data(), 4));
    EXPECT_THAT(buffer, ElementsAre('a', 0xd83d, 0xde00, 0, 0x7777));
    m_store.set(u"key", std::u16string{0xd83d, u'a'}); // a lone half is a unit like others
    EXPECT_TRUE(m_store->GetValue(kDomain, key.data(), buffer.data(), 2));
    EXPECT_THAT(buffer, ElementsAre(0xd83d, 0, 0xde00, 0, 0x7777));
}

TEST_F(PreferenceStoreTest, CopiesAtMostTheAskedBytesAndNoTerminator)
{
    m_store.setBytes(u"key", "abcd");
    EXPECT_EQ(m_store.bytes(u"key", 2), "ab");
    EXPECT_EQ(m_store.bytes(u"key", 6), std::string("abcd\0\0", 6));
    unsigned char block[5] = {1, 1, 1, 1, 1};
    unsigned char* pointer = block;
    EXPECT_TRUE(m_store->GetBytes(kDomain, units(u"key").data(), &pointer, 5));
    EXPECT_EQ(block[4], 1);
    EXPECT_EQ(pointer, block);
    EXPECT_TRUE(m_store->GetBytes(kDomain, units(u"key").data(), &pointer, 0));
}

TEST_F(PreferenceStoreTest, LeavesTheBuffersAloneWhenTheKeyIsAbsentOrOfTheOtherKind)
{
    m_store.set(u"text", u"1");
    m_store.setBytes(u"bytes", "2");
    unsigned short buffer[2] = {7, 7};
    unsigned char block[2] = {7, 7};
    unsigned char* pointer = block;
    for (const auto* const key : {u"bytes", u"none", u""})
        EXPECT_FALSE(m_store->GetValue(kDomain, units(key).data(), buffer, 2));
    for (const auto* const key : {u"text", u"none", u""})
        EXPECT_FALSE(m_store->GetBytes(kDomain, units(key).data(), &pointer, 2));
    EXPECT_THAT(buffer, ElementsAre(7, 7));
    EXPECT_THAT(block, ElementsAre(7, 7));
}

TEST_F(PreferenceStoreTest, GivesAKeyTheKindThatWasSetLast)
{
    m_store.set(u"key", u"1");
    m_store.setBytes(u"key", "2");
    EXPECT_EQ(m_store.text(u"key"), std::nullopt);
    EXPECT_EQ(m_store.bytes(u"key", 1), "2");
}

TEST_F(PreferenceStoreTest, RefusesDomainsThatAreNone)
{
    const auto key = units(u"key");
    unsigned short buffer[2] = {7, 7};
    unsigned char block[2] = {7, 7};
    unsigned char* pointer = block;
    IPtPreferences& store = *m_store;
    for (const int domain : {-1, 256, INT_MIN, INT_MAX}) {
        EXPECT_FALSE(store.LoadStore(domain));
        EXPECT_FALSE(store.SaveStore(domain));
        EXPECT_FALSE(store.SetValue(domain, key.data(), buffer, 1));
        EXPECT_FALSE(store.SetBytes(domain, key.data(), block, 1));
        EXPECT_FALSE(store.GetValue(domain, key.data(), buffer, 2));
        EXPECT_FALSE(store.GetBytes(domain, key.data(), &pointer, 2));
    }
    EXPECT_THAT(buffer, ElementsAre(7, 7));
    EXPECT_THAT(namesIn(m_folder.path()), ElementsAre());
}

TEST_F(PreferenceStoreTest, RefusesArgumentsThatAreNoneAndChangesNothing)
{
    const auto key = units(u"key");
    unsigned short buffer[2] = {7, 7};
    unsigned char block[2] = {7, 7};
    unsigned char* pointer = block;
    unsigned char* nowhere = nullptr;
    IPtPreferences& store = *m_store;
    ASSERT_TRUE(m_store.set(u"key", u"1"));
    EXPECT_FALSE(store.SetValue(kDomain, nullptr, buffer, 1));
    EXPECT_FALSE(store.SetValue(kDomain, key.data(), nullptr, 0));
    EXPECT_FALSE(store.SetValue(kDomain, key.data(), buffer, -1));
    EXPECT_FALSE(store.SetBytes(kDomain, nullptr, block, 1));
    EXPECT_FALSE(store.SetBytes(kDomain, key.data(), nullptr, 0));
    EXPECT_FALSE(store.SetBytes(kDomain, key.data(), block, -1));
    EXPECT_FALSE(store.GetValue(kDomain, nullptr, buffer, 2));
    EXPECT_FALSE(store.GetValue(kDomain, key.data(), nullptr, 2));
    EXPECT_FALSE(store.GetValue(kDomain, key.data(), buffer, 0));
    EXPECT_FALSE(store.GetValue(kDomain, key.data(), buffer, -1));
    EXPECT_FALSE(store.GetBytes(kDomain, nullptr, &pointer, 2));
    EXPECT_FALSE(store.GetBytes(kDomain, key.data(), nullptr, 2));
    EXPECT_FALSE(store.GetBytes(kDomain, key.data(), &nowhere, 2));
    EXPECT_FALSE(store.GetBytes(kDomain, key.data(), &pointer, -1));
    EXPECT_EQ(m_store.text(u"key"), u"1");
    EXPECT_THAT(buffer, ElementsAre(7, 7));
    EXPECT_THAT(namesIn(m_folder.path()), ElementsAre());
}

TEST_F(PreferenceStoreTest, RefusesPathsThatAreNone)
{
    const auto key = units(u"key");
    IPtPreferences& store = *m_store;
    EXPECT_FALSE(store.InitStore(nullptr, 4));
    EXPECT_FALSE(store.InitStore(key.data(), 0));
    EXPECT_FALSE(store.InitStore(key.data(), -1));
    EXPECT_FALSE(store.InitStore(key.data(), 4)); // a 0 unit in the path
    const unsigned short loneHalf[] = {'/', 't', 0xd800};
    EXPECT_FALSE(store.InitStore(loneHalf, 3));
    EXPECT_THAT(namesIn(m_folder.path()), ElementsAre());
}

TEST_F(PreferenceStoreTest, MakesItsFolderForTheUserAlone)
{
    const std::string deep = m_folder.path("a/b/Tevoro NX");
    ASSERT_TRUE(m_store.init(deep));
    struct stat status = {};
    for (const std::string& made : {m_folder.path("a"), deep}) {
        ASSERT_EQ(::stat(made.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, 0700U) << made;
    }
    m_store.set(u"key", u"1");
    ASSERT_TRUE(m_store.save());
    ASSERT_EQ(::stat((deep + "/preferences-3.xml").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(PreferenceStoreTest, WithoutAFolderItKeepsValuesButNoFile)
{
    preferences::StoreChain chain;
    StoreClient homeless(new preferences::PreferenceStore(chain));
    EXPECT_FALSE(homeless.load());
    EXPECT_TRUE(homeless.set(u"key", u"1"));
    EXPECT_EQ(homeless.text(u"key"), u"1");
    EXPECT_FALSE(homeless.save());
    m_folder.write("file", "");
    EXPECT_FALSE(homeless.init(m_folder.path("file")));
    EXPECT_FALSE(homeless.init(m_folder.path("file/below")));
    EXPECT_EQ(homeless.text(u"key"), u"1");
}

TEST_F(PreferenceStoreTest, StartsAfreshInAnotherFolder)
{
    m_store.set(u"key", u"1");
    ASSERT_TRUE(m_store.init(m_folder.path("other")));
    EXPECT_EQ(m_store.text(u"key"), std::nullopt);
}

TEST_F(PreferenceStoreTest, MakesAFolderAgainThatHasGone)
{
    ASSERT_TRUE(m_store.init(m_folder.path("inner")));
    std::filesystem::remove(m_folder.path("inner"));
    m_store.set(u"key", u"1");
    EXPECT_TRUE(m_store.save());
    EXPECT_TRUE(m_store.load());
    EXPECT_EQ(m_store.text(u"key"), u"1");
}

TEST_F(PreferenceStoreTest, LoadingDropsWhatWasNotSaved)
{
    m_store.set(u"kept", u"1");
    ASSERT_TRUE(m_store.save());
    m_store.set(u"dropped", u"2");
    ASSERT_TRUE(m_store.load());
    EXPECT_EQ(m_store.text(u"kept"), u"1");
    EXPECT_EQ(m_store.text(u"dropped"), std::nullopt);
    std::filesystem::remove(m_folder.preferences());
    EXPECT_FALSE(m_store.load());
    EXPECT_EQ(m_store.text(u"kept"), std::nullopt);
}

TEST_F(PreferenceStoreTest, CountsReferencesFromOne)
{
    EXPECT_EQ(m_store->AddRef(), 2U);
    EXPECT_EQ(m_store->AddRef(), 3U);
    EXPECT_EQ(m_store->Release(), 2U);
    void* face = nullptr;
    EXPECT_EQ(m_store->QueryInterface(0, &face), 1);
    EXPECT_EQ(face, &*m_store);
    EXPECT_EQ(m_store->Release(), 2U);
    EXPECT_EQ(m_store->Release(), 1U);
    EXPECT_EQ(m_store->QueryInterface(14, &face), 0);
    EXPECT_EQ(face, nullptr);
    EXPECT_EQ(m_store->QueryInterface(0, nullptr), 0);
}

TEST(StoreChainTest, HoldsTheStoresThatLive)
{
    preferences::StoreChain chain;
    auto* const first = new preferences::PreferenceStore(chain);
    auto* const second = new preferences::PreferenceStore(chain);
    auto* const third = new preferences::PreferenceStore(chain);
    second->Release();
    EXPECT_EQ(chain.first, third);
    third->Release();
    EXPECT_EQ(chain.first, first);
    first->Release();
    EXPECT_EQ(chain.first, nullptr);
}
