// The shared library as a whole: what it shows, and that nothing of it stays when it is unloaded.
// This program does not link it.
#include "support/Environment.h"
#include "support/Sanitizers.h"
#include "support/TestFolder.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::Not;

std::ptrdiff_t threads()
{
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}

// What a command says; nothing when it fails.
std::string outputOf(const std::string& command)
{
    const std::unique_ptr<FILE, std::function<void(FILE*)>> pipe(
        ::popen(command.c_str(), "re"), [](FILE* file) { ::pclose(file); });
    std::string output;
    std::array<char, 4096> part;
    while (pipe && std::fgets(part.data(), part.size(), pipe.get()))
        output += part.data();
    return output;
}

bool isThere(const std::string& command)
{
    return !outputOf("command -v " + command).empty();
}

class LibraryTest : public testing::Test {
protected:
    LibraryTest()
    {
        environment.set("TEVOROTALK_PORT_DIR", folder.path("ports"));
        environment.set("HOME", folder.path());
    }

    // Loads the module, uses the bus, and unloads both.
    static void useOnce(bool inBackground)
    {
        void* const module = ::dlopen(BUS_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(module, nullptr) << ::dlerror();
        const auto use = reinterpret_cast<int (*)(const char*, bool)>(::dlsym(module, "useBus"));
        ASSERT_NE(use, nullptr);
        EXPECT_THAT(test::read("/proc/self/maps"), HasSubstr("libtevorotalk.so"));
        EXPECT_EQ(use("module-1.0", inBackground), 0);
        EXPECT_EQ(::dlclose(module), 0);
    }

    test::TestFolder folder;
    test::Environment environment;
};

} // namespace

TEST_F(LibraryTest, LeavesNothingWhenItIsUnloaded)
{
    useOnce(false); // what other libraries keep for good, they have from here on
    const std::ptrdiff_t descriptors = test::openDescriptors();
    const std::ptrdiff_t tasks = threads();
    for (int i = 0; i < 20; ++i) {
        SCOPED_TRACE(i);
        useOnce(i % 2 == 0);
        const std::string maps = test::read("/proc/self/maps");
        EXPECT_THAT(maps, Not(HasSubstr("libtevorotalk.so")));
        EXPECT_THAT(maps, Not(HasSubstr(std::filesystem::path(BUS_MODULE).filename().string())));
        EXPECT_EQ(test::openDescriptors(), descriptors);
        EXPECT_EQ(threads(), tasks);
        EXPECT_TRUE(std::filesystem::is_empty(folder.path("ports")));
    }
}

// What the compiler makes of a static object that needs code.
TEST_F(LibraryTest, HasNoInitialiserOfItsOwn)
{
    if (!isThere("nm")) {
        GTEST_SKIP() << "nm is missing";
    }
    const std::string symbols = outputOf("nm '" TEVOROTALK_LIBRARY "'");
    EXPECT_THAT(symbols, HasSubstr("TevoroTalk"));
    EXPECT_THAT(symbols, Not(HasSubstr("_GLOBAL__sub_I")));
    EXPECT_THAT(symbols, Not(HasSubstr("__cxx_global_var_init")));
}

TEST_F(LibraryTest, RunsNothingWhenItIsLoaded)
{
    if (test::kIsSanitized) {
        GTEST_SKIP() << "the sanitizers add initialisers of their own";
    }
    if (!isThere("readelf")) {
        GTEST_SKIP() << "readelf is missing";
    }
    // The compiler's own entry, and no other: 8 bytes.
    const std::string sections = outputOf("readelf -SW '" TEVOROTALK_LIBRARY "'");
    const std::regex wanted(R"(\.init_array\s+INIT_ARRAY\s+\S+\s+\S+\s+(\S+))");
    std::smatch found;
    ASSERT_TRUE(std::regex_search(sections, found, wanted)) << sections;
    EXPECT_EQ(std::stoul(found[1], nullptr, 16), 8U);
}

TEST_F(LibraryTest, ShowsNamesOfItsNamespaceOnly)
{
    if (!isThere("nm")) {
        GTEST_SKIP() << "nm is missing";
    }
    const std::string symbols = outputOf("nm -D --defined-only -C '" TEVOROTALK_LIBRARY "'");
    const std::regex line(R"([0-9a-f]+ [A-Za-z] (.*))");
    const std::regex own("((vtable|typeinfo|typeinfo name) for )?ScObjects::.*");
    std::size_t count = 0;
    for (std::sregex_iterator it(symbols.begin(), symbols.end(), line), last; it != last; ++it) {
        ++count;
        EXPECT_TRUE(std::regex_match((*it)[1].str(), own)) << (*it)[1];
    }
    EXPECT_GT(count, 100U);
}
