// What goes together and what does not: sidecars that come along, twins that are none, dates that
// are those of a file.

#include "e2e/MfxRun.h"
#include "support/TinyJpeg.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::Pair;

namespace e2e {

class DownloadGroupsTest : public MfxTest { };

TEST_F(DownloadGroupsTest, BringsTheSidecarsOfWhatWasAskedFor)
{
    for (const char* name : {"A.CR2", "A.JPG", "A.xmp", "A.CR2.xmp", "A.JPG.xmp", "A.WAV", "B.xmp"})
        addFile(name, name);
    const RunResult result = download({"--only", "*.CR2"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_THAT(filesIn(target()),
        ElementsAre(Pair("A.CR2", "A.CR2"),
            Pair("A.CR2.xmp", "A.CR2.xmp"),
            Pair("A.WAV", "A.WAV"),
            Pair("A.xmp", "A.xmp")));
    EXPECT_EQ(result.summary()["not_asked_for"], 3);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false);
}

} // namespace e2e
