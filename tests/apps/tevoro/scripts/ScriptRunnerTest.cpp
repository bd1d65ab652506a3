// Scripts and what they come to: objects, results, exceptions.
#include "tevoro/scripts/ScriptRunner.h"

#include "apps/tevoro/scripts/ScriptFixture.h"
#include "support/TestFolder.h"

#include <sys/resource.h>

namespace test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ScriptRunnerTest : public ScriptFixture {
protected:
    QString lastCall() const { return target.calls.isEmpty() ? QString() : target.calls.last(); }
};

// Of this process so far, in KiB.
long mostMemory()
{
    rusage used{};
    EXPECT_EQ(::getrusage(RUSAGE_SELF, &used), 0);
    return used.ru_maxrss;
}

// What a download sends, with the statement that makes the answer.
QString launchScript(const QString& folder)
{
    return QStringLiteral("if (app.documents.length == 0) app.browseTo (\"") + folder
        + QStringLiteral("\"); else { app.document.thumbnail = new Thumbnail (\"") + folder
        + QStringLiteral("\"); app.document.bringToFront (); } app.beep();'done';");
}

QString browseScript(const QString& folder)
{
    return QStringLiteral(" app.browseTo (\"") + folder
        + QStringLiteral("\");  app.beep() ;'done';");
}

constexpr char kStatusScript[] =
    "{ app.beep();app.document.status = \"Files Successfully Copied\"; }'done';";
constexpr char kFetchScript[] = "{ app.runMediafetcher();app.document.bringToFront (); }'done';";

struct PathCase {
    QStringView path;
    QStringView inScript; // with each backslash doubled
};

constexpr PathCase kPaths[] = {
    {u"/home/ann/Pictures", u"/home/ann/Pictures"},
    {u"/home/ann/Summer 2024 ", u"/home/ann/Summer 2024 "},
    {u"/home/ann/Anne's", u"/home/ann/Anne's"},
    {u"/home/ann/a\\b\\\\c", u"/home/ann/a\\\\b\\\\\\\\c"},
    {u"/home/ann/Übung/写真/\U0001F3D4", u"/home/ann/Übung/写真/\U0001F3D4"},
    {u"/a/${x}`%s;//*", u"/a/${x}`%s;//*"},
};

TEST_F(ScriptRunnerTest, BrowsesToAFolderWhereThereIsNoDocument)
{
    for (const PathCase& each : kPaths) {
        target = RecordingTarget();
        EXPECT_THAT(run(launchScript(each.inScript.toString())), IsResult("done"));
        EXPECT_THAT(target.calls, ElementsAre(u"browseTo "_s + each.path.toString(), u"beep"));
    }
}

TEST_F(ScriptRunnerTest, ShowsTheFolderInTheDocumentThatThereIs)
{
    for (const PathCase& each : kPaths) {
        target = RecordingTarget();
        target.documents = 1;
        EXPECT_THAT(run(launchScript(each.inScript.toString())), IsResult("done"));
        EXPECT_THAT(target.calls,
            ElementsAre(u"showFolder "_s + each.path.toString(), u"bringToFront", u"beep"));
    }
}

TEST_F(ScriptRunnerTest, BrowsesToAFolderAndBeeps)
{
    for (const PathCase& each : kPaths) {
        target = RecordingTarget();
        EXPECT_THAT(run(browseScript(each.inScript.toString())), IsResult("done"));
        EXPECT_THAT(target.calls, ElementsAre(u"browseTo "_s + each.path.toString(), u"beep"));
    }
}

TEST_F(ScriptRunnerTest, ShowsACaptionInTheStatusLine)
{
    target.documents = 1;
    EXPECT_THAT(run(kStatusScript), IsResult("done"));
    EXPECT_THAT(target.calls, ElementsAre(u"beep", u"setStatus Files Successfully Copied"));
}

TEST_F(ScriptRunnerTest, StartsADownloadAndComesToTheFront)
{
    target.documents = 1;
    EXPECT_THAT(run(kFetchScript), IsResult("done"));
    EXPECT_THAT(target.calls, ElementsAre(u"runMediafetcher", u"bringToFront"));
}

TEST_F(ScriptRunnerTest, TellsWhyADownloadDoesNotStart)
{
    target.mediafetcherError = QStringLiteral("mfx is not there");
    EXPECT_THAT(run("app.runMediafetcher()"), IsErrorInLine("mfx is not there", 1));
}

TEST_F(ScriptRunnerTest, TakesADoubleQuoteInAPathForTheEndOfTheText)
{
    EXPECT_THAT(run(browseScript(QStringLiteral("/home/ann/17\" screen"))), IsError("SyntaxError"));
    EXPECT_THAT(target.calls, IsEmpty());
    EXPECT_THAT(run(browseScript(QStringLiteral("/home/ann"))), IsResult("done"));
}

TEST_F(ScriptRunnerTest, AnswersTheValueOfTheLastStatementAsText)
{
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {"var a = 1", ""},
        {"undefined", ""},
        {"null", "null"},
        {"true", "true"},
        {"1.5", "1.5"},
        {"0 / 0", "NaN"},
        {"'text'", "text"},
        {"'ü\\u0000\\n写'.length", "4"},
        {"[1, 'a', null]", "[1,\"a\",null]"},
        {"({a: {b: [true]}})", "{\"a\":{\"b\":[true]}}"},
        {"var o = {}; o.o = o; o", "[object Object]"},
        {"new Error('no throw')", "Error: no throw"},
        {"Symbol('s')", "Symbol(s)"},
        {"(function f() { return 1; })", "function f() { [native code] }"},
        {"({toJSON: function () {}})", "[object Object]"},
        {"new Thumbnail('/a b')", "{\"path\":\"/a b\"}"},
        {"eval('3 + 4')", "7"},
        {"new Function('return 8')()", "8"},
        {"({toJSON: function () { throw 1; }, toString: function () { return 'own'; }})", "own"},
    };
    for (const auto& [script, text] : cases)
        EXPECT_THAT(run(script), IsResult(text)) << script;
}

TEST_F(ScriptRunnerTest, AnswersExceptionsWithTheirTextAndLine)
{
    const std::tuple<const char*, const char*, int> cases[] = {
        {"\n\nthrow new Error('mine')", "Error: mine", 3},
        {"\nthrow 'text'", "text", 2},
        {"throw null", "null", 1},
        {"throw undefined", "undefined", 1},
        {"throw {toString: function () { throw 1; }}", "without a text", 1},
        {"\n\nvar = 3", "SyntaxError", 3},
        {"nobody.knows", "ReferenceError: nobody is not defined", 1},
        {"\n\n\nfunction f() {\n nobody();\n}\nf()", "nobody is not defined", 5},
        {"({toJSON: null, toString: function () { throw new Error('late'); }, get a() { throw 1; "
         "}})",
            "late",
            0},
        {"\napp.document.status = 'x'", "null", 2},
        {"\n\nThumbnail('/a')", "TypeError", 3},
    };
    for (const auto& [script, text, line] : cases)
        EXPECT_THAT(run(script), IsErrorInLine(text, line)) << script;
    EXPECT_THAT(target.calls, IsEmpty());
}

TEST_F(ScriptRunnerTest, RefusesWhatIsNoFolder)
{
    target.documents = 1;
    const std::pair<const char*, const char*> cases[] = {
        {"''", "the folder is empty"},
        {"'a/b'", "not absolute: a/b"},
        {"'file:///a'", "not absolute"},
        {"", "not undefined"},
        {"null", "not null"},
        {"7", "not number"},
        {"{}", "not object"},
        {"['/a']", "not object"},
        {"new String('/a')", "not object"},
        {"'/a\\u0000b'", "no character"},
        {"'/a\\ud800b'", "no character"},
        {"'/' + 'a'.repeat(4095)", "too long"},
    };
    for (const auto& [argument, text] : cases) {
        const QString words = QString::fromUtf8(argument);
        EXPECT_THAT(run(u"\napp.browseTo("_s + words + u")"_s), IsErrorInLine(text, 2)) << argument;
        EXPECT_THAT(run(u"\napp.document.thumbnail = new Thumbnail("_s + words + u")"_s),
            IsErrorInLine(text, 2))
            << argument;
    }
    EXPECT_THAT(target.calls, IsEmpty());
}

TEST_F(ScriptRunnerTest, RefusesAThumbnailOfWhatIsNoFolder)
{
    EXPECT_THAT(run("new Thumbnail('')"), IsError("the folder is empty"));
    EXPECT_THAT(run("new Thumbnail('a/b')"), IsError("not absolute: a/b"));
    EXPECT_THAT(run("new Thumbnail()"), IsError("Thumbnail takes a text, not undefined"));
}

TEST_F(ScriptRunnerTest, RefusesOtherWrongArguments)
{
    target.documents = 1;
    EXPECT_THAT(run("app.document.thumbnail = '/a'"), IsErrorInLine("takes a Thumbnail", 1));
    EXPECT_THAT(run("app.document.thumbnail = {path: '/a'}"), IsError("takes a Thumbnail"));
    EXPECT_THAT(run("app.document.thumbnail = Object.create(new Thumbnail('/a'))"),
        IsError("takes a Thumbnail"));
    EXPECT_THAT(run("app.document.status = 1"), IsError("takes a text, not number"));
    EXPECT_THAT(run("app.document.status = 'a'.repeat(10001)"), IsError("too long"));
    EXPECT_THAT(run("new Thumbnail('/a').path = '/b'"), IsError("cannot be changed"));
    EXPECT_THAT(target.calls, IsEmpty());
}

TEST_F(ScriptRunnerTest, ReadsWhatTheDocumentShows)
{
    EXPECT_THAT(run("app.document === null && app.documents.length"), IsResult("0"));
    target.documents = 1;
    EXPECT_THAT(run("app.document.thumbnail"), IsResult("null"));
    target.folder = QStringLiteral("/写 真");
    target.text = QStringLiteral("7 Bilder");
    EXPECT_THAT(
        run("app.document.thumbnail.path + app.document.status"), IsResult("/写 真7 Bilder"));
    EXPECT_THAT(run("app.documents[0] === app.document"), IsResult("true"));
    EXPECT_THAT(
        run("app.document.status += ' neu'; app.document.status"), IsResult("7 Bilder neu"));
}

TEST_F(ScriptRunnerTest, SeesTheDocumentThatItMadeItself)
{
    EXPECT_THAT(run("var before = app.documents.length; app.browseTo('/a');"
                    "[before, app.documents.length, app.document.thumbnail.path]"),
        IsResult("[0,1,\"/a\"]"));
}

TEST_F(ScriptRunnerTest, RefusesADocumentThatIsGone)
{
    target.documents = 1;
    target.onCall = [this] { target.documents = 0; };
    EXPECT_THAT(run("var d = app.document; app.beep();\nd.bringToFront()"),
        IsErrorInLine("there is no document", 2));
    EXPECT_THAT(target.calls, ElementsAre(u"beep"));
}

TEST_F(ScriptRunnerTest, LetsAScriptCatchWhatTheBrowserRefuses)
{
    target.onCall = [] { throw std::runtime_error("the disk is gone"); };
    EXPECT_THAT(run("try { app.beep(); } catch (e) { 'caught ' + e.message; }"),
        IsResult("caught the browser failed: the disk is gone"));
}

TEST_F(ScriptRunnerTest, RefusesAScriptInsideAScript)
{
    ScriptOutcome inner;
    target.onCall = [&] { inner = runner.run(QStringLiteral("1"), target); };
    EXPECT_THAT(run("app.beep(); 'outer'"), IsResult("outer"));
    EXPECT_THAT(inner, IsError("another script is running"));
}

TEST_F(ScriptRunnerTest, TakesAnyCharactersInAScript)
{
    EXPECT_THAT(
        run(QStringLiteral("'a") + QChar(u'\0') + QStringLiteral("b'.length")), IsResult("3"));
    const QString half = QStringLiteral("'a") + QChar(0xD800) + QStringLiteral("b'");
    EXPECT_THAT(run(half + QStringLiteral(".charCodeAt(1)")), IsResult("55296"));
    EXPECT_THAT(run(half), IsResult("a\uFFFDb"));
    EXPECT_THAT(run("'\\ud83c\\udfd4'"), IsResult("\U0001F3D4"));
    expectWorks();
}

TEST_F(ScriptRunnerTest, TakesAScriptOfAMegabyte)
{
    const QString words(1 << 20, QChar(u'x'));
    EXPECT_THAT(run(u"'"_s + words + u"'"_s), IsResult(words.toUtf8().constData()));
}

TEST_F(ScriptRunnerTest, RefusesAScriptOrResultThatIsTooLong)
{
    EXPECT_THAT(run(QString(17 << 20, QChar(u' '))), IsError("the script is too long"));
    EXPECT_THAT(run("'x'.repeat(17 * 1024 * 1024)"), IsError("the result is too long"));
    killAndWait(runner.processId()); // the next one has not the memory of this one
    EXPECT_THAT(run("throw 'x'.repeat(17 * 1024 * 1024)"), IsError("the result is too long"));
    expectWorks();
}

TEST_F(ScriptRunnerTest, RefusesAScriptThatIsTooLongBeforeItIsConverted)
{
    constexpr std::size_t kMebibyte = 1 << 20;
    const std::string script(200 * kMebibyte, ' ');
    const long before = mostMemory();
    EXPECT_THAT(runner.runUtf8(script, target), IsError("the script is too long"));
    EXPECT_LT(mostMemory() - before, 50 * 1024);
    EXPECT_THAT(runner.runUtf8("'\xC3\xBC'.length", target), IsResult("1"));
}

TEST_F(ScriptRunnerTest, KeepsNothingForTheNextScript)
{
    const char* const tricks[] = {"kept = 1",
        "Object.prototype.kept = 1",
        "app.__proto__.kept = 1",
        "Thumbnail.prototype.__proto__ = null",
        "Array.prototype.fill = function () { return [1]; }",
        "app.kept = 1; Thumbnail = null; app = null",
        "JSON.stringify = function () { return 'forged'; }",
        "WeakMap.prototype.has = function () { return true; }",
        "String = null"};
    for (const char* const trick : tricks) {
        run(trick);
        EXPECT_THAT(run("typeof kept + typeof ({}).kept + typeof app.kept"),
            IsResult("undefinedundefinedundefined"))
            << trick;
        EXPECT_THAT(run(launchScript(QStringLiteral("/a"))), IsResult("done")) << trick;
    }
}

TEST_F(ScriptRunnerTest, LeavesNoProcessOrDescriptorBehind)
{
    expectWorks(); // what Qt keeps for all processes is there now
    const auto before = openDescriptors();
    qint64 id = 0;
    {
        ScriptRunner other(program(), kAmple);
        EXPECT_THAT(other.run(QStringLiteral("1"), target), IsResult("1"));
        id = other.processId();
        EXPECT_TRUE(Pt::isProcessRunning(static_cast<unsigned long>(id)));
    }
    EXPECT_FALSE(Pt::isProcessRunning(static_cast<unsigned long>(id)));
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace
} // namespace test
