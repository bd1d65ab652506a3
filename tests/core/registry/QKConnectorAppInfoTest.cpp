#include "registry/QKConnectorAppInfo.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using ScObjects::QKConnectorAppInfo;

// One change of every field that counts.
std::vector<std::pair<std::string, std::function<void(QKConnectorAppInfo&)>>> changes()
{
    using Info = QKConnectorAppInfo;
    return {
        {"specifier", [](Info& info) { info.specifier = "x"; }},
        {"path", [](Info& info) { info.path = "x"; }},
        {"windowClassName", [](Info& info) { info.windowClassName = "x"; }},
        {"bundleIdentifier", [](Info& info) { info.bundleIdentifier = "x"; }},
        {"displayName", [](Info& info) { info.displayName = "x"; }},
        {"talkVersion", [](Info& info) { info.talkVersion = 1.5; }},
        {"allowMultipleInstances", [](Info& info) { info.allowMultipleInstances = true; }},
        {"isShellTool", [](Info& info) { info.isShellTool = true; }},
        {"supportsQSDT", [](Info& info) { info.supportsQSDT = true; }},
        {"messageAuthentication", [](Info& info) { info.messageAuthentication = false; }},
        {"messageDigest", [](Info& info) { info.messageDigest = false; }},
        {"executableBasename", [](Info& info) { info.executableBasename = "x"; }},
        {"executableExtension", [](Info& info) { info.executableExtension = "x"; }},
        {"omvDictionary", [](Info& info) { info.omvDictionary = "x"; }},
        {"developerInstallPath", [](Info& info) { info.developerInstallPath = "x"; }},
        {"redirectTo", [](Info& info) { info.redirectTo = "x"; }},
    };
}

} // namespace

TEST(QKConnectorAppInfoTest, BeginsWithTheDefaults)
{
    const QKConnectorAppInfo info;
    EXPECT_EQ(info.specifier, "");
    EXPECT_EQ(info.path, "");
    EXPECT_EQ(info.talkVersion, 2.0);
    EXPECT_FALSE(info.allowMultipleInstances);
    EXPECT_FALSE(info.isShellTool);
    EXPECT_FALSE(info.supportsQSDT);
    EXPECT_TRUE(info.messageAuthentication);
    EXPECT_TRUE(info.messageDigest);
    EXPECT_EQ(info.executableExtension, "app");
    EXPECT_EQ(info.omvDictionary, "");
    EXPECT_EQ(info.processID, 0U);
}

TEST(QKConnectorAppInfoTest, DiffersInEveryFieldOfTheStore)
{
    for (const auto& [field, change] : changes()) {
        QKConnectorAppInfo info;
        change(info);
        EXPECT_TRUE(info != QKConnectorAppInfo()) << field;
        EXPECT_TRUE(info == info) << field;
    }
}

TEST(QKConnectorAppInfoTest, IsEqualWhateverProcessRuns)
{
    QKConnectorAppInfo info;
    info.processID = 17;
    EXPECT_TRUE(info == QKConnectorAppInfo());
}

TEST(QKConnectorAppInfoTest, CopiesEveryField)
{
    QKConnectorAppInfo info;
    for (const auto& [field, change] : changes())
        change(info);
    info.processID = 17;
    QKConnectorAppInfo assigned;
    assigned.assign(info);
    EXPECT_TRUE(assigned == info);
    EXPECT_EQ(assigned.processID, 17U);
    const QKConnectorAppInfo copy(info); // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_TRUE(copy == info);
    EXPECT_EQ(copy.processID, 17U);
}
