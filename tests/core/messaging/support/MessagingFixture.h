#pragma once

#include "messaging/TevoroTalk.h"
#include "messaging/mailbox/InterAppStream.h"
#include "messaging/wire/Identity.h"
#include "messaging/wire/MessageGlobals.h"
#include "registry/TevoroTalkConnector.h"
#include "support/Environment.h"
#include "support/TestFolder.h"

#include <chrono>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

namespace test {

inline std::string bytes(const ScObjects::SoString& text)
{
    return std::string(text.view());
}

// A whole text of any bytes, NULs too.
inline ScObjects::SoString soString(std::string_view text)
{
    return ScObjects::SoString(text);
}

// What a process has of the bus, as it is before anything was started: a folder of ports, a home
// and a locale of its own for each test. All of it is gone at the end, with every descriptor.
class MessagingFixture : public testing::Test {
protected:
    static constexpr std::chrono::milliseconds kPatience{10000};

    MessagingFixture()
    {
        environment.set("TEVOROTALK_PORT_DIR", folder.path("ports"));
        environment.set("HOME", folder.path("home"));
        std::filesystem::create_directory(folder.path("home"));
        for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
            environment.unset(name);
        forgetAll();
        ScObjects::TevoroTalkConnector::InitTerm::init("");
    }
    ~MessagingFixture() override
    {
        ScObjects::TevoroTalk::InitTerm::exit();
        ScObjects::InterAppStream::InitTerm::exit();
        ScObjects::TevoroTalkConnector::InitTerm::exit();
        forgetAll();
        EXPECT_EQ(openDescriptors(), descriptorsBefore);
    }

    void setSalt(const std::string& salt) const
    {
        folder.write("home/.velmo/md5", salt);
        ScObjects::TevoroTalkData::forgetIdentity();
    }

    // All that a stream of this process gets in the next time, until there are `count` bytes.
    static std::string received(ScObjects::InterAppStream& stream, std::size_t count)
    {
        std::string text;
        while (text.size() < count && isReadable(stream)) {
            while (stream.messagePending() && stream.receive()) { }
            text += bytes(stream.getMessages());
        }
        return text;
    }

    const std::ptrdiff_t descriptorsBefore = openDescriptors();
    TestFolder folder;
    Environment environment;

private:
    static void forgetAll()
    {
        ScObjects::TevoroTalkData::MessageGlobals::exit();
        ScObjects::TevoroTalkData::forgetIdentity();
    }

    static bool isReadable(const ScObjects::InterAppStream& stream)
    {
        pollfd question = {stream.waitDescriptor(), POLLIN, 0};
        return stream.messagePending()
            || ::poll(&question, 1, static_cast<int>(kPatience.count())) == 1;
    }
};

} // namespace test
