#include "core/messaging/support/PingFixture.h"
#include "core/registry/support/ListedConnector.h"

namespace {

using ScObjects::QKConnectorAppInfo;
using ScObjects::SoString;
using test::bytes;
using test::ListedConnector;
using test::record;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class ConnectorDiagnosticsTest : public test::PingFixture {
protected:
    static std::string diagnostics()
    {
        SoString out;
        ScObjects::TevoroTalkConnector::get()->appendDiagnostics(out, "/p");
        return bytes(out);
    }
    static QKConnectorAppInfo full()
    {
        QKConnectorAppInfo info = record("full-1.0", "/opt/full");
        info.displayName = "Full";
        info.bundleIdentifier = "id";
        info.supportsQSDT = true;
        info.messageAuthentication = false;
        info.messageDigest = false;
        info.executableBasename = "base";
        return info;
    }
};

} // namespace

TEST_F(ConnectorDiagnosticsTest, TellOfApplicationsThatDoNotRun)
{
    start();
    ListedConnector::set(
        new ListedConnector({full(), record("plain-1.0", "plain")}, {"nx/3/full-1.0"}));
    EXPECT_EQ(diagnostics(),
        "/p/targets;1;Targets;2;\n"
        "/p/targets/connector;0;Connector;listed;\n"
        "/p/targets/installed;1;Installed;0;\n"
        "/p/targets/running;1;Running;0;\n"
        "/p/targets/installed/full-1.0;1;full-1.0;;\n"
        "/p/targets/installed/full-1.0/group;0;Group;nx;\n"
        "/p/targets/installed/full-1.0/path;0;Path;/opt/full;\n"
        "/p/targets/installed/full-1.0/displayname;0;Display Name;Full;\n"
        "/p/targets/installed/full-1.0/authentication;0;MsgAuthentication;OFF;\n"
        "/p/targets/installed/full-1.0/digest;0;MsgDigest;OFF;\n"
        "/p/targets/installed/full-1.0/qsdt;0;QSDT;ON;\n"
        "/p/targets/installed/full-1.0/bundleid;0;BundleID;id;\n"
        "/p/targets/installed/full-1.0/status;0;Status;(not running);\n"
        "/p/targets/installed/full-1.0/exename;0;ExeName;base.app;\n"
        "/p/targets/installed/plain-1.0;1;plain-1.0;;\n"
        "/p/targets/installed/plain-1.0/path;0;Path;plain;\n"
        "/p/targets/installed/plain-1.0/authentication;0;MsgAuthentication;ON;\n"
        "/p/targets/installed/plain-1.0/digest;0;MsgDigest;ON;\n"
        "/p/targets/installed/plain-1.0/qsdt;0;QSDT;OFF;\n"
        "/p/targets/installed/plain-1.0/status;0;Status;(not running);\n"
        "/p/targets/installed;1;Installed;2;\n"
        "/p/targets/running;1;Running;0;\n"
        "/p/targets/groups;1;Groups;1;\n"
        "/p/targets/groups/nx3;1;nx3;;full-1.0;\n"
        "/p/targets/groups/nx3/full-1.0;0;full-1.0;;\n");
}

TEST_F(ConnectorDiagnosticsTest, KeepNamesOfTheStoreFromForgingLines)
{
    start();
    QKConnectorAppInfo info = record("a;0;b\n/p;1;c-1.0", "/opt/a;x\n/forged;0;Line;y\x7f;");
    info.displayName = "tab\there;rest";
    ListedConnector::set(new ListedConnector({info}, {"nx/3/z;0;y"}));
    const std::string told = diagnostics();
    const std::string node = "/p/targets/installed/a?0?b?/p?1?c-1.0";
    EXPECT_THAT(told,
        AllOf(HasSubstr("\n" + node + ";1;a?0?b?/p?1?c-1.0;;\n"),
            HasSubstr("\n" + node + "/path;0;Path;/opt/a;x?/forged;0;Line;y?;;\n"),
            HasSubstr("\n" + node + "/displayname;0;Display Name;tab?here;rest;\n"),
            HasSubstr("/p/targets/groups/nx3/z?0?y;0;z?0?y;;\n"),
            Not(HasSubstr("\n/forged")),
            Not(HasSubstr("\n/p;"))));
}

TEST_F(ConnectorDiagnosticsTest, TellOfGroupsByGeneration)
{
    start();
    ListedConnector::install({}, {"nx/3/a-1.0", "nx/3/b-1.0", "nx/4/a-1.0", "nx/3/c-1.0", "odd"});
    EXPECT_THAT(diagnostics(),
        HasSubstr("/p/targets/groups;1;Groups;5;\n"
                  "/p/targets/groups/nx3;1;nx3;;a-1.0;\n"
                  "/p/targets/groups/nx3/a-1.0;0;a-1.0;;\n"
                  "/p/targets/groups/nx3/b-1.0;0;b-1.0;;\n"
                  "/p/targets/groups/nx4;1;nx4;;a-1.0;\n"
                  "/p/targets/groups/nx4/a-1.0;0;a-1.0;;\n"
                  "/p/targets/groups/nx3;1;nx3;;c-1.0;\n"
                  "/p/targets/groups/nx3/c-1.0;0;c-1.0;;\n"));
    ListedConnector::install({});
    EXPECT_THAT(diagnostics(), HasSubstr("/p/targets/groups;0;Groups;(no groups defined);\n"));
}

TEST_F(ConnectorDiagnosticsTest, TellWhatRunningApplicationsAnswer)
{
    start();
    ListedConnector::install({"gone-1.0", "peer-1.0"});
    test::Peer peer("peer-1.0");
    const std::string told = diagnostics();
    const std::string node = "/p/targets/running/peer-1.0";
    EXPECT_THAT(told,
        AllOf(HasSubstr(node + ";1;peer-1.0;"),
            HasSubstr(node + "/path;0;Path;/peer-1.0;\n"),
            HasSubstr(node + "/context;1;Info;;\n"),
            HasSubstr(node + "/context/version;0;Version;2.0;\n"),
            HasSubstr(node + "/thread;1;Thread;peer-1.0#thread;\n"),
            HasSubstr("/p/targets/installed;1;Installed;1;\n"),
            HasSubstr("/p/targets/running;1;Running;1;\n")));
    for (const char* known : {"/context/name;", "/context/path;", "/context/status;"})
        EXPECT_THAT(told, Not(HasSubstr(node + known)));
    // The answer to "thread" brings the application's own line once more, that to "context" does
    // not.
    const std::size_t first = told.find(node + ";1;peer-1.0;");
    const std::size_t second = told.find(node + ";1;peer-1.0;", first + 1);
    EXPECT_NE(second, std::string::npos);
    EXPECT_EQ(told.find(node + ";1;peer-1.0;", second + 1), std::string::npos);
}

TEST_F(ConnectorDiagnosticsTest, TellOfThisProcessWithoutAskingIt)
{
    start();
    ListedConnector::install({"self-1.0"});
    const std::string node = "/p/targets/running/self-1.0";
    EXPECT_THAT(diagnostics(),
        AllOf(HasSubstr(node + "/context/name;0;Name;self-1.0;\n"),
            HasSubstr(node + "/status;0;Status;IDLE;\n"),
            HasSubstr(node + "/thread;1;Thread;"),
            HasSubstr("/p/targets/running;1;Running;1;\n")));
}
