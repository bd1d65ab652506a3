#include "velmo-caps/StoreNames.h"

#include "commandline/ExitCode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmo_caps_cli {
namespace {

TEST(StoreNamesTest, ASpecifierIsTakenInLowerCaseUpTo255Bytes)
{
    EXPECT_EQ(specifierOf("Tevoro_2-2.0-EN_us"), "tevoro_2-2.0-en_us");
    EXPECT_EQ(specifierOf(std::string(255, 'A')), std::string(255, 'a'));
    EXPECT_THROW(specifierOf(std::string(256, 'a')), commandline::CommandError);
}

TEST(StoreNamesTest, RefusesWhatIsNoSpecifier)
{
    for (const char* const text : {"",
             "-2.0",
             "_3-2.0",
             "a/b",
             "a b",
             "a\n",
             "a#main",
             "a;1-1.0",
             "a\x01",
             "a\x7f",
             "groups",
             "Groups",
             "#x"})
        EXPECT_THROW(specifierOf(text), commandline::CommandError) << text;
}

TEST(StoreNamesTest, TellsApplicationsFromGroupsAndOthers)
{
    const auto in = [](const std::string& name, velmo_caps::Face face, std::int32_t domain) {
        return applicationIn({face, domain, name}).value_or("(none)");
    };
    using velmo_caps::Face;
    EXPECT_EQ(in("/velmo/tevorotalk/Tevoro-2.0", Face::kPcd, 1), "Tevoro-2.0");
    EXPECT_EQ(in("/velmo/tevorotalk/groupsy-1", Face::kPcd, 1), "groupsy-1");
    for (const char* const name : {"/velmo/tevorotalk/",
             "/velmo/tevorotalk/groups",
             "/velmo/tevorotalk/groups/nx",
             "/velmo/other",
             "{A}"})
        EXPECT_EQ(in(name, Face::kPcd, 1), "(none)") << name;
    EXPECT_EQ(in("/velmo/tevorotalk/a", Face::kPcd, 2), "(none)");
    EXPECT_EQ(in("/velmo/tevorotalk/a", Face::kCaps, 1), "(none)");
}

TEST(StoreNamesTest, ReadsGroupEntriesAsTheBusDoes)
{
    using velmo_caps::Face;
    const velmo_caps::StoreView view({},
        {{{{Face::kPcd, 1, "/velmo/tevorotalk/groups"},
              {},
              {{"Group000", "/velmo/tevorotalk/groups/NX/3/Tevoro-2.0"},
                  {"GroupX", "/velmo/tevorotalk/groups/nx/3/b-1"},
                  {"Other", "/velmo/tevorotalk/groups/nx/3/c-1"},
                  {"Group2", "/velmo/tevorotalk/groups/"}}},
             {{Face::kPcd, 1, "/velmo/tevorotalk/groups/more"},
                 {},
                 {{"Group", "/velmo/tevorotalk/groups/nx/3/d-1"}}}},
            0});
    std::vector<std::string> entries;
    for (const GroupEntry& each : groupEntries(view))
        entries.push_back(each.entry);
    EXPECT_THAT(entries, testing::ElementsAre("nx/3/tevoro-2.0", "nx/3/b-1", "nx/3/d-1"));
}

} // namespace
} // namespace velmo_caps_cli
