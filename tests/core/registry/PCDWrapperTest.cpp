#include "registry/PCDWrapper.h"

#include "core/registry/support/StoreFixture.h"
#include "registry/CapsTexts.h"

#include <cstdlib>
#include <memory>

namespace {

using ScObjects::capsList;
using ScObjects::capsStatus;
using ScObjects::capsTexts;
using ScObjects::PCDWrapper;
using testing::ElementsAre;
using testing::IsEmpty;

class PCDWrapperTest : public test::StoreFixture {
protected:
    static std::string valueOf(
        const PCDWrapper& wrapper, ScObjects::capsDomain domain, const char* key)
    {
        const char* value = nullptr;
        const capsStatus status = wrapper.pcdGetDomainData(domain, "sub", key, &value);
        return status == 0 ? value : std::to_string(status);
    }
    static std::vector<std::string> names(capsList list)
    {
        std::vector<std::string> all;
        for (const ScObjects::SoString& text : capsTexts(list))
            all.push_back(test::bytes(text));
        return all;
    }

    // The answers of every operation, in the order of the header.
    static std::vector<capsStatus> answers(const PCDWrapper& wrapper)
    {
        capsList list = nullptr;
        const char* value = nullptr;
        std::uint32_t time = 7;
        return {wrapper.pcdGetDomainDataSubdomains(1, &list),
            wrapper.pcdGetDomainDataKeys(1, "sub", &list),
            wrapper.pcdGetDomainData(1, "sub", "key", &value),
            wrapper.pcdSetDomainData(1, "sub", "key", "value"),
            wrapper.pcdRemoveDomainData(1, "sub", "key"),
            wrapper.capsGetCollectionPayloads(4, "collection", &list),
            wrapper.capsGetPayloadDataKeys("{p}", 0, &list),
            wrapper.capsGetPayloadData("{p}", 0, "key", &value),
            wrapper.capsGetPayloads(4, &list),
            wrapper.capsSetPayloadData("{p}", 0, "key", "value"),
            wrapper.capsRemovePayloadData("{p}", 0, "key"),
            wrapper.capsAddPayload("collection", "{p}", "family", "name", "1.0"),
            wrapper.capsRemovePayload("{p}"),
            wrapper.capsGetLastModTime(&time),
            wrapper.pcdGetLastModTime(&time)};
    }
    static std::vector<capsStatus> allMissing() { return std::vector<capsStatus>(15, 1); }
};

} // namespace

TEST_F(PCDWrapperTest, ReadsAndWritesDomainData)
{
    add("sub", {{"key", "value"}, {"other", ""}});
    const PCDWrapper wrapper(true, 1);
    EXPECT_TRUE(wrapper.isGood());
    EXPECT_EQ(wrapper.getDomain(), 1);
    capsList list = nullptr;
    EXPECT_EQ(wrapper.pcdGetDomainDataSubdomains(1, &list), 0);
    EXPECT_THAT(names(list), ElementsAre("sub"));
    EXPECT_EQ(wrapper.pcdGetDomainDataKeys(1, "sub", &list), 0);
    EXPECT_THAT(names(list), ElementsAre("key", "other"));
    EXPECT_EQ(valueOf(wrapper, 1, "key"), "value");
    EXPECT_EQ(valueOf(wrapper, 1, "none"), "8");
    EXPECT_EQ(wrapper.pcdSetDomainData(2, "sub", "key", "new"), 0);
    EXPECT_EQ(wrapper.pcdRemoveDomainData(2, "sub", "key"), 0);
    EXPECT_THAT(table.written, ElementsAre("2 sub key=new", "- 2 sub key"));
}

TEST_F(PCDWrapperTest, RoutesTheInstallersDomainToPayloads)
{
    add("sub", {{"key", "wrong"}});
    table.domains[0] = table.domains[1];
    table.payloads[0]["sub"] = {{"key", "right"}};
    const PCDWrapper wrapper(true, 0);
    EXPECT_FALSE(wrapper.useDomainData(0));
    EXPECT_TRUE(wrapper.useDomainData(4));
    EXPECT_EQ(valueOf(wrapper, 0, "key"), "right");
    capsList list = nullptr;
    EXPECT_EQ(wrapper.pcdGetDomainDataSubdomains(0, &list), 0);
    EXPECT_THAT(names(list), ElementsAre("sub"));
    EXPECT_EQ(table.calls.back(), "collection 4 LodoDataCollectionActingAsADomain");
    EXPECT_EQ(wrapper.pcdGetDomainDataKeys(0, "sub", &list), 0);
    EXPECT_THAT(names(list), ElementsAre("key"));
}

TEST_F(PCDWrapperTest, WritesNoPayloads)
{
    const PCDWrapper wrapper(true, 0);
    EXPECT_EQ(wrapper.pcdSetDomainData(0, "sub", "key", "value"), 11);
    EXPECT_EQ(wrapper.pcdRemoveDomainData(0, "sub", "key"), 11);
    EXPECT_THAT(table.written, IsEmpty());
    capsList list = nullptr;
    EXPECT_EQ(wrapper.capsGetPayloads(4, &list), 0);
    EXPECT_THAT(names(list), ElementsAre("{one}"));
    EXPECT_EQ(table.calls.back(), "payloads 4");
}

TEST_F(PCDWrapperTest, IsNotGoodWithoutTheMasterStore)
{
    add("sub", {{"key", "value"}});
    const PCDWrapper wrapper(false, 1);
    EXPECT_FALSE(wrapper.isGood());
    for (const int domain : {0, 1, 2, 3, 4})
        EXPECT_FALSE(wrapper.useDomainData(domain)) << domain;
    EXPECT_EQ(answers(wrapper), allMissing());
    EXPECT_THAT(table.calls, IsEmpty());
}

TEST_F(PCDWrapperTest, IsNotGoodWithoutTheLibrary)
{
    for (const char* name : {"nowhere.framework", "../registry"}) {
        ScObjects::pcdLibName = name;
        const PCDWrapper wrapper(true, 1);
        EXPECT_FALSE(wrapper.isGood());
        EXPECT_EQ(answers(wrapper), allMissing());
        std::uint32_t time = 7;
        EXPECT_EQ(wrapper.capsGetLastModTime(&time), 1);
        EXPECT_EQ(time, 0U);
        EXPECT_EQ(wrapper.capsGetLastModTime(nullptr), 1);
        time = 7;
        EXPECT_EQ(wrapper.pcdGetLastModTime(&time), 1);
        EXPECT_EQ(time, 0U);
    }
}

TEST_F(PCDWrapperTest, AnswersForMissingFunctions)
{
    ScObjects::pcdLibName = kIncompleteLibrary;
    {
        const PCDWrapper wrapper(true, 1);
        EXPECT_TRUE(wrapper.isGood());
        EXPECT_THAT(answers(wrapper), ElementsAre(1, 1, 1, 1, 1, 1, 1, 1, 1, 11, 11, 11, 11, 1, 1));
        EXPECT_EQ(table.openSessions, 2);
    }
    EXPECT_EQ(table.openSessions, 2) << "there is nothing to close them with";
    table.openSessions = 0;
}

TEST_F(PCDWrapperTest, StaysGoodWithoutPayloads)
{
    add("sub", {{"key", "value"}});
    table.failures = {{"capsOpenSession", 5}};
    const PCDWrapper wrapper(true, 1);
    EXPECT_TRUE(wrapper.isGood());
    EXPECT_EQ(valueOf(wrapper, 1, "key"), "value");
    EXPECT_THAT(answers(wrapper), ElementsAre(0, 0, 0, 0, 0, 9, 9, 9, 9, 11, 11, 11, 11, 0, 0));
    EXPECT_EQ(table.openSessions, 1);
}

// What becomes of the library depends on all wrappers of a process: these run in one of their own.
class PCDWrapperDeathTest : public PCDWrapperTest {
protected:
    PCDWrapperDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    static void endAsTested() { std::_Exit(HasFailure() ? 1 : 0); }

    void useTwoWrappers()
    {
        auto first = std::make_unique<PCDWrapper>(true, 1);
        auto second = std::make_unique<PCDWrapper>(true, 1);
        first.reset();
        EXPECT_TRUE(isLoaded());
        std::uint32_t time = 0;
        EXPECT_EQ(second->pcdGetLastModTime(&time), 0);
        EXPECT_EQ(time, 200U);
        second.reset();
        EXPECT_FALSE(isLoaded());
        endAsTested();
    }

    void failToOpen()
    {
        table.failures = {{"pcdOpenSessionNoCreate", 5}};
        const PCDWrapper bad(true, 1);
        EXPECT_FALSE(bad.isGood());
        EXPECT_EQ(answers(bad), allMissing());
        EXPECT_FALSE(isLoaded());
        table.failures.clear();
        std::make_unique<PCDWrapper>(true, 1).reset();
        EXPECT_TRUE(isLoaded()) << "the bad one is no longer counted";
        endAsTested();
    }
};

TEST_F(PCDWrapperDeathTest, KeepsTheLibraryUntilTheLastOneGoes)
{
    EXPECT_EXIT(useTwoWrappers(), testing::ExitedWithCode(0), "");
}

TEST_F(PCDWrapperDeathTest, IsNotGoodWithoutAStoreAndKeepsTheLibraryFromThenOn)
{
    EXPECT_EXIT(failToOpen(), testing::ExitedWithCode(0), "");
}
