#include "platform/common/files/SmallFile.h"

#include "core/platform/support/FileFixture.h"

#include <sys/stat.h>

namespace {

using SmallFileTest = test::FileFixture;

} // namespace

TEST_F(SmallFileTest, SetsAModeWhateverTheMaskIs)
{
    put("a", "1");
    const mode_t before = ::umask(0777);
    EXPECT_FALSE(Pt::setMode(path("a"), 0646));
    ::umask(before);
    EXPECT_EQ(modeOf("a"), 0646U);
    EXPECT_EQ(Pt::setMode(path("none"), 0600), std::errc::no_such_file_or_directory);
}
