// The library as the plug-in sees it: loaded at run time, three functions, and its program beside
// it.
#include "ZQPluginSupport/ZQPluginSupport.h"
#include "modules/ZQPluginSupport/support/TinyRaw.h"
#include "platform/common/services/ModuleLoader.h"
#include "support/TestFolder.h"

#include <climits>
#include <thread>

#include <gmock/gmock.h>

namespace test {
namespace {

namespace fs = std::filesystem;

using CanConvert = bool (*)();
using Convert = int (*)(const char*, const char*, int, int, int, int);
using LastResult = int (*)();

class ConversionLibraryTest : public testing::Test {
protected:
    ConversionLibraryTest()
    {
        EXPECT_TRUE(module);
        raw = folder.write("A.CR2", tinyRaw());
    }
    ~ConversionLibraryTest() override { Pt::closeModule(module); }

    template <typename Function>
    Function entry(const char* name) const
    {
        return reinterpret_cast<Function>(Pt::moduleSymbol(module, name));
    }
    int convert(
        const std::string& to, int preview = 1, int compressed = 1, int linear = 0, int embed = 0)
    {
        return entry<Convert>("ZQPlugin_ConvertToDNG")(
            raw.c_str(), folder.path(to).c_str(), preview, compressed, linear, embed);
    }

    TestFolder folder;
    std::string raw;
    Pt::ModuleHandle module = Pt::openModule(ZQ_PLUGIN_SUPPORT);
};

TEST_F(ConversionLibraryTest, ConvertsAndSaysSo)
{
    EXPECT_TRUE(entry<CanConvert>("ZQPlugin_CanConvertToDNG")());
    EXPECT_EQ(convert("A.dng"), 0);
    EXPECT_EQ(entry<LastResult>("ZQPlugin_LastResult")(), kZQPluginDone);
    EXPECT_TRUE(fs::exists(folder.path("A.dng")));
}

TEST_F(ConversionLibraryTest, KeepsTheReasonOfTheLastFailure)
{
    raw = folder.path("none.CR2");
    EXPECT_EQ(convert("A.dng"), kZQPluginSourceUnreadable);
    EXPECT_EQ(entry<LastResult>("ZQPlugin_LastResult")(), kZQPluginSourceUnreadable);
}

TEST_F(ConversionLibraryTest, RefusesArgumentsThatAreNone)
{
    for (const int preview : {-1, 3, INT_MAX, INT_MIN})
        EXPECT_EQ(convert("A.dng", preview), kZQPluginBadRequest);
    EXPECT_EQ(convert("A.dng", 0, 2), kZQPluginBadRequest);
    EXPECT_EQ(convert("A.dng", 0, 1, -1), kZQPluginBadRequest);
    EXPECT_EQ(convert("A.dng", 0, 1, 0, 7), kZQPluginBadRequest);
    const auto function = entry<Convert>("ZQPlugin_ConvertToDNG");
    EXPECT_EQ(function(nullptr, "x", 0, 1, 0, 0), kZQPluginBadRequest);
    EXPECT_EQ(function("x", nullptr, 0, 1, 0, 0), kZQPluginBadRequest);
    EXPECT_FALSE(fs::exists(folder.path("A.dng")));
}

TEST_F(ConversionLibraryTest, ConvertsForSeveralThreadsAsForOne)
{
    EXPECT_EQ(convert("one.dng"), 0);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this, i] {
            for (int k = 0; k < 3; ++k)
                EXPECT_EQ(convert(std::to_string(i) + '-' + std::to_string(k) + ".dng"), 0);
        });
    for (std::thread& thread : threads)
        thread.join();
    const std::string one = read(folder.path("one.dng"));
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(read(folder.path(std::to_string(i) + '-' + std::to_string(k) + ".dng")), one);
}

TEST_F(ConversionLibraryTest, ConvertsAgainWhenItIsLoadedAgain)
{
    EXPECT_EQ(convert("A.dng"), 0);
    Pt::closeModule(module);
    module = Pt::openModule(ZQ_PLUGIN_SUPPORT);
    EXPECT_EQ(convert("B.dng"), 0);
    EXPECT_EQ(read(folder.path("A.dng")), read(folder.path("B.dng")));
}

// As the plug-in loads it, and a host that then works in another folder.
TEST_F(ConversionLibraryTest, FindsItsProgramWhereItWasLoadedByAPathFromTheWorkingFolder)
{
    Pt::closeModule(module);
    const fs::path before = fs::current_path();
    fs::current_path(fs::path(ZQ_PLUGIN_SUPPORT).parent_path());
    module = Pt::openModule("../ZQPluginSupport.framework/ZQPluginSupport.so");
    fs::current_path(before);
    EXPECT_TRUE(entry<CanConvert>("ZQPlugin_CanConvertToDNG")());
    EXPECT_EQ(convert("A.dng"), 0);
}

// A tree from which somebody took it.
TEST_F(ConversionLibraryTest, CannotConvertWithoutItsProgram)
{
    const fs::path library =
        folder.path("lib/Frameworks/ZQPluginSupport.framework/ZQPluginSupport.so");
    fs::create_directories(library.parent_path());
    fs::copy_file(ZQ_PLUGIN_SUPPORT, library);
    const Pt::ModuleHandle other = Pt::openModule(library.string());
    ASSERT_TRUE(other);
    EXPECT_FALSE(
        reinterpret_cast<CanConvert>(Pt::moduleSymbol(other, "ZQPlugin_CanConvertToDNG"))());
    EXPECT_EQ(reinterpret_cast<Convert>(Pt::moduleSymbol(other, "ZQPlugin_ConvertToDNG"))(
                  raw.c_str(), folder.path("A.dng").c_str(), 0, 1, 0, 0),
        kZQPluginIncomplete);
    Pt::closeModule(other);
}

} // namespace
} // namespace test
