#include "ZQPluginSupport/verification/DngCheck.h"

#include "ZQPluginSupport/ConversionFailure.h"
#include "ZQPluginSupport/worker/Conversion.h"
#include "modules/ZQPluginSupport/support/TinyRaw.h"
#include "platform/common/files/NewFile.h"
#include "support/TestFolder.h"

#include <cstring>

namespace test {
namespace {

using dng::ConversionFailure;
using dng::ExpectedDng;

class DngCheckTest : public testing::Test {
protected:
    DngCheckTest()
    {
        dng::ConversionOptions options;
        options.embedsRaw = true;
        options.preview = dng::PreviewSize::kNone; // people look at it, and nothing is compared
        dng = converted(options);
        Pt::ContentDigester digester;
        digester.add(raw.data(), raw.size());
        expected = {source.values(), source.facts(), {"A.CR2", digester.finish()}, true};
    }

    std::vector<std::byte> converted(const dng::ConversionOptions& options) const
    {
        std::error_code error;
        auto file = Pt::NewFile::make(folder.path(), 0600, error);
        dng::WorkerThreads threads(1);
        dng::convert({bytesOf(raw), {}, {}, "A.CR2"}, options, file->descriptor(), threads, [] {});
        return dng::readBack(file->descriptor());
    }

    bool passes(const std::vector<std::byte>& bytes) const
    {
        try {
            checkDng(bytes, expected, [] {});
            return true;
        } catch (const ConversionFailure& failure) {
            EXPECT_EQ(failure.reason(), kZQPluginNotVerified);
            return false;
        }
    }

    TestFolder folder;
    const std::string raw = tinyRaw();
    dng::RawSource source{bytesOf(raw), [] {}};
    std::vector<std::byte> dng;
    ExpectedDng expected;
};

TEST_F(DngCheckTest, PassesWhatWasWritten)
{
    EXPECT_TRUE(passes(dng));
}

// One bit anywhere in the values, the raw file inside, or what says where they lie.
TEST_F(DngCheckTest, FindsAFlippedBit)
{
    std::size_t missed = 0;
    std::size_t tried = 0;
    const std::size_t head = 4096; // texts of the head are nobody's loss
    const std::size_t unused = 28; // at the end: what else could be inside
    for (std::size_t place = head; place < dng.size() - unused; place += 97) {
        std::vector<std::byte> flipped = dng;
        flipped[place] ^= std::byte{0x10};
        missed += passes(flipped) ? 1 : 0;
        ++tried;
    }
    EXPECT_EQ(missed, 0U) << "of " << tried;
    EXPECT_GT(tried, 100U);
}

TEST_F(DngCheckTest, FindsWhatWasCutOff)
{
    for (const std::size_t missing : {std::size_t{1}, std::size_t{100}, dng.size() / 2, dng.size()})
        EXPECT_FALSE(passes({dng.begin(), dng.end() - static_cast<std::ptrdiff_t>(missing)}))
            << missing;
}

TEST_F(DngCheckTest, FindsAnotherPicture)
{
    const std::string other = tinyRaw(96, 64, 2);
    const dng::RawSource another(bytesOf(other), [] {});
    expected.frame = another.values();
    EXPECT_FALSE(passes(dng));
}

// Three colours a pixel, computed from the source.
TEST_F(DngCheckTest, ComparesEachColourOfEachPixel)
{
    dng::ConversionOptions options;
    options.isLinear = true;
    options.preview = dng::PreviewSize::kNone;
    dng = converted(options);
    expected.frame = source.linear(expected.facts);
    expected.embedsOriginal = false;
    EXPECT_TRUE(passes(dng));
    const std::size_t count = std::size_t{96} * 64 * 3;
    std::vector<std::uint16_t> samples(expected.frame.samples, expected.frame.samples + count);
    expected.frame.samples = samples.data();
    for (const std::size_t place : {std::size_t{0}, count / 2 + 1, count - 1}) {
        samples[place] ^= 1;
        EXPECT_FALSE(passes(dng)) << place;
        samples[place] ^= 1;
    }
    --expected.frame.height;
    EXPECT_FALSE(passes(dng));
}

TEST_F(DngCheckTest, FindsFactsThatAreNotThoseOfTheSource)
{
    const dng::SensorFacts before = expected.facts;
    const auto fails = [&](auto change) {
        expected.facts = before;
        change(expected.facts);
        return !passes(dng);
    };
    EXPECT_TRUE(fails([](dng::SensorFacts& facts) { ++facts.white; }));
    EXPECT_TRUE(fails([](dng::SensorFacts& facts) { ++facts.black.values[0]; }));
    EXPECT_TRUE(fails([](dng::SensorFacts& facts) { ++facts.active.left; }));
    EXPECT_TRUE(fails([](dng::SensorFacts& facts) { facts.mosaic.values[0] = 2; }));
    EXPECT_TRUE(fails([](dng::SensorFacts& facts) { facts.orientation = 3; }));
    EXPECT_TRUE(fails([](dng::SensorFacts& facts) { facts.neutral[0] *= 1.1; }));
    EXPECT_TRUE(fails([](dng::SensorFacts& facts) { facts.matrix.values[0] += 0.1; }));
    EXPECT_FALSE(fails([](dng::SensorFacts&) {}));
}

TEST_F(DngCheckTest, FindsTheRecordOfAnotherFile)
{
    expected.original.name = "B.CR2";
    EXPECT_FALSE(passes(dng));
    expected.original.name = "A.CR2";
    expected.embedsOriginal = false;
    EXPECT_FALSE(passes(dng));
}

} // namespace
} // namespace test
