// The process-wide answer to the question which applications there are. Keeps the records and the
// entries of groups that a subclass gives in initLists(); read once, on first use, until
// clearCache(). One connector at most stands in a process, and none is a normal state.
//
// Any thread may call; operations hold the connector's lock, and below it that of the list. It may
// be taken with the lock of the bus's thread held, never the other way round. Nothing asks other
// processes with the connector's lock held, unless a comment says so.
#pragma once

#include "messaging/SoLock.h"
#include "messaging/SoString.h"
#include "messaging/SoVector.h"
#include "messaging/Specifier.h"

#include <array>
#include <cstdint>

namespace ScObjects {

class QKConnectorAppInfo;
class QKConnectorAppInfoList;

class TEVOROTALK_API TevoroTalkConnector : public SoLockable {
public:
    using Specifier = TevoroTalk::Specifier;

    // Where a store keeps applications, and the keys of an application.
    static constexpr const char* kAppSubdomainPrefix = "/velmo/tevorotalk/";
    static constexpr const char* kGroupSubdomainPrefix = "/velmo/tevorotalk/groups/";
    static constexpr const char* kGroupKeyPrefix = "Group";
    static constexpr const char* kGuidKey = "Specifier";
    static constexpr const char* kLocationKey = "Path";
    static constexpr const char* kWinClassNameKey = "WindowClassName";
    static constexpr const char* kDisplayNameKey = "DisplayName";
    static constexpr const char* kBundleIdentifierKey = "BundleIdentifier";
    static constexpr const char* kTevoroTalkVersionKey = "TevoroTalkVersion";
    static constexpr const char* kAllowMultipleInstancesKey = "AllowMultipleInstances";
    static constexpr const char* kIsShellToolKey = "IsShellTool";
    static constexpr const char* kMessageAuthenticationKey = "MessageAuthentication";
    static constexpr const char* kMessageDigestKey = "MessageDigest";
    static constexpr const char* kSupportsQsdtKey = "SupportsQSDT";
    static constexpr const char* kExecutableBasenameKey = "ExecutableBasename";
    // Stores name it after the system; existing stores use this name here.
    static constexpr const char* kExecutableExtensionKey = "ExecutableExtensionMac";
    static constexpr const char* kOMVDictionaryKey = "OMVDictionary";
    static constexpr const char* kDeveloperInstallPathKey = "DeveloperInstallPath";
    static constexpr const char* kRedirectToKey = "RedirectTo";
    static constexpr const char* kExecutablePathKey = "ExecutablePath"; // kept, and never read
    // Joins an application and the payload of an installer.
    static constexpr const char* kTevoroTalkCodeKey = "TevoroTalkCode";

    class TEVOROTALK_API InitTerm {
    public:
        // Makes the default connector, unless there is one. Always true, also when there is no
        // connector afterwards.
        static bool init(const SoString& appName);
        static bool exit();
    };

    // Null when there is none. Not locked: set() belongs to the start of a process.
    static TevoroTalkConnector* get();
    // Takes ownership, and deletes the one before. Nothing after InitTerm::exit.
    static void set(TevoroTalkConnector* connector);

    // Splits an entry of a group, GROUP/VERSION/SPECIFIER. False, and empty outputs, if it has
    // fewer than two "/". The version may hold further ones.
    static bool parseEntry(
        const SoString& entry, SoString& group, SoString& version, SoString& specifier);
    static SoString getAppSubdomainName(const SoString& specifier);
    static SoString getGroupSubdomainName(const SoString& entry);

    explicit TevoroTalkConnector(const SoString& appName);
    ~TevoroTalkConnector() override;
    TevoroTalkConnector(const TevoroTalkConnector&) = delete;
    TevoroTalkConnector& operator=(const TevoroTalkConnector&) = delete;

    // Asks the running applications about themselves.
    virtual void appendDiagnostics(SoString& out, const SoString& path) const;

    // The application that `from` should talk to when it asks for `target`: that of the newest
    // generation of the group in which both are listed, and `from` not above its own version. Empty
    // if it is not installed. May ask other processes; so may the next two.
    virtual SoString findPreferredApp(
        const SoString& from, const SoString& target, const SoString& group);
    // The group of the highest generation that holds the application, and that generation.
    virtual SoString findGroupForSpecifier(const Specifier& specifier, SoString* version);
    // The application's entry in exactly that generation, if it is installed.
    virtual SoString findSpecifierInGroup(
        const SoString& target, const SoString& group, const SoString& version);

    // Whether the lists could be built.
    virtual bool isGood() const;
    virtual bool launchTarget(const SoString& specifier,
        const SoString& parameters,
        bool focus,
        TevoroTalkContext* context);
    virtual int getNumberOfRegisteredApplications() const;
    // -1 for the application that made the connector, which needs no list.
    virtual SoString getApplicationSpecifier(int index) const;
    // The name for people; without one, the name of the file. Completes the address first.
    virtual SoString getDisplayName(
        const SoString& app, const SoString& version, const SoString& locale) const;
    virtual bool bringToFront(const char* specifier, TevoroTalkContext* context) const;
    // The hint is not used.
    virtual SoString getApplicationPath(const SoString& specifier, const char* hint) const;
    // Completes the address first.
    virtual bool supportsQSDT(const SoString& specifier) const;
    virtual bool isShellTool(const SoString& specifier) const;
    virtual bool getMessageAuthentication(const SoString& specifier) const;
    virtual bool getMessageDigest(const SoString& specifier) const;
    virtual SoString getBundleIdentifier(const SoString& specifier) const;
    virtual SoString getExecutableBasename(const SoString& specifier) const;
    virtual SoString getExecutableExtension(const SoString& specifier) const;
    // "none" for an application without one.
    virtual SoString getOMVDictionary(const SoString& specifier) const;
    virtual SoString getDeveloperInstallPath(const SoString& specifier) const;
    virtual SoString getRedirectTo(const SoString& specifier) const;
    virtual bool setProcessID(const SoString& specifier, std::uint32_t pid);
    virtual std::uint32_t getProcessID(const SoString& specifier);
    virtual void clearCache();
    // Both refuse, unless a subclass can write to its store.
    virtual bool registerApplication(const Specifier& specifier,
        const SoString& path,
        const SoString* displayName,
        bool first,
        bool second);
    virtual bool unregisterApplication(const Specifier& specifier, const SoString* displayName);
    virtual bool addToGroup(
        const Specifier& specifier, const SoString& group, const SoString* version) = 0;
    virtual bool removeFromGroup(
        const Specifier& specifier, const SoString& group, const SoString* version) = 0;
    virtual SoString getName() const = 0;
    // The document of one application, or of all "groups", as installers read it; empty if there is
    // nothing to tell. Values stand in it as they are, unescaped.
    virtual SoString getConnectorConfig(const SoString& which) const;
    // Registers what the other one has and this one lacks. False if anything failed.
    virtual bool importFrom(const TevoroTalkConnector& other);
    // Unregisters everything. False if anything failed.
    virtual bool removeAll();
    // Looks whether anything has changed. The base class starts over; with `force` it registers
    // what runs without being registered, too, and asks those processes.
    virtual bool updateCache(bool force);
    virtual std::int64_t getTimestamp() const;
    // Whether the other one's lists are good and hold the same, in any order. Reads neither.
    virtual bool isEqual(const TevoroTalkConnector& other) const;
    // Fills both lists, which are empty.
    virtual bool initLists(QKConnectorAppInfoList& applications, SoVector<SoString>& groups) = 0;
    virtual bool validate(const TevoroTalkConnector& other) const;
    virtual bool registerApplication(QKConnectorAppInfo& info) = 0;
    virtual bool unregisterApplication(const QKConnectorAppInfo& info) = 0;
    virtual bool skipImport(const QKConnectorAppInfo& info) const;
    // Whether any application of the suite runs without being installed; registers those.
    virtual bool registerRunningApps();
    // The index of the first application at or behind that one which has that name, whatever its
    // version; -1 if there is none.
    virtual int findName(const SoString& appName, int from) const;

    // That process was started for the application, or for a numbered copy of it, which gets a
    // record of its own.
    void noteProcess(const SoString& specifier, unsigned long pid);

protected:
    // Null when the lists could not be built, which is then not tried again. Valid while the lock
    // is held.
    QKConnectorAppInfoList* getAppInfoList() const;
    const SoVector<SoString>* getGroupsCache();
    // As it stands: null also as long as nothing was asked.
    const SoVector<SoString>* getGroupsCache() const;

    // The one way by which a record is added. False if it is there already, or refused.
    bool doRegisterApplication(QKConnectorAppInfo& info);

private:
    class PreferredAppSearch;

    template <typename Field>
    Field attribute(
        const SoString& specifier, Field QKConnectorAppInfo::*field, const Field& otherwise) const;
    bool takesPlaceOf(const QKConnectorAppInfo& info);
    bool removeGroupEntries();
    void clearGroupsCache() const;
    bool hasGroups();
    SoString candidateFor(const Specifier& from, const Specifier& target, const SoString& group);
    SoString entryInGeneration(
        const SoString& target, const SoString& group, const SoString& version);
    void appendGroups(SoString& out, const SoString& targets) const;
    SoString groupsConfig() const;
    bool importGroups(const TevoroTalkConnector& other);
    bool hasEqualKeys(const TevoroTalkConnector& other) const;
    bool hasEqualLengths(const TevoroTalkConnector& other) const;

    static constexpr std::size_t kKeys = 20;

    // Built by questions, too.
    mutable SoVector<SoString>* m_groupsCache TEVOROTALK_GUARDED_BY(this) = nullptr;
    mutable QKConnectorAppInfoList* m_appInfoList TEVOROTALK_GUARDED_BY(this) = nullptr;
    mutable bool m_listsGood TEVOROTALK_GUARDED_BY(this) = false;
    SoString m_appName; // constant after construction; so are the keys
    std::array<SoString, kKeys> m_keys;
};

namespace TevoroTalkUtils {

// Makes a connector of that kind, for that application. "default", "PCD" and the empty kind are the
// one that reads the configuration store. Null if the kind is unknown or its store cannot be read.
TEVOROTALK_API TevoroTalkConnector* createConnector(const SoString& appName, const SoString& kind);

} // namespace TevoroTalkUtils
} // namespace ScObjects
