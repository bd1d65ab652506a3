#include "velmo_caps/StoreRows.h"

#include <limits>

namespace velmo_caps {

namespace {

constexpr char kAllRows[] =
    "SELECT s.id, s.face, s.domain, s.name, s.collection, e.key, e.value "
    "FROM subdomain s JOIN entry e ON e.subdomain = s.id ORDER BY s.id, e.id";

bool fits(std::int64_t number)
{
    return number >= 0 && number <= std::numeric_limits<std::int32_t>::max();
}

bool isKey(const std::optional<std::string>& key, const std::optional<std::string>& value)
{
    return key && (!key->empty() || !value);
}

bool isFace(std::int64_t face)
{
    return face == static_cast<std::int64_t>(Face::kPcd)
        || face == static_cast<std::int64_t>(Face::kCaps);
}

StoredSubdomain subdomainIn(const SqliteStatement& row)
{
    StoredSubdomain subdomain;
    subdomain.name.face = static_cast<Face>(row.number(1));
    subdomain.name.domain = static_cast<std::int32_t>(row.number(2));
    subdomain.name.name = row.text(3).value_or(std::string());
    subdomain.collection = row.text(4).value_or(std::string());
    return subdomain;
}

} // namespace

StoreRows readRows(SqliteConnection& database)
{
    StoreRows rows;
    rows.counter = database.number("SELECT counter FROM change");
    SqliteStatement statement = database.prepare(kAllRows);
    std::int64_t last = -1;
    while (statement.step()) {
        const auto key = statement.text(5);
        auto value = statement.text(6);
        if (!isFace(statement.number(1)) || !fits(statement.number(2)) || !isKey(key, value))
            continue;
        if (rows.subdomains.empty() || statement.number(0) != last) {
            StoredSubdomain subdomain = subdomainIn(statement);
            if (subdomain.name.name.empty())
                continue;
            last = statement.number(0);
            rows.subdomains.push_back(std::move(subdomain));
        }
        rows.subdomains.back().entries.push_back({*key, std::move(value)});
    }
    return rows;
}

} // namespace velmo_caps
