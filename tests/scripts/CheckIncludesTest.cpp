// scripts/check-includes: each kind of include that it is there to refuse, in a tree that has no
// other one; and the tree that we ship.

#include "scripts/ScriptTree.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace {

using test::ScriptTree;
using testing::HasSubstr;

class CheckIncludesTest : public testing::Test {
protected:
    CheckIncludesTest()
    {
        m_tree.addScript("check-includes");
        for (const char* header : {"core/platform/common/text/PtUcs.h",
                 "core/messaging/SoHeap.h",
                 "core/messaging/Message.h",
                 "core/messaging/TevoroTalkContext.h",
                 "core/messaging/wire/Identity.h",
                 "core/messaging/mailbox/MessageQueue.h",
                 "core/messaging/process/TevoroTalkThread.h",
                 "core/dialogs/PtMessageBox.h",
                 "apps/commandline/Output.h",
                 "apps/mfx/texts/Texts.h",
                 "apps/mfx/engine/card/CardScan.h",
                 "apps/mfx/engine/dates/CaptureDate.h",
                 "apps/mfx/engine/run/Download.h",
                 "apps/mfx/cli/Places.h"})
            m_tree.write(header, "#pragma once\n");
        m_tree.write("modules/preference_xml_parser/Base64.cpp", "#include <string>\n");
    }

    test::ScriptEnd check(const std::string& file, const std::string& include)
    {
        m_tree.write(file, "#include " + include + "\n");
        const test::ScriptEnd end = m_tree.run("check-includes");
        m_tree.write(file, "");
        return end;
    }

    ScriptTree m_tree;
};

TEST_F(CheckIncludesTest, LetsARoomKnowWhatLiesBelowIt)
{
    const std::vector<std::pair<std::string, std::string>> rows{
        {"core/messaging/process/Ping.cpp", "messaging/mailbox/MessageQueue.h"},
        {"core/messaging/process/Ping.cpp", "messaging/TevoroTalkContext.h"},
        {"core/messaging/mailbox/PrivateData.cpp", "messaging/Message.h"},
        {"core/messaging/wire/Message.cpp", "messaging/SoHeap.h"},
        {"core/messaging/runtime/SoHeap.cpp", "platform/common/text/PtUcs.h"},
        {"core/messaging/mailbox/TevoroTalk.cpp", "messaging/process/TevoroTalkThread.h"},
        {"apps/mfx/engine/run/Download.cpp", "mfx/engine/dates/CaptureDate.h"},
        {"apps/mfx/engine/card/CardScan.cpp", "mfx/texts/Texts.h"},
        {"apps/mfx/cli/main.cpp", "mfx/engine/run/Download.h"},
        {"apps/mfx/cli/main.cpp", "commandline/Output.h"}};
    for (const auto& [file, header] : rows) {
        const test::ScriptEnd end = check(file, '"' + header + '"');
        EXPECT_EQ(end.code, 0) << file << ' ' << header << '\n' << end.err;
    }
}

TEST_F(CheckIncludesTest, RefusesWhatLiesAboveOrBesideIt)
{
    const std::vector<std::pair<std::string, std::string>> rows{
        {"core/messaging/mailbox/MessageQueue.cpp", "messaging/TevoroTalkContext.h"},
        {"core/messaging/wire/Message.cpp", "messaging/mailbox/MessageQueue.h"},
        {"core/messaging/runtime/SoHeap.cpp", "messaging/wire/Identity.h"},
        {"core/messaging/runtime/SoHeap.cpp", "messaging/Message.h"},
        {"core/messaging/SoHeap.h", "messaging/Message.h"},
        {"core/messaging/process/Ping.cpp", "dialogs/PtMessageBox.h"},
        {"core/platform/common/text/PtUcs.cpp", "messaging/SoHeap.h"},
        {"apps/mfx/engine/dates/CaptureDate.cpp", "mfx/engine/card/CardScan.h"},
        {"apps/mfx/engine/card/CardScan.cpp", "mfx/engine/run/Download.h"},
        {"apps/mfx/engine/run/Download.cpp", "mfx/cli/Places.h"},
        {"apps/mfx/engine/run/Download.cpp", "commandline/Output.h"},
        {"apps/mfx/texts/Texts.cpp", "mfx/engine/card/CardScan.h"}};
    for (const auto& [file, header] : rows) {
        const test::ScriptEnd end = check(file, '"' + header + '"');
        EXPECT_EQ(end.code, 1) << file << ' ' << header;
        EXPECT_THAT(end.err, HasSubstr(file + " includes " + header));
    }
}

TEST_F(CheckIncludesTest, KeepsQtAndTheSystemInTheirRooms)
{
    EXPECT_EQ(check("core/dialogs/PtMessageBox.cpp", "<QLabel>").code, 0);
    EXPECT_EQ(check("core/platform/platforms/linux/files/A.cpp", "<sys/stat.h>").code, 0);
    for (const auto& [file, header] : std::vector<std::pair<std::string, std::string>>{
             {"core/messaging/wire/Message.cpp", "<QString>"},
             {"core/TevoroAppManager/contract/FxRef.h", "<QString>"},
             {"apps/mfx/engine/run/Download.cpp", "<QString>"},
             {"apps/mfx/engine/run/Download.cpp", "<unistd.h>"},
             {"core/platform/common/text/PtUcs.cpp", "<sys/stat.h>"}}) {
        const test::ScriptEnd end = check(file, header);
        EXPECT_EQ(end.code, 1) << file << ' ' << header;
        EXPECT_THAT(end.err, HasSubstr(file + " includes " + header));
    }
}

TEST_F(CheckIncludesTest, RefusesCallsOfTheSystemOutsideItsRoom)
{
    const auto checkLine = [this](const std::string& file, const std::string& line) {
        m_tree.write(file, "#include <cstdlib>\n" + line + "\n");
        const test::ScriptEnd end = m_tree.run("check-includes");
        m_tree.write(file, "");
        return end;
    };
    const std::string file = "apps/mfx/engine/run/Download.cpp";
    for (const char* line : {"int n = ::getpid();",
             "auto* home = std::getenv(\"HOME\");",
             "::setenv(\"A\", \"b\", 1);",
             "localtime_r(&now, &parts);",
             "return strerror(errno);",
             "if (::strnlen(text, 5) > 4)"}) {
        const test::ScriptEnd end = checkLine(file, line);
        EXPECT_EQ(end.code, 1) << line;
        EXPECT_THAT(end.err, HasSubstr(file + ":2 calls ")) << line;
        EXPECT_EQ(checkLine("core/platform/platforms/linux/files/A.cpp", line).code, 0) << line;
    }
    for (const char* line : {"Pt::localTime(now);",
             "std::filesystem::remove(path);",
             "Thread::sleep(5);",
             "// ::unlink(path) would follow",
             "say(\"call ::getpid() or getenv() yourself\");"})
        EXPECT_EQ(checkLine(file, line).code, 0) << line;
}

TEST_F(CheckIncludesTest, RefusesAHeaderThatIsNotThere)
{
    EXPECT_EQ(check("core/messaging/wire/Message.cpp", "\"messaging/Gone.h\"").code, 1);
}

TEST_F(CheckIncludesTest, AsksForTheFloorOfANewPublicHeader)
{
    m_tree.write("core/messaging/NewHeader.h", "#include \"messaging/SoHeap.h\"\n");
    const test::ScriptEnd end = m_tree.run("check-includes");
    EXPECT_EQ(end.code, 1);
    EXPECT_THAT(end.err, HasSubstr("needs a floor"));
}

TEST(ShippedTreeTest, IncludesDownwardsOnly)
{
    const test::TestFolder folder;
    const test::ScriptEnd end =
        test::runIn(folder, "'" TEVORO_SOURCE_DIR "/scripts/check-includes'");
    EXPECT_EQ(end.code, 0) << end.err;
}

} // namespace
