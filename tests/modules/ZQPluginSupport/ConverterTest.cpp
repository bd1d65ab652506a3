#include "ZQPluginSupport/Converter.h"

#include "modules/ZQPluginSupport/support/TinyRaw.h"
#include "platform/common/services/ProcessControl.h"
#include "support/TestFolder.h"
#include "support/disks/Mounts.h"

#include <csignal>
#include <cstdlib>
#include <thread>

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using dng::Converter;
using dng::ConverterLimits;
using testing::UnorderedElementsAre;

std::vector<std::string> namesIn(const std::string& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    return names;
}

class ConverterTest : public testing::Test {
protected:
    ConverterTest()
    {
        raw = folder.write("in/A.CR2", tinyRaw());
        fs::create_directory(folder.path("out"));
    }

    std::string dng() const { return folder.path("out/A.dng"); }
    std::vector<std::string> out() const { return namesIn(folder.path("out")); }

    ZQPluginResult convert(Converter& by)
    {
        return by.convert({raw, dng(), 0, true, false, false});
    }
    // With a program that is not what it should be.
    ZQPluginResult convertBy(const std::string& way)
    {
        const std::string program = folder.path(way);
        if (!fs::exists(program))
            fs::create_symlink(WORKER_STAND_IN, program);
        Converter other(program, {.start = 2s, .silence = 700ms});
        return convert(other);
    }

    TestFolder folder;
    std::string raw;
    Converter converter{MFX_DNG};
};

TEST_F(ConverterTest, MakesADngOfARawFileWhichStays)
{
    EXPECT_EQ(convert(converter), kZQPluginDone);
    EXPECT_THAT(out(), UnorderedElementsAre("A.dng"));
    EXPECT_THAT(namesIn(folder.path("in")), UnorderedElementsAre("A.CR2"));
    EXPECT_EQ(read(raw), tinyRaw());
}

TEST_F(ConverterTest, GivesTheDngTheTimeOfItsRawFile)
{
    const auto time = fs::file_time_type::clock::now() - 1000h;
    fs::last_write_time(raw, time);
    EXPECT_EQ(convert(converter), kZQPluginDone);
    EXPECT_EQ(fs::last_write_time(dng()), time);
}

TEST_F(ConverterTest, KeepsItsProgramForTheNextFile)
{
    EXPECT_EQ(convert(converter), kZQPluginDone);
    const unsigned long process = converter.processId();
    EXPECT_NE(process, 0U);
    EXPECT_EQ(
        converter.convert({raw, folder.path("out/B.dng"), 0, true, false, false}), kZQPluginDone);
    EXPECT_EQ(converter.processId(), process);
    EXPECT_EQ(read(folder.path("out/B.dng")), read(dng()));
}

TEST_F(ConverterTest, ReplacesNothing)
{
    folder.write("out/A.dng", "theirs");
    EXPECT_EQ(convert(converter), kZQPluginTargetExists);
    EXPECT_EQ(read(dng()), "theirs");
}

TEST_F(ConverterTest, GivesTheReasonOfEachFailureAndLeavesNothing)
{
    const std::string broken = tinyRaw();
    const std::string damaged = folder.write("in/cut.CR2", broken.substr(0, broken.size() - 3000));
    const std::string picture =
        folder.write("in/picture.CR2", "\xff\xd8\xff\xe0" + std::string(5000, 'j'));
    const std::string empty = folder.write("in/empty.CR2", "");
    const std::string pipe = folder.path("in/pipe.CR2");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const auto of = [this](const std::string& source) {
        return converter.convert({source, dng(), 1, true, false, false});
    };
    EXPECT_EQ(of(damaged), kZQPluginDamaged);
    EXPECT_EQ(of(picture), kZQPluginNotSupported);
    EXPECT_EQ(of(empty), kZQPluginNotSupported);
    EXPECT_EQ(of(pipe), kZQPluginSourceUnreadable);
    EXPECT_EQ(of(folder.path("in")), kZQPluginSourceUnreadable);
    EXPECT_EQ(of(folder.path("in/none.CR2")), kZQPluginSourceUnreadable);
    EXPECT_EQ(of(""), kZQPluginBadRequest);
    EXPECT_THAT(out(), UnorderedElementsAre());
    EXPECT_EQ(converter.convert({raw, folder.path("none/A.dng"), 1, true, false, false}),
        kZQPluginTargetUnwritable);
    EXPECT_EQ(converter.convert({raw, dng(), 3, true, false, false}), kZQPluginBadRequest);
    EXPECT_EQ(convert(converter), kZQPluginDone) << "what failed before is another matter";
}

TEST_F(ConverterTest, MakesNothingOfDamagedFilesOfCameras)
{
    const char* const samples = std::getenv("MFX_SAMPLES");
    if (!samples)
        GTEST_SKIP() << "MFX_SAMPLES names no folder of sample media";
    for (const auto& entry : fs::directory_iterator(fs::path(samples) / "damaged"))
        for (const int preview : {0, 1, 2}) {
            const std::string source = entry.path().string();
            EXPECT_NE(converter.convert({source, dng(), preview, true, false, true}), kZQPluginDone)
                << source;
            EXPECT_THAT(out(), UnorderedElementsAre()) << source;
        }
}

// The decoder itself passes over it.
TEST_F(ConverterTest, MakesNothingOfAJpegCodedFileThatIsNotWhole)
{
    const char* const samples = std::getenv("MFX_SAMPLES");
    if (!samples)
        GTEST_SKIP() << "MFX_SAMPLES names no folder of sample media";
    const std::string whole = read(fs::path(samples) / "raw/P003914.KDC");
    std::string hole = whole;
    hole.replace(30'000, 4096, 4096, '\0');
    for (const std::string& bytes :
        {whole.substr(0, whole.size() - 1), whole.substr(0, whole.size() * 4 / 10), hole}) {
        raw = folder.write("in/B.KDC", bytes);
        EXPECT_EQ(convert(converter), kZQPluginDamaged) << bytes.size();
        EXPECT_THAT(out(), UnorderedElementsAre());
    }
}

// Of a compressed file, ten bytes: the decoder goes on and tells of it by the way.
TEST_F(ConverterTest, MakesNothingOfAFileWithItsMiddleOverwritten)
{
    const char* const samples = std::getenv("MFX_SAMPLES");
    if (!samples)
        GTEST_SKIP() << "MFX_SAMPLES names no folder of sample media";
    std::string bytes = read(fs::path(samples) / "raw/CRW_0101.CRW");
    bytes.replace(bytes.size() / 2, 4000, 4000, '\xff');
    raw = folder.write("in/B.CRW", bytes);
    EXPECT_EQ(convert(converter), kZQPluginDamaged);
    EXPECT_THAT(out(), UnorderedElementsAre());
}

TEST_F(ConverterTest, SaysThatTheDiskIsFull)
{
    if (!canMount())
        GTEST_SKIP() << "this process may not mount a disk of its own";
    const MemoryMount small(folder.path("out"), 1 << 20);
    raw = folder.write("in/A.CR2", tinyRaw(900, 900));
    EXPECT_EQ(converter.convert({raw, dng(), 0, false, false, true}), kZQPluginNoSpace);
    EXPECT_THAT(out(), UnorderedElementsAre());
}

TEST_F(ConverterTest, BearsAProgramThatIsNotThere)
{
    Converter none(folder.path("none"));
    EXPECT_EQ(convert(none), kZQPluginIncomplete);
    EXPECT_THAT(out(), UnorderedElementsAre());
}

TEST_F(ConverterTest, BearsAProgramThatIsNeverReady)
{
    for (const char* const way : {"dies-at-once", "never-ready", "speaks-first"})
        EXPECT_EQ(convertBy(way), kZQPluginIncomplete) << way;
    EXPECT_THAT(out(), UnorderedElementsAre());
}

TEST_F(ConverterTest, BearsAProgramThatDies)
{
    for (const char* const way : {"dies-with-work", "half", "no-result", "rubbish", "ready-again"})
        EXPECT_EQ(convertBy(way), kZQPluginDecoderDied) << way;
    EXPECT_THAT(out(), UnorderedElementsAre());
}

TEST_F(ConverterTest, EndsAProgramThatHangs)
{
    EXPECT_EQ(convertBy("hangs"), kZQPluginDecoderHung);
    EXPECT_THAT(out(), UnorderedElementsAre());
}

TEST_F(ConverterTest, WaitsForAProgramThatGoesOn)
{
    EXPECT_EQ(convertBy("goes-on"), kZQPluginDone);
}

TEST_F(ConverterTest, StartsAnotherProgramInThePlaceOfOneThatDied)
{
    EXPECT_EQ(convert(converter), kZQPluginDone);
    const unsigned long process = converter.processId();
    ::kill(static_cast<pid_t>(process), SIGKILL);
    while (Pt::isProcessRunning(process))
        std::this_thread::sleep_for(1ms);
    EXPECT_EQ(
        converter.convert({raw, folder.path("out/B.dng"), 0, true, false, false}), kZQPluginDone);
    EXPECT_NE(converter.processId(), process);
}

// At whatever point it is: the file is there whole, or not at all.
TEST_F(ConverterTest, LeavesAWholeDngOrNoneWhenItsProgramIsKilled)
{
    raw = folder.write("in/A.CR2", tinyRaw(600, 400));
    EXPECT_EQ(convert(converter), kZQPluginDone);
    const std::string whole = read(dng());
    for (int round = 0; round < 30; ++round) {
        fs::remove(dng());
        const auto process = static_cast<pid_t>(converter.processId());
        std::thread killer([process, round] {
            std::this_thread::sleep_for(std::chrono::milliseconds(round * 3));
            if (process != 0)
                ::kill(process, SIGKILL);
        });
        const ZQPluginResult result = convert(converter);
        killer.join();
        EXPECT_TRUE(result == kZQPluginDone || result == kZQPluginDecoderDied) << result;
        EXPECT_EQ(fs::exists(dng()), result == kZQPluginDone);
        EXPECT_EQ(out().size(), result == kZQPluginDone ? 1U : 0U);
        if (result == kZQPluginDone) {
            EXPECT_EQ(read(dng()), whole);
        }
        if (converter.processId() == 0) {
            fs::remove(dng());
            EXPECT_EQ(convert(converter), kZQPluginDone);
        }
    }
}

// Of a library whose process was killed, an hour ago.
TEST_F(ConverterTest, ClearsAwayWhatAKilledProcessLeft)
{
    folder.write("out/.unfinished-4194999-1", "half a DNG");
    folder.write("out/.unfinished", "theirs");
    EXPECT_EQ(convert(converter), kZQPluginDone);
    EXPECT_THAT(out(), UnorderedElementsAre("A.dng", ".unfinished"));
}

TEST_F(ConverterTest, TakesTheSidecarFromBesideTheRawFileThatWasSetAside)
{
    constexpr const char* kSidecar =
        R"(<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#">)"
        R"(<rdf:Description rdf:about="" xmlns:xmp="http://ns.adobe.com/xap/1.0/" xmp:Rating="4"/>)"
        R"(</rdf:RDF></x:xmpmeta>)";
    raw = folder.write("in/.mfxdownload/A.CR2", tinyRaw());
    folder.write("in/A.xmp", kSidecar);
    EXPECT_EQ(convert(converter), kZQPluginDone);
    EXPECT_NE(read(dng()).find("xmp:Rating=\"4\""), std::string::npos);
}

} // namespace
} // namespace test
