// A card, a folder to save into, and groups on their way from one to the other.
#pragma once

#include "apps/mfx/engine/CardFixture.h"
#include "mfx/engine/saving/FinalFolders.h"
#include "mfx/engine/saving/GroupStager.h"
#include "mfx/engine/saving/GroupWork.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace mfx::tests {

inline std::string bytesOf(const std::string& path)
{
    return test::read(path);
}

// Names of all that lies below a folder, folders included, sorted.
inline std::vector<std::string> namesBelow(const std::string& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        names.push_back(entry.path().lexically_relative(folder).string());
    std::sort(names.begin(), names.end());
    return names;
}

class SavingFixture : public testing::Test {
protected:
    // What lies on the card now is what the download sees.
    void insertCard()
    {
        contents = card.scan();
        groups = groupItems(contents);
    }

    StagingPlan plan()
    {
        return {contents,
            groups,
            rules,
            1,
            dryRun,
            wantsDNG,
            [](std::uint32_t, ProgressPhase, std::uint64_t) {},
            [] { return false; }};
    }

    // All groups as the stager leaves them.
    std::vector<std::unique_ptr<GroupWork>> stageAll()
    {
        insertCard();
        GroupStager stager(plan(), folders);
        std::vector<std::unique_ptr<GroupWork>> works;
        for (std::size_t i = 0; i < groups.size(); ++i)
            works.push_back(stager.take());
        return works;
    }
    std::unique_ptr<GroupWork> stageOne()
    {
        auto works = stageAll();
        EXPECT_EQ(works.size(), 1U);
        return std::move(works.front());
    }

    static std::vector<std::string> finalNames(const GroupWork& work)
    {
        std::vector<std::string> names;
        for (const MemberWork& member : work.members)
            names.push_back(member.finalName);
        return names;
    }

    // Without what the run itself has there while it lasts.
    std::vector<std::string> namesInTarget()
    {
        folders.leave();
        return namesBelow(target.path());
    }

    TestCard card;
    TestCard target;
    NamingRules rules;
    bool dryRun = false;
    bool wantsDNG = false;
    CardContents contents;
    std::vector<ItemGroup> groups;
    PlaceWatch places{contents, target.path(), std::nullopt, false}; // not opened: no descriptors
    FinalFolders folders{target.path(), places};
};

} // namespace mfx::tests
