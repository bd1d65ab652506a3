// Every version of the schema that ever landed, as text: none of them may change any more.
#include "velmo_caps/StoreSchema.h"

#include "modules/velmo_caps/StoreFixture.h"

namespace velmo_caps {
namespace {

constexpr const char* kVersions[] = {
    // 1
    "PRAGMA application_id = 1447841091; PRAGMA user_version = 1;"
    "CREATE TABLE subdomain (id INTEGER PRIMARY KEY, face INTEGER NOT NULL,"
    "  domain INTEGER NOT NULL, name TEXT NOT NULL, collection TEXT NOT NULL DEFAULT '',"
    "  UNIQUE (face, domain, name));"
    "CREATE TABLE entry (id INTEGER PRIMARY KEY,"
    "  subdomain INTEGER NOT NULL REFERENCES subdomain (id), key TEXT NOT NULL, value TEXT,"
    "  UNIQUE (subdomain, key));"
    "CREATE TABLE change (counter INTEGER NOT NULL);"
    "INSERT INTO change VALUES (1700000000);"
    "INSERT INTO subdomain VALUES (5, 0, 1, '/velmo/tevorotalk/tevoro-2.0', '');"
    "INSERT INTO subdomain VALUES (7, 1, 4, '{A}', 'Suite');"
    "INSERT INTO entry VALUES (1, 5, 'Path', '/usr/bin/tevoro');"
    "INSERT INTO entry VALUES (2, 7, 'QMTConfigPath', '/opt/a/b.xml');",
};

const SubdomainName kPayload{Face::kCaps, 4, "{A}"};

class StoreSchemaTest : public StoreFixture {
protected:
    static std::string problem()
    {
        CurrentStores stores;
        EXPECT_TRUE(stores.view()->subdomains().empty());
        const auto texts = stores.problems();
        return texts.empty() ? "none" : texts.front();
    }
    void make(const char* sql)
    {
        prepareToWrite(userStore());
        std::filesystem::resize_file(userFile(), 0);
        SqliteConnection(userFile(), SqliteConnection::Opening::kExisting).run(sql);
    }
};

TEST_F(StoreSchemaTest, EveryVersionThatEverLandedIsReadAndBroughtToTheNewest)
{
    ASSERT_EQ(std::size(kVersions), static_cast<std::size_t>(kSchemaVersion));
    for (const char* const version : kVersions) {
        make(version);
        EXPECT_EQ(valueNow(kTevoro, "Path"), "/usr/bin/tevoro");
        setUser(kViewer, "Path", "/usr/bin/viewer");
        EXPECT_EQ(valueNow(kTevoro, "Path"), "/usr/bin/tevoro");
        EXPECT_EQ(valueNow(kPayload, "QMTConfigPath"), "/opt/a/b.xml");
        EXPECT_EQ(valueNow(kViewer, "Path"), "/usr/bin/viewer");
        SqliteConnection after(userFile(), SqliteConnection::Opening::kExisting);
        EXPECT_EQ(schemaState(after).version, kSchemaVersion);
        std::filesystem::remove(userFile());
    }
}

TEST_F(StoreSchemaTest, ANewerStoreIsReadAsFarAsItCanBeAndNotWritten)
{
    make(kVersions[0]);
    SqliteConnection(userFile(), SqliteConnection::Opening::kExisting)
        .run("PRAGMA user_version = 2; ALTER TABLE entry ADD COLUMN further TEXT");
    const std::string bytes = test::read(userFile());
    EXPECT_EQ(valueNow(kTevoro, "Path"), "/usr/bin/tevoro");
    EXPECT_EQ(problemOf([] { StoreWriter writer(userStore()); }), StoreProblem::kNewerSchema);
    EXPECT_EQ(test::read(userFile()), bytes);
}

TEST_F(StoreSchemaTest, ANewerStoreThatCannotBeReadIsEmptyAndSaysSo)
{
    make(kVersions[0]);
    SqliteConnection(userFile(), SqliteConnection::Opening::kExisting)
        .run("PRAGMA user_version = 9; ALTER TABLE entry RENAME TO item");
    CurrentStores stores;
    EXPECT_TRUE(stores.view()->subdomains().empty());
    EXPECT_THAT(stores.problems(), testing::ElementsAre(testing::HasSubstr("later version")));
}

TEST_F(StoreSchemaTest, AnEmptyFileIsAStoreThatHasNothingYet)
{
    prepareToWrite(userStore());
    CurrentStores stores;
    EXPECT_TRUE(stores.view()->subdomains().empty());
    EXPECT_TRUE(stores.problems().empty());
    setUser(kTevoro, "Path", "a");
    EXPECT_EQ(valueIn(*stores.view(), kTevoro, "Path"), "a");
}

TEST_F(StoreSchemaTest, AFileWithTheMarkAloneIsAStoreThatHasNothingYet)
{
    make("PRAGMA application_id = 1447841091");
    EXPECT_EQ(problem(), "none");
    setUser(kTevoro, "Path", "a");
    EXPECT_EQ(valueNow(kTevoro, "Path"), "a");
}

TEST_F(StoreSchemaTest, AStoreWithoutItsTablesSaysSoAndStaysAsItIs)
{
    for (const char* const table : {"subdomain", "entry", "change"}) {
        make(kVersions[0]);
        SqliteConnection(userFile(), SqliteConnection::Opening::kExisting)
            .run(("PRAGMA foreign_keys = OFF; DROP TABLE " + std::string(table)).c_str());
        EXPECT_THAT(problem(), testing::HasSubstr("lacks tables")) << table;
        EXPECT_EQ(problemOf([this] { setUser(kTevoro, "Path", "a"); }), StoreProblem::kNoTables);
        EXPECT_THAT(namesBesideTheStore(), testing::Contains("velmo_caps.db"));
        std::filesystem::remove_all(m_folder.path("user"));
    }
}

TEST_F(StoreSchemaTest, AStoreWithDataAndNoVersionSaysSoAndStaysAsItIs)
{
    for (const char* const version : {"0", "-1"}) {
        make(kVersions[0]);
        SqliteConnection(userFile(), SqliteConnection::Opening::kExisting)
            .run(("PRAGMA user_version = " + std::string(version)).c_str());
        const std::string bytes = test::read(userFile());
        EXPECT_THAT(problem(), testing::HasSubstr("user_version")) << version;
        EXPECT_EQ(problemOf([] { StoreWriter writer(userStore()); }), StoreProblem::kNoVersion);
        EXPECT_EQ(test::read(userFile()), bytes);
    }
}

TEST_F(StoreSchemaTest, CodeInAFileDoesNotRun)
{
    make(kVersions[0]);
    SqliteConnection(userFile(), SqliteConnection::Opening::kExisting)
        .run("CREATE TRIGGER trap AFTER INSERT ON entry BEGIN DELETE FROM entry; END");
    setUser(kViewer, "Path", "b");
    EXPECT_EQ(valueNow(kTevoro, "Path"), "/usr/bin/tevoro");
}

} // namespace
} // namespace velmo_caps
