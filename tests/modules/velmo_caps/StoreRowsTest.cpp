#include "velmo_caps/StoreRows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmo_caps {
namespace {

class StoreRowsTest : public testing::Test {
protected:
    StoreRowsTest()
        : m_database(":memory:", SqliteConnection::Opening::kMake)
    {
        migrate(m_database, "memory");
    }

    void run(const std::string& sql) { m_database.run(sql.c_str()); }

    SqliteConnection m_database;
};

TEST_F(StoreRowsTest, ComesInTheOrderOfAddition)
{
    run("INSERT INTO subdomain (id, face, domain, name) VALUES (2, 0, 1, 'a'), (1, 0, 1, 'b');"
        "INSERT INTO entry VALUES (4, 2, 'x', '1'), (3, 2, 'y', '2'), (9, 1, 'z', NULL)");
    const StoreRows rows = readRows(m_database);
    ASSERT_EQ(rows.subdomains.size(), 2U);
    EXPECT_EQ(rows.subdomains[0].name.name, "b");
    EXPECT_EQ(rows.subdomains[0].entries[0].value, std::nullopt);
    EXPECT_EQ(rows.subdomains[1].entries[0].key, "y");
    EXPECT_EQ(rows.subdomains[1].entries[1].key, "x");
}

TEST_F(StoreRowsTest, StepsOverRowsThatCannotBeOurs)
{
    run("INSERT INTO subdomain VALUES (1, 7, 1, 'face', ''), (2, 0, -1, 'domain', ''),"
        "  (3, 0, 99999999999, 'far', ''), (4, 0, 1, '', ''), (5, 0, 1, 'good', '');"
        "INSERT INTO entry VALUES (1, 1, 'k', 'v'), (2, 2, 'k', 'v'), (3, 3, 'k', 'v'),"
        "  (4, 4, 'k', 'v'), (5, 5, '', 'v'), (6, 5, 'k', 'v'), (7, 99, 'k', 'v')");
    const StoreRows rows = readRows(m_database);
    ASSERT_EQ(rows.subdomains.size(), 1U);
    EXPECT_EQ(rows.subdomains[0].name.name, "good");
    ASSERT_EQ(rows.subdomains[0].entries.size(), 1U);
}

TEST_F(StoreRowsTest, ReadsNumbersAndBytesAsTextUpToTheFirstNul)
{
    run("INSERT INTO subdomain VALUES (1, 0, 1, 'a', '');"
        "INSERT INTO entry VALUES (1, 1, 'number', 7), (2, 1, 'bytes', x'616200ff')");
    const StoreRows rows = readRows(m_database);
    EXPECT_EQ(rows.subdomains[0].entries[0].value, "7");
    EXPECT_EQ(rows.subdomains[0].entries[1].value, "ab");
}

} // namespace
} // namespace velmo_caps
