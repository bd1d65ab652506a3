// What an application that has no more than the shared library and its headers can do with the
// utilities. An operation that the library does not show keeps this program from being linked.
#include "messaging/Message.h"
#include "messaging/TevoroTalkUtils.h"
#include "support/Environment.h"
#include "support/TestFolder.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using namespace ScObjects;
using testing::ElementsAre;
using testing::MatchesRegex;

class PublicUtilitiesTest : public testing::Test {
protected:
    PublicUtilitiesTest()
    {
        environment.set("HOME", folder.path());
        environment.set("TEVOROTALK_LOG", "1");
    }

    SoString path(const std::string& name) const { return folder.path(name).c_str(); }

    test::TestFolder folder;
    test::Environment environment;
};

// Writes down what it walks past.
class Walk final : public TevoroTalkUtils::FileFilter {
public:
    bool onFile(const SoString& path) override
    {
        files.emplace_back(path.view());
        return FileFilter::onFile(path);
    }

    std::vector<std::string> files;
};

} // namespace

TEST_F(PublicUtilitiesTest, DigestAsTheBusDoes)
{
    folder.write(".velmo/md5", "S");
    EXPECT_STREQ(TevoroTalkUtils::getMD5("message 1402"), "617358B554EA895AE3081B7F59147A95EBD4");
}

TEST_F(PublicUtilitiesTest, SayWhoThisProcessIs)
{
    const std::string sender = "localhost:mac" + std::to_string(::getpid());
    EXPECT_STREQ(TevoroTalkUtils::getSenderID(), sender.c_str());
    EXPECT_TRUE(TevoroTalkUtils::isLoggingAskedFor());
}

TEST_F(PublicUtilitiesTest, MakeFindAndDeleteFoldersAndFiles)
{
    EXPECT_STREQ(TevoroTalkUtils::getFolderSeparator(), "/");
    EXPECT_TRUE(TevoroTalkUtils::mkdir(path("sub")));
    EXPECT_TRUE(TevoroTalkUtils::fileExists(path("sub")));
    folder.write("sub/one", "1");
    Walk walk;
    EXPECT_TRUE(TevoroTalkUtils::iterateFolder(path("sub"), walk));
    EXPECT_THAT(walk.files, ElementsAre(folder.path("sub/one")));
    EXPECT_TRUE(TevoroTalkUtils::deleteFile(path("sub/one")));
    EXPECT_TRUE(TevoroTalkUtils::rmdir(path("sub")));
    EXPECT_FALSE(TevoroTalkUtils::fileExists(path("sub")));
}

TEST_F(PublicUtilitiesTest, TellTheTime)
{
    TevoroTalkUtils::Timer timer;
    timer.start();
    TevoroTalkUtils::sleep(2);
    EXPECT_GT(timer.stop(), 0);
    const std::int64_t seconds = TevoroTalkUtils::getTimeSeconds();
    EXPECT_GE(timer.now(), static_cast<double>(seconds) * 1000);
    EXPECT_GE(TevoroTalkUtils::getUTCTimeMilliSeconds(), static_cast<double>(seconds) * 1000);
    EXPECT_THAT(TevoroTalkUtils::getTimeString(&seconds).get(), MatchesRegex("..:..:.."));
}

TEST_F(PublicUtilitiesTest, AnswerWithoutTheBus)
{
    TevoroTalkUtils::init();
    EXPECT_STREQ(TevoroTalkUtils::getLaunchMsgQueueName("a_1-2.0#x"), "a-2.0#launchparams");
    SoString parameters;
    EXPECT_FALSE(TevoroTalkUtils::getLaunchParameters("", parameters));
    TevoroTalk::Message message;
    EXPECT_FALSE(TevoroTalkUtils::forwardMessage(message, "FWDMESSAGES", "/root", "added"));
    TevoroTalkUtils::logMessage("label", message, true);
    TevoroTalkUtils::exit();
}
