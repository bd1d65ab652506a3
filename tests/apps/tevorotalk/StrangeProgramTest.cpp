// A program that lies elsewhere finds the store by the place of the bus's library.
#include "apps/tevorotalk/BusFixture.h"
#include "support/OrdinaryUser.h"

#include <sys/stat.h>

namespace test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class StrangeProgramTest : public BusFixture {
protected:
    StrangeProgramTest()
    {
        const fs::path home = fs::path(TEVOROTALK).parent_path().parent_path(); // STAGE/lib/mfx
        const fs::path framework = "Frameworks/velmo_caps.framework";
        fs::create_directories(m_libraries / "mfx" / framework);
        for (const auto& each : fs::directory_iterator(home.parent_path()))
            if (each.path().filename().string().starts_with("libtevorotalk.so"))
                fs::copy(
                    each, m_libraries / each.path().filename(), fs::copy_options::copy_symlinks);
        fs::copy_file(home / framework / "velmo_caps.so", module());
        fs::create_directory(folder.path("elsewhere"));
        fs::copy_file(TEVOROTALK, folder.path("elsewhere/program"));
        environment.set("LD_LIBRARY_PATH", m_libraries.string());
    }

    fs::path module() const
    {
        return m_libraries / "mfx/Frameworks/velmo_caps.framework/velmo_caps.so";
    }
    std::vector<fs::path> places() const
    {
        return {module(),
            module().parent_path(),
            m_libraries / "mfx/Frameworks",
            m_libraries / "mfx",
            m_libraries};
    }
    CommandResult apps() const
    {
        PeerProcess process({folder.path("elsewhere/program"), "apps"});
        process.endInput();
        CommandResult result;
        result.out = process.rest();
        result.err = process.errors();
        result.code = process.finish();
        return result;
    }

    const fs::path m_libraries = folder.path("prefix/lib");
};

TEST_F(StrangeProgramTest, FindsTheStoreByThePlaceOfTheLibrary)
{
    EXPECT_EQ(apps().code, 0);
    EXPECT_THAT(apps().err, HasSubstr("no application is registered"));
    fs::remove_all(m_libraries / "mfx");
    EXPECT_EQ(apps().code, 5);
}

TEST_F(StrangeProgramTest, LoadsNoLibraryThatAnotherUserCouldHaveLaidThere)
{
    for (const fs::path& place : places()) {
        fs::permissions(place, fs::perms::others_write, fs::perm_options::add);
        EXPECT_EQ(apps().code, 5) << place;
        fs::permissions(place, fs::perms::others_write, fs::perm_options::remove);
    }
    EXPECT_EQ(apps().code, 0);
}

TEST_F(StrangeProgramTest, LoadsNoLibraryOfAnotherUser)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "this user may not give a file away";
    for (const fs::path& place : places()) {
        if (place == m_libraries)
            continue; // whoever owns the bus's library decides what runs
        ASSERT_EQ(::chown(place.c_str(), kNobody, kNobody), 0);
        EXPECT_EQ(apps().code, 5) << place;
        ASSERT_EQ(::chown(place.c_str(), 0, 0), 0);
    }
    EXPECT_EQ(apps().code, 0);
}

} // namespace
} // namespace test
