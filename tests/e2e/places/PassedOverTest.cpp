// What a download passes over on a card goes with it when it is wiped: the verdict says what.

#include "e2e/support/MountFixture.h"

namespace e2e {

class PassedOverTest : public PlaceTest {
protected:
    static constexpr char kPhoto[] = "\xFF\xD8\xFF\xE0 a photo";

    void arrange() override { addPicture("A.JPG", "photo a"); }

    void expectHoldsMore(const RunResult& result, const std::string& named)
    {
        EXPECT_EQ(result.summary()["card_may_be_wiped"], false) << told(result);
        const std::string verdict = result.summary()["verdict"];
        EXPECT_NE(verdict.find("holds more than these"), std::string::npos) << verdict;
        EXPECT_NE(verdict.find(named), std::string::npos) << named << " in " << verdict;
        expectPromiseKept(result);
    }
    void expectMayBeWiped(const RunResult& result)
    {
        EXPECT_EQ(result.code, 0) << told(result);
        EXPECT_EQ(result.summary()["card_may_be_wiped"], true) << told(result);
        expectPromiseKept(result);
    }
};

TEST_F(PassedOverTest, NamesPicturesInPlacesOfTheSystem)
{
    for (const char* place : {"LOST.DIR/12345",
             "LOST.DIR/IMG.JPG",
             ".Trash-1000/files/IMG.JPG",
             ".Trashes/501/IMG.JPG",
             "$RECYCLE.BIN/S-1/$R1.JPG",
             "System Volume Information/IMG.JPG"}) {
        const fs::path path = card() / place;
        addFileIn(fs::path(place).parent_path(), path.filename(), kPhoto);
        expectHoldsMore(saveTo(target()), place);
        fs::remove_all(card() / *fs::path(place).begin());
    }
    expectMayBeWiped(saveTo(target()));
}

TEST_F(PassedOverTest, NamesPicturesInHiddenFolders)
{
    addFileIn(".private/deep", "IMG.JPG", kPhoto);
    expectHoldsMore(saveTo(target()), ".private");
}

TEST_F(PassedOverTest, NamesAHiddenPictureAndNoNote)
{
    addFileIn("DCIM", "._A.JPG", std::string("\x00\x05\x16\x07\x00\x02", 6) + "note");
    expectMayBeWiped(saveTo(target()));
    addFileIn("DCIM", "._B.JPG", kPhoto);
    expectHoldsMore(saveTo(target()), "._B.JPG");
    EXPECT_EQ(saveTo(target()).summary()["verdict"].dump().find("._A.JPG"), std::string::npos);
}

TEST_F(PassedOverTest, NamesUpToFiveOfEachKind)
{
    for (int i = 0; i < 7; ++i) {
        addFileIn("LOST.DIR", std::to_string(i), kPhoto);
        addFileIn("DCIM", ".hidden" + std::to_string(i) + ".JPG", kPhoto);
    }
    const RunResult result = saveTo(target());
    expectHoldsMore(result, "2 more");
    const Json kinds = result.summary()["passed_over"];
    for (const Json& kind : kinds) {
        EXPECT_EQ(kind["count"], 7) << kind;
        EXPECT_EQ(kind["names"].size(), 5U) << kind;
    }
    EXPECT_EQ(kinds.size(), 2U) << told(result);
}

TEST_F(PassedOverTest, SavesEmptyFilesAndNeverDeletesThem)
{
    addFile("EMPTY.JPG", "");
    const RunResult result = saveAndDelete(target());
    EXPECT_TRUE(fs::exists(pictures() / "EMPTY.JPG"));
    EXPECT_TRUE(fs::exists(target() / "EMPTY.JPG"));
    EXPECT_FALSE(fs::exists(pictures() / "A.JPG"));
    EXPECT_EQ(result.summary()["deleted"], 1) << told(result);
    expectHoldsMore(result, "EMPTY.JPG");
}

TEST_F(PassedOverTest, NamesWhatWasNotAskedFor)
{
    for (int i = 0; i < 7; ++i)
        addPicture("M" + std::to_string(i) + ".MOV", "movie " + std::to_string(i));
    const RunResult result = saveTo(target(), {"--only", "*.JPG"});
    expectHoldsMore(result, "M0.MOV");
    EXPECT_EQ(result.summary()["not_asked_for"], 7);
    EXPECT_NE(result.summary()["verdict"].dump().find("2 more"), std::string::npos) << told(result);
}

TEST_F(PassedOverTest, NamesLinks)
{
    fs::create_symlink("/nowhere", pictures() / "LINK.JPG");
    expectHoldsMore(saveTo(target()), "LINK.JPG");
}

} // namespace e2e
