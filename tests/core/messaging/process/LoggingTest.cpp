#include "core/messaging/support/BusFixture.h"
#include "messaging/Message.h"
#include "messaging/process/TevoroTalkThread.h"

#include <map>
#include <string>
#include <vector>

namespace {

using namespace ScObjects;
using test::bytes;
using test::Inbox;
using test::InboxHandler;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class LoggingTest : public test::BusFixture {
protected:
    // A bus that logs; `log` gets what is logged.
    void startLogging()
    {
        environment.set("TEVOROTALK_LOG", "1");
        start();
        delete self->changeHandler(new InboxHandler(log, "Log"));
    }
    // Waits for the entries of the log; other ones would stand before the mark.
    Words logged(const char* mark = "the end")
    {
        TevoroTalkUtils::logText(mark);
        EXPECT_TRUE(
            pumpUntil([&] { return log.size() > 0 && log.bodies().back().ends_with(mark); }));
        Words bodies = log.bodies();
        bodies.pop_back();
        return bodies;
    }
    static std::unique_ptr<Message> example()
    {
        auto message = request("somebody-1.0", "hello", "Result");
        message->sender = "self-1.0";
        message->type = "Order";
        message->serialNumber = 12;
        message->timestamp = 1'785'000'000;
        message->timeout = 5;
        message->result = 3;
        message->setHeader("Room", "12");
        return message;
    }

    Inbox log;
};

// Keeps the headers of what is logged.
class HeaderHandler final : public TevoroTalk::MsgHandler {
public:
    explicit HeaderHandler(std::map<std::string, std::string>& headers)
        : m_headers(headers)
    {
    }
    long handleMessage(int, TevoroTalk::Message& message, SoString*) override
    {
        for (const auto* header = message.headers; header != nullptr; header = header->next)
            m_headers[bytes(header->name)] = bytes(header->value);
        return 0;
    }
    const char* getMsgType() const override { return "Log"; }

private:
    std::map<std::string, std::string>& m_headers;
};

} // namespace

TEST_F(LoggingTest, LogsOnlyWhereItWasAskedFor)
{
    for (const auto& [value, logs] :
        {std::pair("1", true), {"0", false}, {"", false}, {"11", false}}) {
        environment.set("TEVOROTALK_LOG", value);
        EXPECT_EQ(TevoroTalkUtils::isLoggingAskedFor(), logs) << value;
        start();
        EXPECT_EQ(TevoroTalk::getSharedContext()->isLogging(), logs) << value;
        TevoroTalk::InitTerm::exit();
    }
    environment.unset("TEVOROTALK_LOG");
    EXPECT_FALSE(TevoroTalkUtils::isLoggingAskedFor());
}

TEST_F(LoggingTest, DoesNothingWhileItIsOff)
{
    startLogging();
    Context& context = *TevoroTalk::getSharedContext();
    context.setLogging(false);
    const std::uint32_t before = context.nextSerialNumber();
    TevoroTalkUtils::logMessage("SEND", *example(), true);
    TevoroTalkUtils::logText("text");
    EXPECT_EQ(context.nextSerialNumber(), before);
    EXPECT_FALSE(context.isLogging());
    context.setLogging(true);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoggingTest, DoesNothingWithoutTheBus)
{
    TevoroTalkUtils::logText("text");
    TevoroTalkUtils::logMessage(nullptr, *example(), true);
    EXPECT_EQ(TevoroTalk::getSharedContext(), nullptr);
}

TEST_F(LoggingTest, HasTheFirstLineOnlyForAnEmptyText)
{
    startLogging();
    TevoroTalkUtils::logText("");
    TevoroTalkUtils::logText("two\nlines");
    EXPECT_THAT(logged(),
        ElementsAre("QK LOG ------------------\n", "QK LOG ------------------\ntwo\nlines"));
    EXPECT_EQ(log.at(0).reason, TevoroTalk::MsgHandler::kLog);
    EXPECT_EQ(log.at(0).type, "Log");
    EXPECT_EQ(log.at(0).sender, "self-1.0");
    EXPECT_EQ(log.at(0).target, "self-1.0");
}

TEST_F(LoggingTest, DescribesAMessageWithOrWithoutItsBody)
{
    startLogging();
    const auto message = example();
    SoString with, without;
    TevoroTalkUtils::logMessage("SEND", *message, true);
    TevoroTalkUtils::logMessage("SEND", *message, false);
    message->logToString("SEND", with, true);
    message->logToString("SEND", without, false);
    const Words bodies = logged();
    ASSERT_EQ(bodies.size(), 2U);
    // The moment of logging is the one thing that differs.
    const auto timeless = [](const std::string& text) { return test::without(text, "Now"); };
    EXPECT_EQ(timeless(bodies[0]), timeless(bytes(with)));
    EXPECT_EQ(timeless(bodies[1]), timeless(bytes(without)));
    EXPECT_THAT(bodies[1], HasSubstr("<<BODY OMITTED>>"));
}

TEST_F(LoggingTest, TellsTheFieldsOfTheMessageInHeaders)
{
    startLogging();
    std::map<std::string, std::string> headers;
    delete self->changeHandler(new HeaderHandler(headers));
    TevoroTalkUtils::logMessage("SEND", *example(), true);
    EXPECT_TRUE(pumpUntil([&] { return !headers.empty(); }));
    const std::map<std::string, std::string> expected = {{"Reason", "SEND"},
        {"Target", "somebody-1.0"},
        {"Sender", "self-1.0"},
        {"Type", "Order"},
        {"Serial Number", "12"},
        {"Timestamp", "1785000000"},
        {"Timeout", "5"},
        {"Result", "3"},
        {"Header_Room", "12"}};
    for (const auto& [name, value] : expected)
        EXPECT_EQ(headers[name], value) << name;
    EXPECT_EQ(headers.count("Received"), 0U);
    EXPECT_EQ(headers.count("Error"), 0U);
}

TEST_F(LoggingTest, MayLogWithoutAReason)
{
    startLogging();
    std::map<std::string, std::string> headers;
    delete self->changeHandler(new HeaderHandler(headers));
    TevoroTalkUtils::logMessage(nullptr, *example(), true);
    EXPECT_TRUE(pumpUntil([&] { return !headers.empty(); }));
    EXPECT_EQ(headers.count("Reason"), 0U);
    EXPECT_EQ(headers["Type"], "Order");
}

TEST_F(LoggingTest, LeavesOutTheLogItselfAndEmptyScripts)
{
    startLogging();
    const auto entry = example();
    entry->type = "Log";
    TevoroTalkUtils::logMessage("SEND", *entry, true);
    const auto script = request("somebody-1.0", "");
    script->type = "Quillscriber";
    TevoroTalkUtils::logMessage("SEND", *script, true);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoggingTest, GivesEachEntryANumberAndGoesOnLogging)
{
    startLogging();
    Context& context = *TevoroTalk::getSharedContext();
    const std::uint32_t before = context.nextSerialNumber();
    TevoroTalkUtils::logText("one");
    TevoroTalkUtils::logText("two");
    EXPECT_EQ(context.nextSerialNumber(), before + 2);
    EXPECT_TRUE(context.isLogging());
    EXPECT_EQ(logged().size(), 2U);
    EXPECT_EQ(log.at(0).serialNumber, before);
}

TEST_F(LoggingTest, LogsNothingWithoutAMainInstance)
{
    environment.set("TEVOROTALK_LOG", "1");
    TevoroTalk::InitTerm::init("self-1.0", true);
    ASSERT_TRUE(TevoroTalk::getSharedContext()->isLogging());
    const std::uint32_t before = TevoroTalk::getSharedContext()->nextSerialNumber();
    TevoroTalkUtils::logText("text");
    EXPECT_EQ(TevoroTalk::getSharedContext()->nextSerialNumber(), before);
}

TEST_F(LoggingTest, ForwardsWhatIsLoggedUnderItsReason)
{
    startLogging();
    Inbox forwarded;
    delete self->changeHandler(new InboxHandler(forwarded, "FWDLOGS"));
    TevoroTalkUtils::logMessage("SEND", *example(), true);
    ASSERT_EQ(forwarded.size(), 1U);
    EXPECT_TRUE(forwarded.at(0).body.starts_with("/log/self-1.0/msg12;1;msg[00000012];"));
    EXPECT_TRUE(forwarded.at(0).body.ends_with("];SEND;\n"));
}
