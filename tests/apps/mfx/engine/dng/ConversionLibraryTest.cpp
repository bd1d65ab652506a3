#include "mfx/engine/dng/ConversionLibrary.h"

#include "apps/mfx/engine/SavingFixture.h"

#include <gtest/gtest.h>

namespace mfx {
namespace {

// A program's tree with the folder of programs as working folder.
class ConversionLibraryTest : public testing::Test {
protected:
    void SetUp() override
    {
        tree.addFolder("bin");
        std::filesystem::current_path(tree.path("bin"));
        tree.add("raw", "bytes");
        for (const char* const variable :
            {"CONVERSION_CAN", "CONVERSION_TELLS", "CONVERSION_WRITES"})
            ::unsetenv(variable);
        ::setenv("CONVERSION_LOG", tree.path("log").c_str(), 1);
        ::setenv("CONVERSION_RESULT", "0", 1);
    }
    void TearDown() override { std::filesystem::current_path(home); }

    void install(const char* file) const
    {
        const std::string folder = "Frameworks/ZQPluginSupport.framework";
        tree.addFolder(folder);
        std::filesystem::copy_file(file, tree.path(folder + "/ZQPluginSupport.so"));
    }

    const std::filesystem::path home = std::filesystem::current_path();
    tests::TestCard tree;
};

TEST_F(ConversionLibraryTest, IsAbsentWhereNothingIsInstalled)
{
    EXPECT_FALSE(ConversionLibrary::load());
    EXPECT_FALSE(ConversionLibrary::loaded());
}

// In one test: under one path, a process loads one library.
TEST_F(ConversionLibraryTest, TellsWhatItWasAskedForAndWhatCameOfIt)
{
    install(CONVERSION_LIBRARY);
    ::setenv("CONVERSION_CAN", "0", 1);
    EXPECT_FALSE(ConversionLibrary::load()) << "it cannot convert";
    ::unsetenv("CONVERSION_CAN");
    const auto library = ConversionLibrary::load();
    ASSERT_TRUE(library);
    EXPECT_EQ(library->lastResult(), 0);
    DNGForm form;
    form.preview = 2;
    form.embedsRaw = true;
    EXPECT_EQ(library->convert(tree.path("raw"), tree.path("a.dng"), form), 0);
    EXPECT_EQ(
        tests::bytesOf(tree.path("log")), tree.path("raw") + ' ' + tree.path("a.dng") + " 2101\n");
    ::setenv("CONVERSION_RESULT", "6", 1);
    EXPECT_EQ(library->convert(tree.path("raw"), tree.path("b.dng"), form), 6);
    const auto again = ConversionLibrary::loaded();
    ASSERT_TRUE(again);
    EXPECT_EQ(again->lastResult(), 6);
}

} // namespace
} // namespace mfx
