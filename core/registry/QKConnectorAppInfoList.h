// The records of a connector, in the order in which they came. Owns them. No two are equal, unless
// update() added one; several may have the same specifier.
//
// Any thread may call; every operation holds the list's lock, and the lock of the connector above
// it, where both are held, is taken first. A pointer to a record stays valid until a record is
// removed: code outside the connector takes copies.
#pragma once

#include "messaging/SoLock.h"
#include "messaging/SoVector.h"
#include "registry/QKConnectorAppInfo.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace ScObjects {

class TEVOROTALK_API QKConnectorAppInfoList : public SoLockable {
public:
    QKConnectorAppInfoList() = default;
    ~QKConnectorAppInfoList() override;
    QKConnectorAppInfoList(const QKConnectorAppInfoList&) = delete;
    QKConnectorAppInfoList& operator=(const QKConnectorAppInfoList&) = delete;

    long length() const;
    // Requires: an index of a record.
    const QKConnectorAppInfo* get(long index) const;
    // Copies the record; always true. Requires: an index of a record.
    bool getItemAt(long index, QKConnectorAppInfo& info) const;
    bool isInList(const QKConnectorAppInfo& info) const;

    // The first record with exactly that specifier, or else with the specifier without its
    // instance. Null if there is none, and -1 in `index`.
    const QKConnectorAppInfo* find(const SoString& specifier, long* index = nullptr) const;
    // False, and no change of `info`, if there is none.
    bool find(const SoString& specifier, QKConnectorAppInfo& info, long* index = nullptr) const;

    // The first record at or behind that index whose specifier has that application name; -1 if
    // there is none.
    long findName(const SoString& appName, long from) const;

    // Gives each record that names another one the path at the end of that chain. A chain that
    // leads back into itself ends at the first record met again, which keeps its path. True if any
    // record named another, found or not.
    bool resolveRedirectTo();
    // Exactly that specifier, with its instance. False if there is no such record.
    bool setProcessID(const SoString& specifier, std::uint32_t pid);
    // Overwrites the record that find() gives, or adds one. False for an unknown empty specifier.
    // A run of updates of one record is cheap.
    bool update(const QKConnectorAppInfo& info);
    // Takes ownership. False if there is an equal record: the new one is then deleted.
    bool append(QKConnectorAppInfo* info);
    // Deletes the first equal record; false if there is none.
    bool remove(const QKConnectorAppInfo& info);
    void clear();
    void clearWithoutLocking() TEVOROTALK_REQUIRES(this);

private:
    long placeOfExactly(const SoString& specifier) const TEVOROTALK_REQUIRES(this);
    long placeOf(const SoString& specifier) const TEVOROTALK_REQUIRES(this);
    long placeOfEqual(const QKConnectorAppInfo& info) const TEVOROTALK_REQUIRES(this);
    void addAtEnd(QKConnectorAppInfo* info) TEVOROTALK_REQUIRES(this);
    void indexAnew() TEVOROTALK_REQUIRES(this);
    void indexNames() const TEVOROTALK_REQUIRES(this);
    std::vector<long> chainEnds() const TEVOROTALK_REQUIRES(this);
    void followChain(long start, std::vector<long>& ends) const TEVOROTALK_REQUIRES(this);

    SoVector<QKConnectorAppInfo> m_records TEVOROTALK_GUARDED_BY(this);
    // Where the records of a specifier stand, in ascending order: a store may hold thousands, and
    // each of them is looked up while the list is built.
    std::unordered_map<std::string, std::vector<long>> m_places TEVOROTALK_GUARDED_BY(this);
    // The same for application names, which completions ask for. Made when it is asked for after a
    // change.
    mutable std::unordered_map<std::string, std::vector<long>>
        m_placesOfNames TEVOROTALK_GUARDED_BY(this);
    mutable bool m_knowsNames TEVOROTALK_GUARDED_BY(this) = false;
    QKConnectorAppInfo* m_lastUpdated TEVOROTALK_GUARDED_BY(this) = nullptr; // in m_records
};

} // namespace ScObjects
