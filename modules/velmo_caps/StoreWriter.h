// One store, opened for writing: made where it is missing, brought to the newest schema, checked,
// and begun anew beside the old file where that is damaged. The machine's store is written as a new
// file that takes the place of the old one, and is kept from other writers meanwhile. Throws
// StoreError. One thread at a time.
#pragma once

#include "velmo_caps/SqliteConnection.h"
#include "velmo_caps/StoreDraft.h"
#include "velmo_caps/StorePlace.h"
#include "velmo_caps/StoreRows.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace velmo_caps {

class StoreWriter {
public:
    // `told` receives a line for people if a damaged store was kept aside.
    explicit StoreWriter(
        StorePlace place, const std::function<void(const std::string&)>& told = nullptr);
    StoreWriter(const StoreWriter&) = delete;
    StoreWriter& operator=(const StoreWriter&) = delete;

    // Whether its path still leads to the file that is open.
    bool isAtItsPlace() const;

    const StorePlace& place() const { return m_place; }

    // Changes that happen together or not at all: not before commit(), and not without. One at a
    // time; it ends before its writer.
    class Change {
    public:
        explicit Change(StoreWriter& writer);
        ~Change();
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;

        void set(const SubdomainName& subdomain, std::string_view key, std::string_view value);
        // Hides what the machine's store has there.
        void hide(const SubdomainName& subdomain, std::string_view key);
        // Hides what the machine's store has in it, and what it will have.
        void hideAll(const SubdomainName& subdomain);
        // Ends all that is hidden of it.
        void show(const SubdomainName& subdomain);
        // False when there was nothing.
        bool remove(const SubdomainName& subdomain, std::string_view key);
        // Makes a payload's data in all domains part of a collection.
        void setCollection(const std::string& payload, std::string_view collection);

        // On the disk when it returns.
        void commit();

    private:
        static StoreWriter& ready(StoreWriter& writer);
        static SqliteStatement prepared(StoreWriter& writer, const char* sql);
        void setNullable(
            const SubdomainName& subdomain, std::string_view key, const std::string_view* value);
        std::int64_t idOf(const SubdomainName& subdomain);

        StoreWriter& m_writer;
        SqliteStatement m_makeSubdomain;
        SqliteStatement m_findSubdomain;
        SqliteStatement m_setEntry;
        SqliteStatement m_removeEntry;
        SqliteStatement m_removeEmpty;
    };

private:
    void openOrBegin();
    void open();
    void publish();
    void connect();
    template <typename Work>
    void leadBackWithoutSharedMemory(Work work);
    void check();
    void chooseJournal();

    const StorePlace m_place;
    const std::function<void(const std::string&)> m_told;
    // What is written instead of the machine's store: those who read that may be anybody.
    std::optional<StoreDraft> m_draft;
    std::optional<SqliteConnection> m_database;
    StoreCondition m_condition;
};

} // namespace velmo_caps
