#include "core/messaging/support/MessageWireFixture.h"
#include "messaging/Message.h"

#include <cctype>
#include <string>

namespace {

using namespace ScObjects;
using test::bytes;

class MessageDigestTest : public test::MessageWireFixture { };

} // namespace

TEST_F(MessageDigestTest, WritesADigestOfAllThatFollowsIt)
{
    Message message;
    address(message);
    message.body = test::soString(std::string_view("bo\0dy", 5));
    const std::string text = written(message);
    const std::string rest = text.substr(text.find('\n') + 1);
    EXPECT_TRUE(rest.starts_with("@QK>Version:2.05\n"));
    EXPECT_EQ(text, withDigest(rest));
}

TEST_F(MessageDigestTest, WritesNoDigestWhenThatIsOff)
{
    Message::setCreateDigest(false);
    Message message;
    address(message);
    EXPECT_TRUE(written(message).starts_with("@QK>Version:"));
    EXPECT_FALSE(test::readMessage(written(message)).message->isRejected());
}

TEST_F(MessageDigestTest, AcceptsTheRightDigest)
{
    const std::string text = withDigest(std::string(test::kHead) + "Content-Length:4\n\nbody");
    EXPECT_FALSE(test::readMessage(text).message->isRejected());
    EXPECT_EQ(test::readMessage(text).what(),
        "version=2.05 target=t sender=s type=Quillscriber body=body");
    EXPECT_FALSE(test::readMessage(text + "\n\n" + text).message->isRejected());
}

TEST_F(MessageDigestTest, RejectsAChangeAtAnyByte)
{
    const std::string text = withDigest(std::string(test::kHead) + "Content-Length:4\n\nbody");
    for (std::size_t at = text.find(':') + 1; at < text.size(); ++at) {
        std::string changed = text;
        changed[at] ^= 1;
        const test::ReadMessage result = test::readMessage(changed);
        const Message& message = *result.message;
        EXPECT_TRUE(message.isRejected()) << "byte " << at;
        EXPECT_EQ(bytes(message.digestStatus), "REJECTED") << "byte " << at;
    }
}

TEST_F(MessageDigestTest, ReadsARejectedMessageWhole)
{
    EXPECT_EQ(
        test::readMessage("@QK>MD5:ABC\n" + std::string(test::kHead) + "Content-Length:4\n\nbody")
            .what(),
        "version=2.05 target=t sender=s type=Quillscriber body=body");
}

TEST_F(MessageDigestTest, RejectsTheDigestOfAnotherUser)
{
    const std::string text = withDigest(std::string(test::kHead) + "\n");
    setSalt("0123456789ABCDE");
    EXPECT_TRUE(test::readMessage(text).message->isRejected());
}

TEST_F(MessageDigestTest, RejectsADigestInSmallLetters)
{
    std::string text = withDigest(std::string(test::kHead) + "\n");
    const std::size_t start = text.find(':');
    const std::size_t end = text.find('\n');
    for (std::size_t i = start; i < end; ++i)
        text[i] = static_cast<char>(std::tolower(text[i]));
    EXPECT_TRUE(test::readMessage(text).message->isRejected());
}

TEST_F(MessageDigestTest, AcceptsAMessageWithoutADigest)
{
    const test::ReadMessage result = test::readMessage(std::string(test::kHead) + "\n");
    const Message& message = *result.message;
    EXPECT_FALSE(message.isRejected());
    EXPECT_TRUE(message.digestStatus.isEmpty());
}

TEST_F(MessageDigestTest, LooksAtNoDigestWhenAuthenticationIsOff)
{
    Message::setAuthentication(false);
    for (const std::string& text : {withDigest(std::string(test::kHead) + "\n"),
             "@QK>MD5:ABC\n" + std::string(test::kHead) + "\n",
             std::string(test::kHead) + "\n"}) {
        const test::ReadMessage result = test::readMessage(text);
        const Message& message = *result.message;
        EXPECT_EQ(bytes(message.digestStatus), "NODIGEST");
        EXPECT_TRUE(message.isRejected());
    }
}

TEST_F(MessageDigestTest, DigestsWhatFollowsTheLastDigestLine)
{
    const std::string rest = std::string(test::kHead) + "\n";
    const std::string digested = withDigest(rest);
    EXPECT_FALSE(test::readMessage("Name:1\n" + digested).message->isRejected());
    EXPECT_FALSE(test::readMessage("@QK>MD5:ABC\n" + digested).message->isRejected());
    EXPECT_TRUE(test::readMessage(digested.substr(0, digested.size() - 1) + "@QK>MD5:ABC\n\n")
                    .message->isRejected());
}

TEST_F(MessageDigestTest, AcceptsADigestOfTheOtherKindUnseen)
{
    const std::string rest = std::string(test::kHead) + "\n";
    EXPECT_FALSE(test::readMessage("@QK>Digest:any\n" + rest).message->isRejected());
    EXPECT_FALSE(test::readMessage("@QK>Digest:any\n@QK>MD5:ABC\n" + rest).message->isRejected());
    EXPECT_TRUE(test::readMessage("@QK>MD5:ABC\n@QK>Digest:any\n" + rest).message->isRejected());
    const std::string md5 = withDigest(rest).substr(0, withDigest(rest).find('\n') + 1);
    EXPECT_FALSE(test::readMessage(md5 + "@QK>Digest:any\n" + rest).message->isRejected());
}

TEST_F(MessageDigestTest, PassesOverADigestBehindOneOfTheOtherKind)
{
    const std::string text = withDigest("@QK>MD5:any\n" + std::string(test::kHead) + "\n");
    const std::size_t second = text.find('\n') + 1;
    EXPECT_FALSE(
        test::readMessage(text.substr(0, second) + "@QK>Digest:any\n" + text.substr(second))
            .message->isRejected());
}
