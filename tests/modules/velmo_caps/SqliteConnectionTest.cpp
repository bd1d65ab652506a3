#include "velmo_caps/SqliteConnection.h"

#include "support/TestFolder.h"

#include <gtest/gtest.h>

namespace velmo_caps {
namespace {

class SqliteConnectionTest : public testing::Test {
protected:
    StoreProblem problemOf(const std::string& path, SqliteConnection::Opening opening)
    {
        try {
            SqliteConnection connection(path, opening);
            connection.number("SELECT count(*) FROM sqlite_schema");
        } catch (const SqliteError& error) {
            return error.problem();
        }
        return StoreProblem::kNone;
    }

    test::TestFolder m_folder;
};

TEST_F(SqliteConnectionTest, MakesAFileOnlyWhereItIsToldTo)
{
    const std::string path = m_folder.path("a.db");
    EXPECT_EQ(problemOf(path, SqliteConnection::Opening::kExisting), StoreProblem::kNoPermission);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(problemOf(path, SqliteConnection::Opening::kMake), StoreProblem::kNone);
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(SqliteConnectionTest, TellsWhatIsNoDatabase)
{
    EXPECT_EQ(problemOf(m_folder.write("a", std::string(2000, 'x')),
                  SqliteConnection::Opening::kExisting),
        StoreProblem::kDamaged);
}

TEST_F(SqliteConnectionTest, TakesOddNamesAsTheyStand)
{
    for (const char* const name : {"a?mode=memory", "a#b", "a%41", "\xC3\xA4 b"}) {
        const std::string path = m_folder.path(name);
        SqliteConnection(path, SqliteConnection::Opening::kMake).run("CREATE TABLE t (a)");
        EXPECT_TRUE(std::filesystem::exists(path)) << name;
        SqliteConnection unchanging(path, SqliteConnection::Opening::kUnchanging);
        EXPECT_EQ(unchanging.number("SELECT count(*) FROM sqlite_schema"), 1) << name;
    }
}

TEST_F(SqliteConnectionTest, AnEmptyTextIsATextAndNotNothing)
{
    SqliteConnection connection(m_folder.path("a"), SqliteConnection::Opening::kMake);
    connection.run("CREATE TABLE t (a)");
    connection.prepare("INSERT INTO t VALUES (?1)").bind(1, std::string_view()).run();
    connection.prepare("INSERT INTO t VALUES (?1)").bindNull(1).run();
    SqliteStatement rows = connection.prepare("SELECT a FROM t ORDER BY rowid");
    ASSERT_TRUE(rows.step());
    EXPECT_EQ(rows.text(0), "");
    ASSERT_TRUE(rows.step());
    EXPECT_EQ(rows.text(0), std::nullopt);
    EXPECT_FALSE(rows.step());
}

TEST_F(SqliteConnectionTest, RefusesATextThatNoStoreShouldHave)
{
    SqliteConnection connection(m_folder.path("a"), SqliteConnection::Opening::kMake);
    SqliteStatement statement = connection.prepare("SELECT ?1");
    const std::string huge(std::size_t{17} * 1024 * 1024, 'x');
    EXPECT_THROW(statement.bind(1, huge), SqliteError);
}

} // namespace
} // namespace velmo_caps
