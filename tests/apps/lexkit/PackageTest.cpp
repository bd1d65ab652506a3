// The example of docs/dictionaries.md: built against the installed package, and run.

#include "apps/lexkit/LexkitRun.h"
#include "core/strings/lexkit/DictionaryTexts.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

constexpr char kExample[] = TEVORO_SOURCE_DIR "/docs/examples/texts";

class PackageTest : public lexkit_test::LexkitRun {
protected:
    // The words of a shell in the test's own folder; what it printed. Empty when it failed.
    std::string shell(const std::string& words)
    {
        const std::string command = "cd '" + path("") + "' && " + words + " >log.txt 2>&1";
        const int status = std::system(command.c_str()); // NOLINT(cert-env33-c): a test's own words
        EXPECT_EQ(status, 0) << words << '\n' << read("log.txt");
        return read("log.txt");
    }
};

TEST_F(PackageTest, BuildsAndRunsTheExample)
{
    shell("'" CMAKE_PROGRAM "' --install '" BUILD_FOLDER "' --component lexkit --prefix installed");
    shell("'" CMAKE_PROGRAM "' -S '" + std::string(kExample)
        + "' -B build -G Ninja -DCMAKE_PREFIX_PATH=\"$PWD/installed\""
          " '-DCMAKE_CXX_COMPILER=" COMPILER "' '-DCMAKE_CXX_FLAGS=" COMPILER_FLAGS "'");
    shell("'" CMAKE_PROGRAM "' --build build");
    EXPECT_EQ(shell("build/texts"), "Cancel\n12 photos are left\n");
    write("german.dct", lexkit_test::utf16File(u"\"/App/Left=Noch ^1 \u00FCbrig\"\n"));
    EXPECT_EQ(shell("build/texts german.dct"), "Cancel\nNoch 12 \u00FCbrig\n");
}

TEST_F(PackageTest, ShowsTheExampleOnThePageAsItIs)
{
    const std::string page = test::read(TEVORO_SOURCE_DIR "/docs/dictionaries.md");
    for (const std::string file : {"/texts.cpp", "/CMakeLists.txt"})
        EXPECT_THAT(page, HasSubstr(test::read(kExample + file)));
}

} // namespace
