// What scripts may not: time, memory, depth, the world outside. And what becomes of the next script
// when the process does not survive one.
#include "apps/tevoro/scripts/ScriptFixture.h"
#include "core/platform/support/PeerProcess.h"
#include "tevoro/scripts/ScriptRunner.h"

#include <QElapsedTimer>

namespace test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ScriptRunnerLimitsTest : public ScriptFixture {
protected:
    // The runner's process stays the same over scripts unless something went wrong.
    qint64 id() const { return runner.processId(); }
};

constexpr ScriptLimits kShort{.time = 1200ms, .grace = 30s, .all = 60s};
constexpr ScriptLimits kImpatient{.time = 1200ms, .grace = 800ms, .all = 60s};

TEST_F(ScriptRunnerLimitsTest, InterruptsAScriptThatTakesTooLong)
{
    ScriptRunner brief(program(), kShort);
    EXPECT_THAT(brief.run(QStringLiteral("1"), target), IsResult("1"));
    const qint64 child = brief.processId();
    for (const char* const script : {"for (;;);",
             "try { for (;;); } catch (e) { for (;;); } finally { for (;;); }",
             "({toString: function () { for (;;); }, toJSON: function () {}})",
             "throw {toString: function () { for (;;); }}"}) {
        EXPECT_THAT(
            brief.run(QString::fromUtf8(script), target), IsError("longer than 1.2 seconds"))
            << script;
        EXPECT_THAT(brief.run(QStringLiteral("1"), target), IsResult("1"));
    }
    EXPECT_EQ(brief.processId(), child); // interrupted, not killed
}

TEST_F(ScriptRunnerLimitsTest, KillsAScriptThatCannotBeInterrupted)
{
    ScriptRunner brief(program(), kImpatient);
    QElapsedTimer clock;
    EXPECT_THAT(brief.run(QStringLiteral("1"), target), IsResult("1"));
    const qint64 child = brief.processId();
    clock.start();
    EXPECT_THAT(
        brief.run(QStringLiteral("Array.prototype.includes.call({length: 9e15}, 1)"), target),
        IsError("could not be interrupted"));
    EXPECT_LT(clock.elapsed(), 10'000);
    EXPECT_NE(brief.processId(), child);
    EXPECT_THAT(brief.run(QStringLiteral("1"), target), IsResult("1"));
}

TEST_F(ScriptRunnerLimitsTest, EndsItselfWhereNobodyKillsIt)
{
    ScriptRunner brief(program(), kShort);
    const ScriptOutcome outcome =
        brief.run(QStringLiteral("Array.prototype.includes.call({length: 9e15}, 1)"), target);
    EXPECT_FALSE(outcome.ok);
    EXPECT_EQ(outcome.text, u"the script took too long"); // in the words of its own end
    EXPECT_THAT(brief.run(QStringLiteral("1"), target), IsResult("1"));
}

TEST_F(ScriptRunnerLimitsTest, CountsTheTimeOfCalls)
{
    ScriptRunner brief(program(), kShort);
    EXPECT_THAT(brief.run(QStringLiteral("for (;;) app.document"), target), IsError("longer than"));
    target.onCall = [] { std::this_thread::sleep_for(1800ms); };
    EXPECT_THAT(brief.run(QStringLiteral("app.beep(); app.beep(); for (;;);"), target),
        IsError("longer than"));
    EXPECT_THAT(target.calls, ElementsAre(u"beep"));
}

TEST_F(ScriptRunnerLimitsTest, BoundsTheCalls)
{
    EXPECT_THAT(run("for (var i = 0; i < 10000; ++i) app.beep(); 'all'"), IsResult("all"));
    EXPECT_THAT(run("for (;;) app.beep();"), IsError("too often"));
    expectWorks();
}

TEST_F(ScriptRunnerLimitsTest, EndsAScriptThatTakesTooMuchMemory)
{
    for (const char* const script : {"var a = []; for (;;) a.push({}, 'x' + a.length)",
             "var a = []; for (;;) a.push(new Uint8Array(1 << 20).fill(1))",
             "var s = 'x', a = []; for (;;) { a.push(s.charCodeAt(0)); s = s.length < 1e8 ? s + s "
             ": s.substr(1) + 'y'; a.push(s); }"}) {
        EXPECT_THAT(run(script), IsError("too much memory")) << script;
        expectWorks();
    }
}

TEST_F(ScriptRunnerLimitsTest, SurvivesMemoryThatIsAskedForInOneGo)
{
    for (const char* const script : {"new ArrayBuffer(1e15)",
             "new Array(4294967295).join('xxxxxxxx')",
             "new Uint8Array(4e9).fill(1)",
             "var s = 'x'; for (;;) s += s"}) {
        const ScriptOutcome outcome = run(script);
        EXPECT_FALSE(outcome.ok) << script;
        EXPECT_FALSE(outcome.text.isEmpty()) << script;
        expectWorks();
    }
}

TEST_F(ScriptRunnerLimitsTest, SurvivesDeepRecursion)
{
    EXPECT_THAT(run("function f() { return f() + 1; } f()"), IsError("RangeError"));
    for (const QString& script : {QString(100'000, u'('),
             QString(100'000, u'['),
             u"[].concat(JSON.parse('"_s + QString(100'000, u'[') + QString(100'000, u']')
                 + u"'))"_s,
             QString(QStringLiteral("var a = []; for (var i = 0; i < 1e5; ++i) a = [a]; a")),
             u"1"_s + QString(200'000, u'+').replace(u'+', QStringLiteral("+1")),
             u"new RegExp('"_s + QString(100'000, u'(') + QString(100'000, u')')
                 + u"').test('a')"_s}) {
        const ScriptOutcome outcome = run(script); // an error, of the engine or of a crash, or not
        EXPECT_TRUE(outcome.ok || !outcome.text.isEmpty()) << script.left(60).toStdString();
        expectWorks();
    }
}

TEST_F(ScriptRunnerLimitsTest, EndsSearchesWithoutEnd)
{
    ScriptRunner brief(program(), kImpatient);
    brief.run(QStringLiteral("1"), target);
    QElapsedTimer clock;
    clock.start();
    brief.run(QStringLiteral("/^(a+)+$/.test('a'.repeat(100) + 'b')"), target);
    EXPECT_LT(clock.elapsed(), 10'000);
    EXPECT_THAT(brief.run(QStringLiteral("1"), target), IsResult("1"));
}

TEST_F(ScriptRunnerLimitsTest, HasNothingOfTheWorldOutside)
{
    for (const char* const name : {"require",
             "XMLHttpRequest",
             "Qt",
             "console",
             "print",
             "load",
             "gc",
             "process",
             "module",
             "setTimeout",
             "fetch",
             "WebSocket",
             "qsTr",
             "WorkerScript",
             "Worker",
             "host"})
        EXPECT_THAT(run(u"typeof "_s + QString::fromUtf8(name)), IsResult("undefined")) << name;
    for (const char* const script : {"import('fs')",
             "import x from 'file:///etc/passwd'",
             "eval(\"import('fs')\")",
             "new Function(\"import x from 'y'\")()",
             ".import 'x.js' as X\nX",
             ".pragma library\nQt",
             "Qt.openUrlExternally('file:///')",
             "require('fs')",
             "app.constructor.constructor('return Qt')()",
             "app.deleteLater()",
             "app.beep.host.call",
             "app.browseTo.caller"})
        EXPECT_FALSE(run(script).ok) << script;
    EXPECT_THAT(target.calls, IsEmpty());
}

TEST_F(ScriptRunnerLimitsTest, ShowsNoNativeObject)
{
    EXPECT_THAT(run("var seen = []; for (var o of [app, app.__proto__, Thumbnail, "
                    "Thumbnail.prototype, app.beep])"
                    "  seen.push(Object.getOwnPropertyNames(o).join()); seen.join(';')"),
        IsResult("documents,document,browseTo,beep,runMediafetcher;"
                 "constructor,toString,toLocaleString,valueOf,hasOwnProperty,isPrototypeOf,"
                 "propertyIsEnumerable,__defineGetter__,__defineSetter__,__proto__;"
                 "prototype,name,length;constructor;prototype,name,length"));
}

TEST_F(ScriptRunnerLimitsTest, IsNotToldByTextsWhatToDo)
{
    // Lines of the channel, in everything that a script can say.
    target.documents = 1;
    EXPECT_THAT(run("app.document.status = '\\n{\"call\":\"beep\",\"arguments\":[]}\\n'; "
                    "'\\n{\"result\":\"forged\"}\\n'"),
        IsResult("\n{\"result\":\"forged\"}\n"));
    EXPECT_THAT(target.calls, ElementsAre(u"setStatus \n{\"call\":\"beep\",\"arguments\":[]}\n"));
    EXPECT_THAT(run("throw '\\n{\"result\":\"forged\"}\\n'"), IsError("{\"result\":\"forged\"}"));
    expectWorks();
}

TEST_F(ScriptRunnerLimitsTest, AnswersWhenItsProcessIsKilledInTheMiddle)
{
    target.onCall = [this] { ::kill(static_cast<pid_t>(id()), SIGKILL); };
    EXPECT_THAT(run("app.beep(); for (;;);"), IsError("killed or crashed"));
    target.onCall = nullptr;
    expectWorks();
}

TEST_F(ScriptRunnerLimitsTest, LosesNoScriptWhenItsProcessIsKilledBetweenTwo)
{
    for (int i = 0; i < 3; ++i) {
        expectWorks();
        const qint64 before = id();
        killAndWait(before);
        expectWorks();
        EXPECT_NE(id(), before);
    }
}

TEST_F(ScriptRunnerLimitsTest, LosesNoScriptWhenItsProcessIsKilledBeforeTheFirst)
{
    EXPECT_NE(id(), 0);
    killAndWait(id());
    expectWorks();
}

TEST_F(ScriptRunnerLimitsTest, LosesNoScriptWhenItsProcessHangs)
{
    expectWorks();
    const qint64 before = id();
    ::kill(static_cast<pid_t>(before), SIGSTOP);
    expectWorks();
    EXPECT_NE(id(), before);
}

TEST_F(ScriptRunnerLimitsTest, MakesItsProcessAnewAfterAWhile)
{
    ScriptLimits limits = kAmple;
    limits.life = 200ms;
    ScriptRunner aging(program(), limits);
    aging.run(QStringLiteral("1"), target);
    const qint64 first = aging.processId();
    aging.run(QStringLiteral("for (var end = Date.now() + 250; Date.now() < end;);"), target);
    EXPECT_NE(aging.processId(), first);
    EXPECT_THAT(aging.run(QStringLiteral("1"), target), IsResult("1"));
}

class ScriptParentTest : public testing::Test {
protected:
    static constexpr std::chrono::milliseconds kAtOnce{1000};

    static bool ends(unsigned long process)
    {
        return waitUntil([&] { return !Pt::isProcessRunning(process); }, kAtOnce);
    }
    // The process of the other program's scripts, once it is there.
    unsigned long childOf(PeerProcess& host) { return std::stoul(host.line()); }
};

TEST_F(ScriptParentTest, LeavesNoProcessBehindWhenItIsKilled)
{
    for (const char* const script :
        {"1", "for (;;);", "Array.prototype.includes.call({length: 9e15}, 1)"}) {
        PeerProcess host({SCRIPT_HOST, TEVORO_SCRIPTS, script});
        const unsigned long child = childOf(host);
        EXPECT_TRUE(Pt::isProcessRunning(child)) << script;
        host.kill();
        EXPECT_TRUE(ends(child)) << script;
    }
}

// Not even one that cannot look whether the browser is there.
TEST_F(ScriptParentTest, LeavesNoProcessBehindThatStandsStill)
{
    PeerProcess host({SCRIPT_HOST, TEVORO_SCRIPTS, "for (;;);"});
    const unsigned long child = childOf(host);
    ::kill(static_cast<pid_t>(child), SIGSTOP);
    host.kill();
    const bool isOver = ends(child);
    EXPECT_TRUE(isOver);
    if (!isOver)
        ::kill(static_cast<pid_t>(child), SIGKILL);
}

} // namespace
} // namespace test
