#include "ZQPluginSupport/worker/Conversion.h"

#include "ZQPluginSupport/ConversionFailure.h"
#include "ZQPluginSupport/original/DngFile.h"
#include "modules/ZQPluginSupport/support/TinyRaw.h"
#include "platform/common/files/NewFile.h"
#include "platform/common/services/OwnedDescriptor.h"
#include "support/ChildProgram.h"
#include "support/Sanitizers.h"
#include "support/TestFolder.h"

#include <cctype>
#include <cstdlib>

#include <fcntl.h>
#include <gmock/gmock.h>

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using dng::ConversionOptions;
using dng::PreviewSize;

class ConversionTest : public testing::Test {
protected:
    std::string converted(const std::string& raw,
        const ConversionOptions& options,
        unsigned int threadCount = 2,
        const std::string& sidecar = {},
        const std::string& thumbnail = {})
    {
        std::error_code error;
        auto file = Pt::NewFile::make(folder.path(), 0600, error);
        dng::WorkerThreads threads(threadCount);
        dng::convert({bytesOf(raw), bytesOf(sidecar), bytesOf(thumbnail), "A.CR2"},
            options,
            file->descriptor(),
            threads,
            [] {});
        const std::string path = folder.path("dng-" + std::to_string(++m_count));
        EXPECT_FALSE(file->place(path));
        return path;
    }

    // What a program says of a file; empty where it is not installed.
    static std::string said(std::vector<std::string> words)
    {
        ChildProgram program(std::move(words));
        EXPECT_TRUE(program.waitForEnd(60s));
        return program.output();
    }

    TestFolder folder;

private:
    int m_count = 0;
};

TEST_F(ConversionTest, GivesTheSameBytesOnEveryRunAndAnyThreads)
{
    const std::string raw = tinyRaw(700, 500);
    ConversionOptions options;
    options.embedsRaw = true;
    const std::string first = read(converted(raw, options, 1));
    EXPECT_EQ(read(converted(raw, options, 1)), first);
    EXPECT_EQ(read(converted(raw, options, 2)), first);
    EXPECT_EQ(read(converted(raw, options, 5)), first);
}

TEST_F(ConversionTest, IsUndoneByTheSmallestAndOddestSizes)
{
    for (const auto& [width, height] : {std::pair(32U, 32U), {33U, 35U}, {301U, 199U}, {257U, 33U}})
        for (const bool isCompressed : {true, false}) {
            ConversionOptions options;
            options.preview = PreviewSize::kNone;
            options.isCompressed = isCompressed;
            EXPECT_NO_THROW(converted(tinyRaw(width, height), options)) << width << 'x' << height;
        }
}

TEST_F(ConversionTest, IsRecordedInItsDng)
{
    const std::string raw = tinyRaw();
    const std::string path = converted(raw, {});
    const Pt::OwnedDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const auto record = dng::readOriginalRecord(file.get());
    ASSERT_TRUE(record);
    EXPECT_EQ(record->name, "A.CR2");
    EXPECT_EQ(record->content.size, raw.size());
}

constexpr const char* kSidecar =
    R"(<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#">)"
    R"(<rdf:Description rdf:about="" xmlns:xmp="http://ns.adobe.com/xap/1.0/" xmp:Rating="4"/>)"
    R"(</rdf:RDF></x:xmpmeta>)";

TEST_F(ConversionTest, KeepsWhatStandsBesideTheRawFile)
{
    const std::string path = converted(tinyRaw(), {}, 2, kSidecar);
    EXPECT_NE(read(path).find("xmp:Rating=\"4\""), std::string::npos);
}

TEST_F(ConversionTest, LeavesOutASidecarThatIsNone)
{
    for (const std::string& text : {std::string("rubbish"),
             std::string(kSidecar).substr(0, 200),
             std::string(100'000, '<'),
             std::string("\xff\xfe<\0x\0", 7)})
        EXPECT_EQ(read(converted(tinyRaw(), {}, 2, text)), read(converted(tinyRaw(), {})));
}

TEST_F(ConversionTest, FailsForADiskThatIsFull)
{
    const Pt::OwnedDescriptor full(::open("/dev/full", O_RDWR | O_CLOEXEC));
    dng::WorkerThreads threads(2);
    const std::string raw = tinyRaw();
    try {
        dng::convert({bytesOf(raw), {}, {}, "A.CR2"}, {}, full.get(), threads, [] {});
        FAIL() << "a full disk took it";
    } catch (const dng::ConversionFailure& failure) {
        EXPECT_EQ(failure.reason(), kZQPluginNoSpace);
    }
}

// Real files of cameras, looked at by readers of others.
class CameraFileTest : public ConversionTest, public testing::WithParamInterface<const char*> {
protected:
    void SetUp() override
    {
        if (test::kIsThreadSanitized)
            GTEST_SKIP() << "what other readers say of a file is known from other builds";
        if (!std::getenv("MFX_SAMPLES"))
            GTEST_SKIP() << "MFX_SAMPLES names no folder of sample media";
        for (const char* const program : {"exiftool", "dcraw", "dcraw_emu"})
            if (!fs::exists(std::string("/usr/bin/") + program))
                GTEST_SKIP() << "there is no " << program;
    }

    static fs::path source() { return fs::path(std::getenv("MFX_SAMPLES")) / GetParam(); }

    std::string checked(const ConversionOptions& options, std::vector<std::string> words)
    {
        const fs::path thm = fs::path(source()).replace_extension(".THM");
        const std::string thumbnail = fs::exists(thm) ? read(thm) : "";
        const std::string path = converted(read(source()), options, 2, {}, thumbnail);
        words.insert(words.begin(), TEVORO_SOURCE_DIR "/scripts/check-dng");
        // The name that the raw file has inside.
        const std::string name = folder.path("A.CR2");
        fs::remove(name);
        fs::create_symlink(source(), name);
        words.insert(
            words.end(), {source().extension() == ".dng" ? source().string() : name, path});
        words.insert(words.begin(), {"/bin/sh", "-c", "\"$@\" 2>&1 && echo fine", "sh"});
        return said(words);
    }
};

TEST_P(CameraFileTest, IsADngThatReadersTake)
{
    EXPECT_EQ(checked({}, {}), "fine\n");
}

TEST_P(CameraFileTest, IsADngThatReadersTakeWithoutCompression)
{
    ConversionOptions options;
    options.preview = PreviewSize::kNone;
    options.isCompressed = false;
    EXPECT_EQ(checked(options, {"--preview", "none", "--uncompressed"}), "fine\n");
}

TEST_P(CameraFileTest, IsALinearDngThatReadersTake)
{
    ConversionOptions options;
    options.isLinear = true;
    EXPECT_EQ(checked(options, {"--linear"}), "fine\n");
}

TEST_P(CameraFileTest, HasTheRawFileInside)
{
    ConversionOptions options;
    options.preview = PreviewSize::kFull;
    options.embedsRaw = true;
    const std::string path = converted(read(source()), options);
    EXPECT_EQ(said({"/usr/bin/exiftool", "-b", "-OriginalRawImage", path}), read(source()));
}

INSTANTIATE_TEST_SUITE_P(,
    CameraFileTest,
    testing::Values("raw/CRW_0101.CRW",
        "raw/CRW_0112.CRW",
        "raw/P003914.KDC",
        "raw/P003917.KDC",
        "raw/colorchart.dng",
        "raw/dng_with_preview.dng",
        "synthetic/gbrg_rot6.dng",
        "synthetic/rggb_odd.dng",
        "synthetic/xtrans.dng"),
    [](const auto& parameter) {
        std::string name = parameter.param;
        std::replace_if(
            name.begin(), name.end(), [](char c) { return !std::isalnum(c); }, '_');
        return name;
    });

} // namespace
} // namespace test
