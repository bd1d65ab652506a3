#include "TevoroAppManager/contract/sink/ISinkManager.h"
#include "core/TevoroAppManager/support/SinkFixture.h"

#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using test::units;
using test::untouchedBuffer;
using test::written;

namespace {

class CAppSourceTest : public test::SinkFixture {
protected:
    ISinkManager& manager() { return face<ISinkManager>(36); }
    ISinkCapabilities2& capabilities() { return face<ISinkCapabilities2>(49); }
};

// Ids by the face that answers them.
const std::map<long, std::vector<long>> kFaces = {{3, {3}},
    {37, {0, 14, 37}},
    {49, {17, 49}},
    {25, {25}},
    {26, {26}},
    {27, {27}},
    {32, {32}},
    {33, {23, 33}},
    {66, {48, 66}},
    {36, {36}},
    {64, {64}}};

bool isKnown(long id)
{
    for (const auto& [face, ids] : kFaces)
        if (std::find(ids.begin(), ids.end(), id) != ids.end())
            return true;
    return false;
}

} // namespace

TEST_F(CAppSourceTest, GivesOneFaceForEachGroupOfIds)
{
    open();
    std::vector<void*> faces;
    for (const auto& [face, ids] : kFaces) {
        for (const long id : ids)
            EXPECT_EQ(faceAddress(id), faceAddress(face)) << id;
        EXPECT_THAT(faces, testing::Not(testing::Contains(faceAddress(face)))) << face;
        faces.push_back(faceAddress(face));
    }
    EXPECT_EQ(faceAddress(3), static_cast<void*>(m_source));
}

TEST_F(CAppSourceTest, GivesTheSinkAndNotItsFirstBaseForIdZero)
{
    open();
    EXPECT_EQ(faceAddress(0), faceAddress(14));
    EXPECT_EQ(faceAddress(0), faceAddress(37));
    EXPECT_NE(faceAddress(0), faceAddress(3));
}

TEST_F(CAppSourceTest, StoresNullForUnknownIds)
{
    open();
    for (long id = -3; id <= 200; ++id) {
        void* out = &id;
        EXPECT_EQ(m_source->QueryInterface(id, &out), isKnown(id) ? 1U : 0U) << id;
        EXPECT_EQ(out != nullptr, isKnown(id)) << id;
        if (out) {
            EXPECT_EQ(static_cast<IFxBase*>(out)->Release(), 1U) << id;
        }
    }
    void* out = this;
    EXPECT_EQ(m_source->QueryInterface((1L << 32) + 3, &out), 0U);
    EXPECT_EQ(out, nullptr);
}

TEST_F(CAppSourceTest, CountsOneNumberOfReferencesForAllFaces)
{
    open();
    EXPECT_EQ(face<IFxBase>(64).AddRef(), 2U);
    EXPECT_EQ(face<IFxBase>(27).AddRef(), 3U);
    EXPECT_EQ(m_source->Release(), 2U);
    EXPECT_EQ(face<IFxBase>(66).Release(), 1U);
}

TEST_F(CAppSourceTest, TellsTheNameOfItsApplication)
{
    open();
    auto buffer = untouchedBuffer<300>();
    EXPECT_EQ(manager().GetHostAppName(buffer.data(), 3), kFxOk);
    EXPECT_EQ(written(buffer), "Tev");
    EXPECT_EQ(manager().GetHostAppName(buffer.data(), 300), kFxOk);
    EXPECT_EQ(written(buffer), "Tevoro|");
    EXPECT_EQ(manager().GetHostAppName(nullptr, 300), kFxErrBadArgument);
}

TEST_F(CAppSourceTest, WritesNoNameAtCapacityZeroAndTheWholeAtTheLargest)
{
    open();
    auto buffer = untouchedBuffer<8>();
    EXPECT_EQ(manager().GetHostAppName(buffer.data(), 0), kFxOk);
    EXPECT_EQ(written(buffer), "");
    EXPECT_EQ(manager().GetHostAppName(buffer.data(), 0xffffffffU), kFxOk);
    EXPECT_EQ(written(buffer), "Tevoro|");
}

TEST_F(CAppSourceTest, LeavesThePathOfTheApplicationUnwritten)
{
    open();
    auto buffer = untouchedBuffer<16>();
    EXPECT_EQ(manager().GetHostAppPath(buffer.data(), 16), kFxOk);
    EXPECT_EQ(written(buffer), "");
    EXPECT_EQ(manager().GetHostAppPath(nullptr, 16), kFxErrBadArgument);
}

TEST_F(CAppSourceTest, TellsThatItsApplicationDoesNotRun)
{
    open();
    unsigned int running = 7;
    void* handle = this;
    EXPECT_EQ(manager().GetIsHostAppRunning(running, handle), kFxOk);
    EXPECT_EQ(running, 0U);
    EXPECT_EQ(handle, this);
}

TEST_F(CAppSourceTest, TellsThatAnApplicationThatIsNotInstalledCannotBeStarted)
{
    open();
    EXPECT_EQ(manager().InvokeHostApp(nullptr, 0, nullptr), kFxErrBadArgument);
}

TEST_F(CAppSourceTest, CountsAReferenceForTheUtilHandlerItGives)
{
    open();
    ISinkUtilHandler* first = nullptr;
    ISinkUtilHandler* second = nullptr;
    EXPECT_EQ(capabilities().GetSinkUtilHandler(first), kFxOk);
    EXPECT_EQ(capabilities().GetSinkUtilHandler(second), kFxOk);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first->Release(), 2U);
    EXPECT_EQ(second->Release(), 1U);
}

TEST_F(CAppSourceTest, CutsItsLongestLabelAtTheCapacity)
{
    open();
    auto buffer = untouchedBuffer<64>();
    EXPECT_EQ(capabilities().GetCopyProgressLongestLabelString(buffer.data(), 8), kFxOk);
    EXPECT_EQ(written(buffer), "Creating");
    EXPECT_EQ(capabilities().GetCopyProgressLongestLabelString(buffer.data(), 64), kFxOk);
    EXPECT_EQ(written(buffer), "Creating Backup Copy...|");
    EXPECT_EQ(capabilities().GetCopyProgressLongestLabelString(buffer.data(), -1), kFxOk);
    EXPECT_EQ(capabilities().GetCopyProgressLongestLabelString(nullptr, 64), kFxOk);
}

TEST_F(CAppSourceTest, TakesNoExtensionsForNone)
{
    open();
    EXPECT_EQ(capabilities().SetRDXSupportedExtensions(nullptr), kFxOk);
    EXPECT_EQ(capabilities().SetZQPluginSupportedExtensions(nullptr), kFxOk);
}

TEST_F(CAppSourceTest, ReleasesAllControlsButTheOneForDeletionWhenItEnds)
{
    openWithPanel();
    close();
    EXPECT_EQ(journal.lines(),
        (std::vector<std::string>{"secondary_backup_label.Release",
            "browse_button.Release",
            "settings_button.Release",
            "dng_checkbox.Release",
            "launchtevoro_checkbox.Release",
            "savecopies_checkbox.Release"}));
    EXPECT_EQ(panel.control("deletefiles_checkbox").references, 1);
    EXPECT_EQ(panel.references, 0);
}

TEST_F(CAppSourceTest, ReleasesTheProgressHandlerFirst)
{
    openWithPanel();
    test::HostProgress progress(journal);
    face<ISinkProgressDialog>(64).SetProgressHandler(&progress);
    close();
    EXPECT_EQ(journal.lines().front(), "progress.Release");
    EXPECT_EQ(progress.references, 0);
}

TEST_F(CAppSourceTest, StandsWithoutAnyLibrary)
{
    open();
    CPropAppPreferences3 record;
    record.tag = 5;
    record.size = 5808;
    auto& util = face<ISinkUtilHandler>(33);
    EXPECT_EQ(util.GetPreferences(record), kFxOk);
    EXPECT_EQ(util.SetPreferences(record), kFxErrNotInitialised);
    record.authorName->Release();
    record.copyright->Release();
}

TEST_F(CAppSourceTest, MayStandTwiceAtOnce)
{
    open();
    ISource* const first = std::exchange(m_source, nullptr);
    open();
    EXPECT_NE(first, m_source);
    EXPECT_EQ(first->Release(), 0U);
    auto buffer = untouchedBuffer<64>();
    EXPECT_EQ(face<ISinkUICapabilities>(25).GetCustomUICaption(buffer.data(), 64), kFxOk);
    EXPECT_EQ(written(buffer), "Advanced Options|");
}
