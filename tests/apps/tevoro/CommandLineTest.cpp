#include "tevoro/CommandLine.h"

#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using tevoro::CommandLine;
using tevoro::ExitCode;

std::optional<CommandLine> readWords(std::initializer_list<std::string> words, ExitCode& code)
{
    std::vector<std::string> kept = {"tevoro"};
    kept.insert(kept.end(), words);
    std::vector<char*> pointers;
    for (std::string& word : kept)
        pointers.push_back(word.data());
    return tevoro::readCommandLine(static_cast<int>(pointers.size()), pointers.data(), code);
}

CommandLine read(std::initializer_list<std::string> words)
{
    auto code = ExitCode::kDone;
    const auto line = readWords(words, code);
    EXPECT_TRUE(line);
    return line.value_or(CommandLine());
}

TEST(TevoroCommandLineTest, AsksForNothingByDefault)
{
    EXPECT_EQ(read({}).name, "");
    EXPECT_FALSE(read({}).headless);
}

TEST(TevoroCommandLineTest, TakesItsOwnOptions)
{
    const CommandLine line = read({"--headless", "--as", "viewer-1.0"});
    EXPECT_TRUE(line.headless);
    EXPECT_EQ(line.name, "viewer-1.0");
}

TEST(TevoroCommandLineTest, MakesTheFolderAbsolute)
{
    EXPECT_EQ(read({}).folder, "");
    EXPECT_EQ(read({"/a/b/../c"}).folder, "/a/c");
    EXPECT_EQ(read({"pictures"}).folder, (std::filesystem::current_path() / "pictures").string());
    auto code = ExitCode::kDone;
    EXPECT_FALSE(readWords({"a", "b"}, code));
    EXPECT_EQ(code, ExitCode::kUsage);
}

TEST(TevoroCommandLineTest, TakesTheOptionsOfTheBusWhereverTheyStand)
{
    const CommandLine line =
        read({"-specifier", "viewer-1.0", "--headless", "-nostartupscreen", "-instance", "3"});
    EXPECT_TRUE(line.headless);
    EXPECT_EQ(line.name, "viewer-1.0");
    EXPECT_EQ(line.instance, "3");
}

TEST(TevoroCommandLineTest, RefusesWhatItDoesNotKnow)
{
    for (const std::string word : {"--frobnicate", "-specifier", "-instance"}) {
        auto code = ExitCode::kDone;
        EXPECT_FALSE(readWords({word}, code)) << word;
        EXPECT_EQ(code, ExitCode::kUsage) << word;
    }
}

} // namespace
