// mfx extract as a program.

#include "ZQPluginSupport/original/EmbeddedOriginal.h"
#include "e2e/support/MfxRun.h"
#include "support/RecordedDng.h"

#include <fstream>

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace e2e {

class ExtractTest : public MfxTest {
protected:
    void SetUp() override
    {
        MfxTest::SetUp();
        fs::create_directories(dngs());
    }

    fs::path dngs() const { return data() / "dngs"; }

    std::string write(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(dngs() / name, std::ios::binary) << bytes;
        return dngs() / name;
    }

    static std::string embedded(const std::string& raw)
    {
        const std::vector<std::uint8_t> bytes(raw.begin(), raw.end());
        const dng::MemorySource source(bytes);
        std::string value;
        const auto original = dng::EmbeddedOriginal::of(source, nullptr, nullptr);
        EXPECT_TRUE(original && original->write([&value](std::span<const std::uint8_t> piece) {
            value.append(piece.begin(), piece.end());
            return true;
        }));
        return value;
    }

    const std::string raw = std::string(100'000, 'r') + "aw";
};

TEST_F(ExtractTest, WritesTheRawFileBesideItsDNG)
{
    const std::string dng = write("A.dng", test::recordedDng("A.CR2", raw, embedded(raw)));
    const RunResult result = mfx({"extract", dng});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, (dngs() / "A.CR2").string() + '\n');
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(contentOf(dngs() / "A.CR2"), raw);
    const RunResult again = mfx({"extract", dng});
    EXPECT_EQ(again.code, 0);
    EXPECT_EQ(again.out, (dngs() / "A.CR2").string() + " (already present)\n");
    EXPECT_EQ(filesIn(dngs()).size(), 2U);
}

TEST_F(ExtractTest, WritesIntoAFolderAndOverNoFile)
{
    write("A.dng", test::recordedDng("A.CR2", raw, embedded(raw)));
    write("A.CR2", "somebody else's");
    setWorkingFolder(dngs());
    EXPECT_EQ(mfx({"extract", "A.dng"}).out, (dngs() / "A-1.CR2").string() + '\n');
    EXPECT_EQ(contentOf(dngs() / "A.CR2"), "somebody else's");
    EXPECT_EQ(mfx({"extract", "A.dng", "--to", "../raws"}).code, 0);
    EXPECT_EQ(contentOf(data() / "raws/A.CR2"), raw);
}

TEST_F(ExtractTest, NamesWhyThereIsNoRawFile)
{
    struct Row {
        std::string file;
        int code;
        std::string reason;
    };
    const std::vector<Row> rows{{dngs() / "missing.dng", 3, "is not there"},
        {write("B.dng", "no DNG"), 1, "is no DNG"},
        {write("C.dng", test::recordedDng("C.CR2", raw)), 3, "has no raw file inside"},
        {write("D.dng", test::recordedDng("A.CR2", raw, embedded(raw + "!"))), 1, "is not whole"}};
    for (const Row& row : rows) {
        const RunResult result = mfx({"extract", row.file});
        EXPECT_EQ(result.code, row.code) << row.file << result.err;
        EXPECT_THAT(result.err, HasSubstr(row.reason));
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(filesIn(dngs()).size(), 3U);
    EXPECT_EQ(mfx({"extract"}).code, 2);
}

TEST_F(ExtractTest, SaysThatThePlaceTakesNoFile)
{
    const std::string dng = write("A.dng", test::recordedDng("A.CR2", raw, embedded(raw)));
    EXPECT_EQ(mfx({"extract", dng, "--to", dng}).code, 4);
    fs::create_directories(data() / "shut");
    fs::permissions(data() / "shut", fs::perms::owner_read | fs::perms::owner_exec);
    asOrdinaryUser(true);
    EXPECT_EQ(mfx({"extract", dng, "--to", data() / "shut"}).code, 4);
}

} // namespace e2e
