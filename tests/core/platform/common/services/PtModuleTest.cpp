#include "platform/common/services/PtModule.h"

#include "core/platform/WideLiteral.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

// Each test has copies of its own: a module is known by its file, and loaded once in a process.
class PtModuleTest : public testing::Test {
protected:
    std::string asFile(const std::string& module) const
    {
        fs::copy_file(module, m_folder.path("module.so"));
        return m_folder.path("module.so");
    }
    std::string asBundle(const std::string& module) const
    {
        fs::create_directory(m_folder.path("Name.framework"));
        fs::copy_file(module, m_folder.path("Name.framework/Name.so"));
        return m_folder.path("Name.framework");
    }
    static PtModuleRef load(const std::string& path)
    {
        return PtLoadLibrary(test::wide(path).c_str());
    }
    static bool isLoaded(const std::string& path)
    {
        const PtModuleRef module = PtGetModuleHandle(test::wide(path).c_str());
        PtReleaseModuleRef(module);
        return module != nullptr;
    }
    static int answer(PtModuleRef module)
    {
        auto* const function = reinterpret_cast<int (*)()>(PtGetProcAddress(module, "answer"));
        return function ? function() : -1;
    }

    test::TestFolder m_folder;
};

} // namespace

TEST_F(PtModuleTest, FindsAFunctionOfAPlainFile)
{
    const PtModuleRef module = load(asFile(TEST_GOOD_MODULE));
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(answer(module), 42);
    EXPECT_TRUE(PtUnloadLibrary(module));
}

TEST_F(PtModuleTest, FindsAFunctionOfABundle)
{
    const std::string path = asBundle(TEST_GOOD_MODULE);
    for (const std::string& each : {path, path + "/"}) {
        const PtModuleRef module = load(each);
        EXPECT_EQ(answer(module), 42) << each;
        PtUnloadLibrary(module);
    }
}

TEST_F(PtModuleTest, LoadsByAPathRelativeToTheWorkingFolder)
{
    asFile(TEST_GOOD_MODULE);
    const fs::path before = fs::current_path();
    fs::current_path(m_folder.path());
    const PtModuleRef module = load("module.so");
    fs::current_path(before);
    EXPECT_EQ(answer(module), 42);
    PtUnloadLibrary(module);
}

TEST_F(PtModuleTest, DoesNotSearchTheSystemsLibraryFolders)
{
    EXPECT_EQ(load("libc.so.6"), nullptr);
}

TEST_F(PtModuleTest, GivesNothingForAMissingExport)
{
    const PtModuleRef module = load(asFile(TEST_BARE_MODULE));
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(PtGetProcAddress(module, "answer"), nullptr);
    EXPECT_EQ(PtGetProcAddress(module, "hidden"), nullptr);
    PtUnloadLibrary(module);
}

TEST_F(PtModuleTest, RefusesAModuleThatMissesASymbol)
{
    EXPECT_EQ(load(asBundle(TEST_INCOMPLETE_MODULE)), nullptr);
}

TEST_F(PtModuleTest, RefusesWhatIsNoModule)
{
    EXPECT_EQ(load(m_folder.path("none")), nullptr);
    EXPECT_EQ(load(m_folder.write("text.so", "not a module")), nullptr);
    EXPECT_EQ(load(m_folder.write("empty.so", "")), nullptr);
    EXPECT_EQ(load(m_folder.write("Text.framework/Text.so", "not a module")), nullptr);
    EXPECT_EQ(PtLoadLibrary(nullptr), nullptr);
}

TEST_F(PtModuleTest, RefusesAModuleWithGarbageInIt)
{
    std::string bytes = test::read(TEST_GOOD_MODULE);
    ASSERT_GT(bytes.size(), 64u);
    EXPECT_EQ(load(m_folder.write("cut.so", bytes.substr(0, 64))), nullptr);
    bytes.replace(4, 60, 60, '\xA5');
    EXPECT_EQ(load(m_folder.write("garbage.so", bytes)), nullptr);
}

TEST_F(PtModuleTest, RefusesAFolderWithoutTheModule)
{
    fs::create_directory(m_folder.path("Empty.framework"));
    EXPECT_EQ(load(m_folder.path("Empty.framework")), nullptr);
    m_folder.write("Other.framework/Name.so", test::read(TEST_GOOD_MODULE));
    EXPECT_EQ(load(m_folder.path("Other.framework")), nullptr);
    fs::create_directories(m_folder.path("Folder.framework/Folder.so"));
    EXPECT_EQ(load(m_folder.path("Folder.framework")), nullptr);
}

TEST_F(PtModuleTest, MakesAReferenceWithoutLoading)
{
    const std::string path = asBundle(TEST_GOOD_MODULE);
    const PtModuleRef module = PtCreateBundle(test::wide(path).c_str());
    ASSERT_NE(module, nullptr);
    EXPECT_FALSE(isLoaded(path));
    EXPECT_EQ(PtGetProcAddress(module, "answer"), nullptr);
    PtReleaseModuleRef(module);
    EXPECT_EQ(PtCreateBundle(test::wide(m_folder.path("none")).c_str()), nullptr);
}

TEST_F(PtModuleTest, GivesTheHandleOnlyWhileTheModuleIsLoaded)
{
    const std::string path = asBundle(TEST_GOOD_MODULE);
    EXPECT_FALSE(isLoaded(path));
    const PtModuleRef module = load(path);
    EXPECT_TRUE(isLoaded(path));
    PtUnloadLibrary(module);
    EXPECT_FALSE(isLoaded(path));
}

TEST_F(PtModuleTest, KeepsTheModuleLoadedForTheOtherReference)
{
    const std::string path = asBundle(TEST_GOOD_MODULE);
    const PtModuleRef first = load(path);
    const PtModuleRef second = PtGetModuleHandle(test::wide(path).c_str());
    PtUnloadLibrary(first);
    EXPECT_EQ(answer(second), 42);
    PtUnloadLibrary(second);
    EXPECT_FALSE(isLoaded(path));
}

TEST_F(PtModuleTest, LeavesFunctionsCallableWhenTheReferenceIsReleased)
{
    const PtModuleRef module = load(asBundle(TEST_GOOD_MODULE));
    auto* const function = reinterpret_cast<int (*)()>(PtGetProcAddress(module, "answer"));
    ASSERT_NE(function, nullptr);
    PtReleaseModuleRef(module);
    EXPECT_EQ(function(), 42);
}

TEST_F(PtModuleTest, TakesNullEverywhere)
{
    EXPECT_TRUE(PtUnloadLibrary(nullptr));
    PtReleaseModuleRef(nullptr);
    EXPECT_EQ(PtGetProcAddress(nullptr, "answer"), nullptr);
    EXPECT_EQ(PtGetModuleHandle(nullptr), nullptr);
    const PtModuleRef module = load(asFile(TEST_GOOD_MODULE));
    EXPECT_EQ(PtGetProcAddress(module, nullptr), nullptr);
    PtUnloadLibrary(module);
}
