// The module as the bus has it: loaded by path, its functions found by their exported names.
#include "velmo_caps/VelmoCaps.h"

#include "modules/velmo_caps/StoreFixture.h"

#include <dlfcn.h>

namespace velmo_caps {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kLibrary[] = TEVORO_STAGE_HOME "/Frameworks/velmo_caps.framework/velmo_caps.so";
constexpr char kApp[] = "/velmo/tevorotalk/tevoro-2.0";

using Texts = std::vector<std::string>;

Texts textsOf(const char** list)
{
    Texts texts;
    for (; list != nullptr && *list != nullptr; ++list)
        texts.emplace_back(*list);
    return texts;
}

// As the bus declares them.
struct Functions {
    explicit Functions(void* library)
        : m_library(library)
    {
    }
    template <typename... Arguments>
    std::int32_t operator()(const char* name, Arguments... arguments) const
    {
        using Function = std::int32_t (*)(Arguments...);
        const auto function = reinterpret_cast<Function>(::dlsym(m_library, name));
        EXPECT_NE(function, nullptr) << name;
        return function == nullptr ? -1 : function(arguments...);
    }

private:
    void* m_library;
};

using Session = void*;

class VelmoCapsTest : public StoreFixture {
protected:
    VelmoCapsTest()
    {
        EXPECT_EQ(call("pcdOpenSessionNoCreate", &m_pcd), 0);
        EXPECT_EQ(call("capsOpenSession", &m_caps), 0);
        EXPECT_NE(m_pcd, nullptr);
        EXPECT_NE(m_caps, nullptr);
    }
    ~VelmoCapsTest() override
    {
        EXPECT_EQ(call("pcdCloseSession", m_pcd), 0);
        EXPECT_EQ(call("capsCloseSession", m_caps), 0);
        EXPECT_EQ(::dlclose(m_library), 0);
    }

    std::int32_t set(const char* subdomain, const char* key, const char* value)
    {
        return call("pcdSetDomainData", m_pcd, std::int32_t{1}, subdomain, key, value);
    }
    std::int32_t remove(const char* subdomain, const char* key)
    {
        return call("pcdRemoveDomainData", m_pcd, std::int32_t{1}, subdomain, key);
    }
    std::int32_t get(const char* subdomain, const char* key, std::string& text)
    {
        const char* value = "left";
        const auto status =
            call("pcdGetDomainData", m_pcd, std::int32_t{1}, subdomain, key, &value);
        text = value == nullptr ? "(null)" : value;
        return status;
    }
    Texts subdomains(std::int32_t expected = 0)
    {
        const char** list = nullptr;
        EXPECT_EQ(call("pcdGetDomainDataSubdomains", m_pcd, std::int32_t{1}, &list), expected);
        return textsOf(list);
    }
    Texts keys(const char* subdomain, std::int32_t expected = 0)
    {
        const char** list = nullptr;
        EXPECT_EQ(call("pcdGetDomainDataKeys", m_pcd, std::int32_t{1}, subdomain, &list), expected);
        return textsOf(list);
    }
    std::uint32_t time(const char* name = "pcdGetLastModTime")
    {
        std::uint32_t value = 0;
        EXPECT_EQ(call(name, &value), 0);
        return value;
    }

    void* m_library = ::dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
    Functions call{m_library};
    Session m_pcd = nullptr;
    Session m_caps = nullptr;
};

TEST_F(VelmoCapsTest, ExportsTheFifteenAndNothingElseOfItsOwn)
{
    for (const char* const name : {"pcdOpenSessionNoCreate",
             "pcdCloseSession",
             "pcdGetDomainDataSubdomains",
             "pcdGetDomainDataKeys",
             "pcdGetDomainData",
             "pcdSetDomainData",
             "pcdRemoveDomainData",
             "capsOpenSession",
             "capsCloseSession",
             "capsGetCollectionPayloads",
             "capsGetPayloadDataKeys",
             "capsGetPayloadData",
             "capsGetPayloads",
             "capsGetLastModTime",
             "pcdGetLastModTime"})
        EXPECT_NE(::dlsym(m_library, name), nullptr) << name;
    EXPECT_EQ(::dlsym(m_library, "_ZN10velmo_caps9userStoreEv"), nullptr);
}

TEST_F(VelmoCapsTest, AMissingStoreOpensAnswersEightAndIsNotMade)
{
    EXPECT_THAT(subdomains(8), IsEmpty());
    EXPECT_THAT(keys(kApp, 8), IsEmpty());
    std::string text;
    EXPECT_EQ(get(kApp, "Path", text), 8);
    EXPECT_EQ(text, "(null)");
    EXPECT_GT(time(), 0U);
    EXPECT_GT(time("capsGetLastModTime"), 0U);
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("user")));
}

TEST_F(VelmoCapsTest, AStoreThatAppearsIsFoundInTheSameSession)
{
    EXPECT_THAT(subdomains(8), IsEmpty());
    const std::uint32_t before = time();
    setUser(kTevoro, "Path", "/bin/a");
    EXPECT_GT(time(), before);
    EXPECT_THAT(subdomains(), ElementsAre(kApp));
    std::string text;
    EXPECT_EQ(get(kApp, "Path", text), 0);
    EXPECT_EQ(text, "/bin/a");
    const std::uint32_t there = time();
    std::filesystem::remove_all(m_folder.path("user"));
    EXPECT_GT(time(), there);
    EXPECT_THAT(subdomains(8), IsEmpty());
}

TEST_F(VelmoCapsTest, WhatIsSetIsThereForAllAndInTheOrderOfAddition)
{
    EXPECT_EQ(set("/velmo/tevorotalk/b-1.0", "Path", "/b"), 0);
    EXPECT_EQ(set("/velmo/tevorotalk/a-1.0", "Zebra", "1"), 0);
    EXPECT_EQ(set("/velmo/tevorotalk/a-1.0", "Apple", "2"), 0);
    EXPECT_EQ(set("/velmo/tevorotalk/a-1.0", "Zebra", "3"), 0);
    EXPECT_THAT(subdomains(), ElementsAre("/velmo/tevorotalk/b-1.0", "/velmo/tevorotalk/a-1.0"));
    EXPECT_THAT(keys("/velmo/tevorotalk/a-1.0"), ElementsAre("Zebra", "Apple"));
    EXPECT_EQ(valueNow({Face::kPcd, 1, "/velmo/tevorotalk/a-1.0"}, "Zebra"), "3");
}

TEST_F(VelmoCapsTest, WhatIsRemovedIsGoneAndTheSecondTimeThereIsNothing)
{
    set(kApp, "Path", "/a");
    set(kApp, "DisplayName", "A");
    EXPECT_EQ(remove(kApp, "Path"), 0);
    EXPECT_EQ(remove(kApp, "Path"), 8);
    EXPECT_THAT(keys(kApp), ElementsAre("DisplayName"));
    EXPECT_EQ(remove(kApp, "DisplayName"), 0);
    EXPECT_THAT(keys(kApp, 8), IsEmpty());
    EXPECT_THAT(subdomains(8), IsEmpty());
}

TEST_F(VelmoCapsTest, ARemovalHidesWhatTheMachineHasAndAnAdditionBringsItBack)
{
    if (!isRoot())
        GTEST_SKIP() << "root alone writes the machine's store";
    setMachine(kTevoro, "Path", "/machine");
    EXPECT_EQ(remove(kApp, "Path"), 0);
    EXPECT_THAT(subdomains(8), IsEmpty());
    EXPECT_EQ(remove(kApp, "Path"), 8);
    EXPECT_EQ(set(kApp, "Path", "/user"), 0);
    EXPECT_EQ(valueNow(kTevoro, "Path"), "/user");
    EXPECT_EQ(remove(kApp, "Path"), 0);
    EXPECT_EQ(valueNow(kTevoro, "Path"), "(none)");
    EXPECT_EQ(valueIn(*CurrentStores(machineStore()).view(), kTevoro, "Path"), "/machine");
}

TEST_F(VelmoCapsTest, ListsAndValuesOfAWalkOutliveEachOtherAndWrites)
{
    for (int number = 0; number < 50; ++number)
        setUser({Face::kPcd, 1, "/velmo/tevorotalk/app" + std::to_string(number)}, "Path", "/p");
    const char** names = nullptr;
    ASSERT_EQ(call("pcdGetDomainDataSubdomains", m_pcd, std::int32_t{1}, &names), 0);
    int walked = 0;
    for (const char** name = names; *name != nullptr; ++name, ++walked) {
        setUser(kTevoro, "Path", std::to_string(walked)); // another view for every call
        const char** list = nullptr;
        ASSERT_EQ(call("pcdGetDomainDataKeys", m_pcd, std::int32_t{1}, *name, &list), 0);
        setUser(kTevoro, "Path", "x" + std::to_string(walked));
        const char* value = nullptr;
        ASSERT_EQ(call("pcdGetDomainData", m_pcd, std::int32_t{1}, *name, *list, &value), 0);
        setUser(kTevoro, "Path", "y" + std::to_string(walked));
        EXPECT_STREQ(*list, "Path");
        EXPECT_STREQ(value, "/p");
        EXPECT_EQ("/velmo/tevorotalk/app" + std::to_string(walked), *name);
    }
    EXPECT_EQ(walked, 50);
}

TEST_F(VelmoCapsTest, AWalkGoesOnWhenAnotherRemovesWhatLiesAhead)
{
    setUser(kTevoro, "Path", "/a");
    EXPECT_THAT(subdomains(), ElementsAre(kApp));
    {
        StoreWriter writer(userStore());
        StoreWriter::Change change(writer);
        change.remove(kTevoro, "Path");
        change.commit();
    }
    EXPECT_THAT(keys(kApp), IsEmpty());
    EXPECT_THAT(keys("/velmo/tevorotalk/never-1.0", 8), IsEmpty());
    EXPECT_THAT(subdomains(8), IsEmpty());
    EXPECT_THAT(keys(kApp, 8), IsEmpty());
}

TEST_F(VelmoCapsTest, ServesPayloadsByCollectionDomainAndKey)
{
    setUser({Face::kCaps, 4, "{A}"}, "QMTConfigPath", "/opt/a.xml");
    setUser({Face::kCaps, 0, "{A}"}, "Other", "0");
    setUser({Face::kCaps, 0, "{B}"}, "Path", "b");
    {
        StoreWriter writer(userStore());
        StoreWriter::Change change(writer);
        change.setCollection("{B}", "LodoDataCollectionActingAsADomain");
        change.commit();
    }
    const char** list = nullptr;
    EXPECT_EQ(call("capsGetPayloads", m_caps, std::int32_t{4}, &list), 0);
    EXPECT_THAT(textsOf(list), ElementsAre("{A}", "{B}"));
    EXPECT_EQ(call("capsGetPayloads", m_caps, std::int32_t{3}, &list), 8);
    EXPECT_EQ(call("capsGetCollectionPayloads",
                  m_caps,
                  std::int32_t{4},
                  "LodoDataCollectionActingAsADomain",
                  &list),
        0);
    EXPECT_THAT(textsOf(list), ElementsAre("{B}"));
    EXPECT_EQ(call("capsGetPayloadDataKeys", m_caps, "{A}", std::int32_t{4}, &list), 0);
    EXPECT_THAT(textsOf(list), ElementsAre("QMTConfigPath"));
    EXPECT_EQ(call("capsGetPayloadDataKeys", m_caps, "{C}", std::int32_t{4}, &list), 8);
    const char* value = nullptr;
    EXPECT_EQ(
        call("capsGetPayloadData", m_caps, "{A}", std::int32_t{4}, "QMTConfigPath", &value), 0);
    EXPECT_STREQ(value, "/opt/a.xml");
    EXPECT_EQ(
        call("capsGetPayloadData", m_caps, "{A}", std::int32_t{0}, "QMTConfigPath", &value), 8);
    EXPECT_EQ(value, nullptr);
}

TEST_F(VelmoCapsTest, RefusesArgumentsThatAreNone)
{
    const char* const none = nullptr;
    const char** list = nullptr;
    EXPECT_EQ(call("pcdOpenSessionNoCreate", static_cast<Session*>(nullptr)), 3);
    EXPECT_EQ(call("pcdCloseSession", static_cast<Session>(nullptr)), 3);
    EXPECT_EQ(
        call("pcdGetDomainDataSubdomains", static_cast<Session>(nullptr), std::int32_t{1}, &list),
        3);
    EXPECT_EQ(call("pcdGetDomainDataKeys", m_pcd, std::int32_t{1}, none, &list), 3);
    EXPECT_EQ(set("", "Path", "a"), 3);
    EXPECT_EQ(set(kApp, "", "a"), 3);
    EXPECT_EQ(set(kApp, "Path", nullptr), 3);
    for (const std::int32_t domain : {-1, 5}) {
        EXPECT_EQ(call("pcdSetDomainData", m_pcd, domain, kApp, "Path", "a"), 3);
        // Nothing lies there: as in any domain without data.
        EXPECT_EQ(call("pcdGetDomainDataSubdomains", m_pcd, domain, &list), 8);
        EXPECT_EQ(call("pcdGetDomainDataKeys", m_pcd, domain, kApp, &list), 8);
        EXPECT_EQ(call("pcdRemoveDomainData", m_pcd, domain, kApp, "Path"), 8);
    }
    EXPECT_EQ(call("pcdGetLastModTime", static_cast<std::uint32_t*>(nullptr)), 3);
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("user")));
}

TEST_F(VelmoCapsTest, TellsByItsStatusWhyItCannotWrite)
{
    set(kApp, "Path", "/a");
    ASSERT_EQ(::chmod(userFile().c_str(), 0666), 0);
    EXPECT_EQ(set(kApp, "Path", "/b"), 4);
    ASSERT_EQ(::chmod(userFile().c_str(), 0600), 0);
    EXPECT_EQ(set(kApp, "Path", "/b"), 0);
    {
        SqliteConnection other(userFile(), SqliteConnection::Opening::kExisting);
        other.run("BEGIN IMMEDIATE");
        EXPECT_EQ(set(kApp, "Path", "/c"), 5);
    }
    SqliteConnection(userFile(), SqliteConnection::Opening::kExisting)
        .run("PRAGMA user_version = 99");
    Session fresh = nullptr;
    ASSERT_EQ(call("pcdOpenSessionNoCreate", &fresh), 0);
    EXPECT_EQ(call("pcdSetDomainData", fresh, std::int32_t{1}, kApp, "Path", "/d"), 6);
    EXPECT_EQ(call("pcdCloseSession", fresh), 0);
    EXPECT_EQ(valueNow(kTevoro, "Path"), "/b");
}

TEST_F(VelmoCapsTest, BeginsAnewWhenItsFileIsReplacedWhileItWrites)
{
    EXPECT_EQ(set(kApp, "Path", "/a"), 0);
    std::filesystem::remove_all(m_folder.path("user"));
    EXPECT_EQ(set(kApp, "Path", "/b"), 0);
    EXPECT_EQ(valueNow(kTevoro, "Path"), "/b");
}

TEST(VelmoCapsLibraryTest, IsGoneAfterTheLastClose)
{
    const test::TestFolder folder; // a copy, which nobody else in this process holds
    const std::string copied = folder.path("velmo_caps.so");
    std::filesystem::copy_file(kLibrary, copied);
    void* const library = ::dlopen(copied.c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << ::dlerror();
    std::uint32_t value = 0;
    EXPECT_EQ(Functions(library)("pcdGetLastModTime", &value), 0);
    ::dlclose(library);
    EXPECT_EQ(::dlopen(copied.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

} // namespace
} // namespace velmo_caps
