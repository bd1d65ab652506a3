// The example of docs/bus.md: built against the installed package, and run.
#include "apps/tevorotalk/BusFixture.h"
#include "platform/common/services/ProcessControl.h"

#include <csignal>
#include <cstdlib>

namespace test {
namespace {

using testing::HasSubstr;

class BusExampleTest : public BusFixture {
protected:
    const std::string example = TEVORO_SOURCE_DIR "/docs/examples/echo";

    void succeeds(const std::vector<std::string>& words)
    {
        PeerProcess process(words);
        process.endInput();
        const std::string out = process.rest();
        const std::string errors = process.errors();
        ASSERT_EQ(process.finish(), 0) << out << errors;
    }

    void install()
    {
        succeeds({CMAKE_PROGRAM,
            "--install",
            BUILD_FOLDER,
            "--component",
            "tevorotalk",
            "--prefix",
            folder.path("installed")});
    }
};

TEST_F(BusExampleTest, IsBuiltAndRunsWithTheInstalledPackage)
{
    install();
    succeeds({CMAKE_PROGRAM,
        "-S",
        example,
        "-B",
        folder.path("build"),
        "-G",
        "Ninja",
        "-DCMAKE_PREFIX_PATH=" + folder.path("installed"),
        "-DCMAKE_CXX_COMPILER=" COMPILER,
        "-DCMAKE_CXX_FLAGS=" COMPILER_FLAGS});
    succeeds({CMAKE_PROGRAM, "--build", folder.path("build")});

    PeerProcess echo({folder.path("build/echo")});
    EXPECT_EQ(echo.line(), "on the bus as echo-1.0");
    const CommandResult result = run({"send", "echo-1.0", "hello", "--wait", "20"});
    EXPECT_EQ(result.out, "you said hello\n");
    echo.kill();

    // Installed, it is registered, and a message starts it.
    environment.set("PATH",
        std::filesystem::path(VELMO_CAPS).parent_path().string() + ":" + std::getenv("PATH"));
    succeeds({CMAKE_PROGRAM, "--install", folder.path("build"), "--prefix", folder.path("prefix")});
    EXPECT_EQ(run({"apps"}).out, "echo-1.0\tnot running\t" + folder.path("prefix/bin/echo") + "\n");
    EXPECT_EQ(run({"send", "echo", "hello", "--launch", "--wait", "20"}).out, "you said hello\n");
    for (const unsigned long id : Pt::processesOfProgram(folder.path("prefix/bin/echo")))
        ::kill(static_cast<pid_t>(id), SIGKILL);
}

TEST_F(BusExampleTest, StandsOnThePageAsItIs)
{
    EXPECT_THAT(read(TEVORO_SOURCE_DIR "/docs/bus.md"), HasSubstr(read(example + "/echo.cpp")));
    EXPECT_THAT(
        read(TEVORO_SOURCE_DIR "/docs/bus.md"), HasSubstr(read(example + "/CMakeLists.txt")));
}

TEST_F(BusExampleTest, InstallsEveryHeaderThatItsHeadersNeed)
{
    install();
    for (const auto& entry : std::filesystem::recursive_directory_iterator(
             folder.path("installed/include/tevorotalk"))) {
        if (!entry.is_regular_file())
            continue;
        succeeds({COMPILER,
            "-std=c++20",
            "-fsyntax-only",
            "-x",
            "c++",
            "-I" + folder.path("installed/include/tevorotalk"),
            entry.path().string()});
    }
}

} // namespace
} // namespace test
