// A user with an application data folder and a machine folder of their own, both empty at first.
#pragma once

#include "support/Environment.h"
#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"
#include "velmo_caps/CurrentStores.h"
#include "velmo_caps/StoreWriter.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmo_caps {

inline const SubdomainName kTevoro{Face::kPcd, 1, "/velmo/tevorotalk/tevoro-2.0"};
inline const SubdomainName kViewer{Face::kPcd, 1, "/velmo/tevorotalk/viewer-1.0"};
inline const SubdomainName kMissing{Face::kPcd, 1, "/velmo/tevorotalk/missing-1.0"};

// The value of a view, or "(none)".
inline std::string valueIn(
    const StoreView& view, const SubdomainName& subdomain, const std::string& key)
{
    const ViewSubdomain* const found = view.find(subdomain);
    const std::string* const value = found == nullptr ? nullptr : found->find(key);
    return value == nullptr ? "(none)" : *value;
}

inline void setIn(const StorePlace& place,
    const SubdomainName& subdomain,
    const std::string& key,
    const std::string& value)
{
    StoreWriter writer(place);
    StoreWriter::Change change(writer);
    change.set(subdomain, key, value);
    change.commit();
}

// The problem of work that throws a StoreError; kNone when it throws nothing.
template <typename Work>
StoreProblem problemOf(Work work)
{
    try {
        work();
    } catch (const StoreError& error) {
        return error.problem();
    }
    return StoreProblem::kNone;
}

class StoreFixture : public testing::Test {
protected:
    StoreFixture()
    {
        m_environment.set("MFX_APPLICATION_DATA", m_folder.path("user"));
        m_environment.set("XDG_DATA_DIRS", m_folder.path("machine"));
    }
    ~StoreFixture() override { EXPECT_EQ(test::openDescriptors(), m_descriptorsBefore); }

    static bool isRoot() { return ::geteuid() == 0; }
    static std::string userFile() { return userStore().path; }

    void setUser(const SubdomainName& subdomain, const std::string& key, const std::string& value)
    {
        setIn(userStore(), subdomain, key, value);
    }
    void setMachine(
        const SubdomainName& subdomain, const std::string& key, const std::string& value)
    {
        setIn(machineStore(), subdomain, key, value);
    }

    // What a reader that comes now finds.
    static std::string valueNow(const SubdomainName& subdomain, const std::string& key)
    {
        CurrentStores stores;
        return valueIn(*stores.view(), subdomain, key);
    }

    std::vector<std::string> namesBesideTheStore() const
    {
        std::vector<std::string> names;
        for (const auto& each :
            std::filesystem::directory_iterator(m_folder.path("user/Velmo/Caps")))
            names.push_back(each.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    const std::ptrdiff_t m_descriptorsBefore = test::openDescriptors();
    test::TestFolder m_folder;
    test::Environment m_environment;
};

} // namespace velmo_caps
