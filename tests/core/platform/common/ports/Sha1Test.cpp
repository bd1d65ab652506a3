#include "platform/common/ports/Sha1.h"

#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>

using Pt::sha1;

namespace {

std::string hex(const std::optional<Pt::Sha1Digest>& digest)
{
    constexpr char kDigits[] = "0123456789abcdef";
    if (!digest)
        return "none";
    std::string text;
    for (const unsigned char byte : *digest) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 15U];
    }
    return text;
}

} // namespace

// The first four are the examples of FIPS 180.
TEST(Sha1Test, DigestsKnownTexts)
{
    EXPECT_EQ(hex(sha1({"abc"})), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(hex(sha1({"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"})),
        "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
    EXPECT_EQ(hex(sha1({std::string(1000000, 'a')})), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
    EXPECT_EQ(hex(sha1({""})), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    EXPECT_EQ(hex(sha1({})), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
}

TEST(Sha1Test, TakesPiecesAsOneText)
{
    EXPECT_EQ(sha1({"a", "", "bc"}), sha1({"abc"}));
    EXPECT_NE(sha1({"a", "bc"}), sha1({"bc", "a"}));
    const std::string zeros("a\0b", 3);
    EXPECT_NE(sha1({zeros}), sha1({"ab"}));
}

// Short pieces are gathered, long ones are not.
TEST(Sha1Test, TakesPiecesOfAllLengthsAsOneText)
{
    for (const std::size_t size : {1U, 1022U, 1023U, 1024U, 1025U, 5000U}) {
        const std::string text(size, 'x');
        const std::string whole = "salt+" + text + "+salt";
        EXPECT_EQ(sha1({"salt", "+", text, "+", "salt"}), sha1({whole})) << size;
    }
}

TEST(Sha1Test, DigestsOnManyThreads)
{
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (std::size_t i = 0; i < wrong.size(); ++i) {
        threads.emplace_back([&wrong, i] {
            for (int round = 0; round < 200; ++round)
                wrong[i] +=
                    hex(sha1({"abc"})) == "a9993e364706816aba3e25717850c26c9cd0d89d" ? 0 : 1;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

// Under the leak sanitizer also: nothing of it is left.
TEST(Sha1Test, LeavesWithTheLibraryThatContainsIt)
{
    using Run = int();
    for (int round = 0; round < 3; ++round) {
        void* const module = ::dlopen(TRANSPORT_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_TRUE(module) << ::dlerror();
        auto* const run = reinterpret_cast<Run*>(::dlsym(module, "useTransport"));
        ASSERT_TRUE(run);
        EXPECT_EQ(run(), 0);
        EXPECT_EQ(::dlclose(module), 0);
        EXPECT_FALSE(::dlopen(TRANSPORT_MODULE, RTLD_NOW | RTLD_NOLOAD)) << "still loaded";
    }
}
