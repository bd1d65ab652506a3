#include "velmo_caps/StoreView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmo_caps {
namespace {

using testing::ElementsAre;

StoredSubdomain stored(const std::string& name, std::vector<StoredEntry> entries)
{
    return {{Face::kPcd, 1, name}, {}, std::move(entries)};
}

std::vector<std::string> namesOf(const StoreView& view)
{
    std::vector<std::string> names;
    for (const ViewSubdomain& each : view.subdomains())
        names.push_back(each.name.name);
    return names;
}

std::vector<std::string> keysOf(const StoreView& view, const std::string& name)
{
    std::vector<std::string> keys;
    if (const ViewSubdomain* const found = view.find({Face::kPcd, 1, name}))
        for (const ViewEntry& each : found->entries)
            keys.push_back(each.key + "=" + each.value);
    return keys;
}

const StoreRows kMachine{{stored("b", {{"z", "1"}, {"a", "2"}}), stored("a", {{"k", "3"}})}, 1};

TEST(StoreViewTest, TheUsersTextWinsAndKeepsTheMachinesPlace)
{
    const StoreView view(kMachine, {{stored("b", {{"new", "9"}, {"z", "8"}})}, 1});
    EXPECT_THAT(keysOf(view, "b"), ElementsAre("z=8", "a=2", "new=9"));
    EXPECT_THAT(namesOf(view), ElementsAre("b", "a"));
}

TEST(StoreViewTest, TheUsersAdditionsFollowTheMachines)
{
    const StoreView view(kMachine, {{stored("0", {{"k", "v"}}), stored("a", {{"j", "w"}})}, 1});
    EXPECT_THAT(namesOf(view), ElementsAre("b", "a", "0"));
    EXPECT_THAT(keysOf(view, "a"), ElementsAre("k=3", "j=w"));
}

TEST(StoreViewTest, AMarkHidesAKeyAndTheLastOneItsSubdomain)
{
    const StoreView view(
        kMachine, {{stored("b", {{"z", std::nullopt}}), stored("a", {{"k", std::nullopt}})}, 1});
    EXPECT_THAT(keysOf(view, "b"), ElementsAre("a=2"));
    EXPECT_EQ(view.find({Face::kPcd, 1, "b"})->find("z"), nullptr);
    EXPECT_THAT(namesOf(view), ElementsAre("b"));
    EXPECT_EQ(view.find({Face::kPcd, 1, "a"}), nullptr);
}

TEST(StoreViewTest, AMarkWithoutAKeyHidesAllKeysOfTheMachineAndNoneOfTheUser)
{
    const StoreView view(kMachine, {{stored("b", {{"", std::nullopt}})}, 1});
    EXPECT_THAT(namesOf(view), ElementsAre("a"));
    const StoreView both(
        kMachine, {{stored("b", {{"z", "8"}, {"", std::nullopt}, {"new", "9"}})}, 1});
    EXPECT_THAT(keysOf(both, "b"), ElementsAre("z=8", "new=9"));
}

TEST(StoreViewTest, AMarkOverNothingIsNothing)
{
    const StoreView view({}, {{stored("a", {{"k", std::nullopt}})}, 1});
    EXPECT_THAT(namesOf(view), ElementsAre());
}

TEST(StoreViewTest, TellsWhoseASubdomainIs)
{
    const StoreView view(kMachine, {{stored("a", {{"k", "9"}}), stored("c", {{"k", "1"}})}, 1});
    const ViewSubdomain& machines = view.subdomains()[0];
    const ViewSubdomain& both = view.subdomains()[1];
    const ViewSubdomain& users = view.subdomains()[2];
    EXPECT_TRUE(machines.isOfMachine && !machines.isOfUser);
    EXPECT_TRUE(both.isOfMachine && both.isOfUser);
    EXPECT_TRUE(!users.isOfMachine && users.isOfUser);
}

TEST(StoreViewTest, DomainsAndFacesAreApart)
{
    StoredSubdomain other = stored("a", {{"k", "other"}});
    other.name.domain = 2;
    StoredSubdomain payload = stored("a", {{"k", "payload"}});
    payload.name.face = Face::kCaps;
    const StoreView view(kMachine, {{other, payload}, 1});
    EXPECT_EQ(*view.find({Face::kPcd, 1, "a"})->find("k"), "3");
    EXPECT_EQ(*view.find({Face::kPcd, 2, "a"})->find("k"), "other");
    EXPECT_EQ(*view.find({Face::kCaps, 1, "a"})->find("k"), "payload");
}

TEST(StoreViewTest, AManyKeyedSubdomainFindsEachOfItsKeys)
{
    std::vector<StoredEntry> entries;
    for (int number = 0; number < 1000; ++number)
        entries.push_back({"Group" + std::to_string(number * 7919 % 1000), std::to_string(number)});
    const StoreView view({}, {{stored("groups", entries)}, 1});
    const ViewSubdomain* const groups = view.find({Face::kPcd, 1, "groups"});
    for (const StoredEntry& each : entries)
        EXPECT_EQ(*groups->find(each.key), each.value);
    EXPECT_EQ(groups->find("Group"), nullptr);
}

} // namespace
} // namespace velmo_caps
