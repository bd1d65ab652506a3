// mfx convert as a program, with a library that does as it is told.

#include "e2e/support/MfxRun.h"
#include "support/RecordedDng.h"

#include <fstream>
#include <thread>

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace e2e {

class ConvertTest : public MfxTest {
protected:
    void SetUp() override
    {
        MfxTest::SetUp();
        addLibrary("ZQPluginSupport", CONVERSION_LIBRARY);
        setVariable("CONVERSION_LOG", log());
        setVariable("CONVERSION_RECORDS", "1");
        write("A.CR2", "raw a");
        write("B.NEF", "raw b");
    }

    fs::path log() const { return root() / "run/log"; }
    fs::path raws() const { return data() / "raws"; }
    std::string raw(const std::string& name) const { return raws() / name; }

    void write(const std::string& name, const std::string& bytes) const
    {
        fs::create_directories(raws());
        std::ofstream(raws() / name, std::ios::binary) << bytes;
    }

    RunResult convert(std::vector<std::string> words)
    {
        words.insert(words.begin(), {"convert", "--json"});
        return mfx(words);
    }
};

TEST_F(ConvertTest, PutsADNGBesideEachRawFileAndKeepsThat)
{
    const auto time = fs::file_time_type::clock::now() - std::chrono::hours(1000);
    fs::last_write_time(raw("A.CR2"), time);
    const RunResult result = convert({raw("A.CR2"), raw("B.NEF")});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(filesIn(raws()),
        (std::map<std::string, std::string>{{"A.CR2", "raw a"},
            {"A.dng", test::recordedDng("A.CR2", "raw a")},
            {"B.NEF", "raw b"},
            {"B.dng", test::recordedDng("B.NEF", "raw b")}}));
    EXPECT_EQ(result.item(raw("A.CR2")),
        (Json{{"event", "item"},
            {"name", raw("A.CR2")},
            {"dng", raw("A.dng")},
            {"status", "ok"},
            {"error", nullptr}}));
    EXPECT_EQ(result.summary()["converted"], 2);
    EXPECT_EQ(fs::last_write_time(raw("A.dng")), time);
}

TEST_F(ConvertTest, ConvertsNothingAgain)
{
    ASSERT_EQ(convert({raw("A.CR2")}).code, 0);
    fs::rename(raw("A.dng"), raw("A_1.dng"));
    write("A.dng", "somebody else's");
    fs::remove(log());
    const RunResult second = convert({raw("A.CR2"), raw("A.CR2")});
    EXPECT_EQ(second.code, 0) << second.err;
    EXPECT_EQ(second.item(raw("A.CR2"))["status"], "exists");
    EXPECT_EQ(second.item(raw("A.CR2"))["dng"], raw("A_1.dng"));
    EXPECT_EQ(second.summary()["existing"], 2);
    EXPECT_FALSE(fs::exists(log()));
}

TEST_F(ConvertTest, GivesEachOfOneStemADNGOfItsOwn)
{
    write("A.ORF", "raw 4"); // as long as the other
    write("A.dng", "somebody else's");
    const RunResult result = convert({raw("A.CR2"), raw("A.ORF")});
    EXPECT_EQ(result.item(raw("A.CR2"))["dng"], raw("A_1.dng"));
    EXPECT_EQ(result.item(raw("A.ORF"))["dng"], raw("A_2.dng"));
    EXPECT_EQ(contentOf(raw("A.dng")), "somebody else's");
    EXPECT_EQ(contentOf(raw("A_2.dng")), test::recordedDng("A.ORF", "raw 4"));
}

TEST_F(ConvertTest, WritesIntoAFolderInTheFormThatIsAskedFor)
{
    setWorkingFolder(raws());
    const RunResult result =
        convert({"A.CR2", "--to", "../dng", "--dng-preview", "full", "--dng-linear"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.item("A.CR2")["dng"], (data() / "dng/A.dng").string());
    EXPECT_EQ(contentOf(log()), raw("A.CR2") + ' ' + (data() / "dng/A.dng").string() + " 2110\n");
    EXPECT_EQ(filesIn(raws()).size(), 2U);
    ASSERT_EQ(convert({"B.NEF"}).code, 0);
    EXPECT_THAT(contentOf(log()), HasSubstr("B.dng 1100\n")) << "a medium preview, compressed";
}

TEST_F(ConvertTest, RefusesWhatIsNoRawFileByItself)
{
    write("A.JPG", "jpeg");
    write("C.dng", "dng");
    fs::create_directories(raws() / "folder.CR2");
    const std::vector<std::pair<std::string, std::string>> refusals{
        {"A.JPG", "it does not have the name of a raw file"},
        {"C.dng", "it is a DNG already"},
        {"folder.CR2", "it is no file"},
        {"missing.CR2", "it is not there"}};
    std::vector<std::string> words;
    for (const auto& [name, reason] : refusals)
        words.push_back(raw(name));
    words.push_back(raw("B.NEF"));
    const RunResult result = convert(words);
    EXPECT_EQ(result.code, 1);
    for (const auto& [name, reason] : refusals) {
        EXPECT_EQ(result.item(raw(name))["status"], "failed");
        EXPECT_EQ(result.item(raw(name))["error"], reason);
    }
    EXPECT_EQ(result.item(raw("B.NEF"))["status"], "ok");
    EXPECT_EQ(result.summary()["failed"], 4);
}

TEST_F(ConvertTest, TellsAPersonWhatBecameOfEach)
{
    const RunResult result = mfx({"convert", raw("A.CR2"), raw("missing.CR2")});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out,
        raw("A.CR2") + " -> " + raw("A.dng")
            + "\nconverted: 1, already present: 0, not converted: 1\n");
    EXPECT_EQ(result.err, "mfx: " + raw("missing.CR2") + ": it is not there\n");
}

TEST_F(ConvertTest, EndsWithTheCodeOfWhatStandsInTheWay)
{
    EXPECT_EQ(convert({raw("missing.CR2"), raw("gone.NEF")}).code, 3);
    EXPECT_EQ(convert({raw("A.CR2"), "--to", raw("B.NEF")}).code, 4);
    EXPECT_EQ(mfx({"convert"}).code, 2);
    setVariable("CONVERSION_WRITES", "0");
    for (const auto& [result, code] :
        std::map<std::string, int>{{"3", 1}, {"5", 4}, {"6", 4}, {"12", 5}}) {
        setVariable("CONVERSION_RESULT", result);
        EXPECT_EQ(convert({raw("A.CR2"), raw("missing.CR2")}).code, code) << result;
    }
    EXPECT_EQ(filesIn(raws()).size(), 2U);
}

TEST_F(ConvertTest, ConvertsNoFileTwiceInProgramsThatRunAtOnce)
{
    setVariable("CONVERSION_RUNS", "sleep 0.3");
    std::vector<std::thread> threads;
    threads.reserve(3);
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([this] { EXPECT_EQ(convert({raw("A.CR2")}).code, 0); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(filesIn(raws()).size(), 3U) << "two raw files and one DNG";
}

TEST_F(ConvertTest, NamesTheReasonOfTheLibrary)
{
    setVariable("CONVERSION_RESULT", "3");
    setVariable("CONVERSION_WRITES", "0");
    const RunResult result = convert({raw("A.CR2")});
    EXPECT_EQ(result.item(raw("A.CR2"))["error"],
        "it could not be converted to DNG: its picture is not whole");
    EXPECT_EQ(result.item(raw("A.CR2"))["dng"], nullptr);
}

TEST_F(ConvertTest, MakesNothingWithoutTheLibrary)
{
    setVariable("CONVERSION_CAN", "0");
    const RunResult result = convert({raw("A.CR2"), "--to", data() / "dng"});
    EXPECT_EQ(result.code, 5);
    EXPECT_THAT(result.err, HasSubstr("not installed"));
    EXPECT_FALSE(fs::exists(data() / "dng"));
}

TEST_F(ConvertTest, FinishesTheFileInHandAfterAnInterrupt)
{
    setVariable("CONVERSION_INTERRUPTS", "1");
    const RunResult result = convert({raw("A.CR2"), raw("B.NEF")});
    EXPECT_EQ(result.code, 130);
    EXPECT_EQ(result.item(raw("A.CR2"))["status"], "ok");
    EXPECT_EQ(result.events("item").size(), 1U);
    EXPECT_EQ(result.summary()["interrupted"], true);
    EXPECT_FALSE(fs::exists(raw("B.dng")));
}

} // namespace e2e
