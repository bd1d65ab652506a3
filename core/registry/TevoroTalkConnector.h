// The process-wide answer to the question which applications there are. A subclass says where that
// is written down; one connector at most stands in a process, and none is a normal state.
//
// Operations may be called by any thread; they hold the connector's lock. The lock may be taken
// with the lock of the bus's thread held, never the other way round.
#pragma once

#include "messaging/SoLock.h"
#include "messaging/SoString.h"
#include "messaging/SoVector.h"
#include "messaging/Specifier.h"

#include <cstdint>

namespace ScObjects {

class QKConnectorAppInfo;
class QKConnectorAppInfoList;

class TEVOROTALK_API TevoroTalkConnector : public SoLockable {
public:
    using Specifier = TevoroTalk::Specifier;

    class TEVOROTALK_API InitTerm {
    public:
        // Always true, also when there is no connector afterwards.
        static bool init(const SoString& appName);
        static bool exit();
    };

    // Null when there is none. Not locked: set() belongs to the start of a process.
    static TevoroTalkConnector* get();
    // Takes ownership, and deletes the one before. Nothing after InitTerm::exit.
    static void set(TevoroTalkConnector* connector);

    explicit TevoroTalkConnector(const SoString& appName);
    ~TevoroTalkConnector() override;
    TevoroTalkConnector(const TevoroTalkConnector&) = delete;
    TevoroTalkConnector& operator=(const TevoroTalkConnector&) = delete;

    // Without applications of its own, the base class answers with defaults and refuses changes.
    virtual void appendDiagnostics(SoString& out, const SoString& path) const;
    virtual SoString findPreferredApp(
        const SoString& from, const SoString& target, const SoString& group);
    virtual SoString findGroupForSpecifier(const Specifier& specifier, SoString* version);
    virtual SoString findSpecifierInGroup(
        const SoString& target, const SoString& group, const SoString& version);
    virtual bool isGood() const;
    virtual bool launchTarget(const SoString& specifier,
        const SoString& parameters,
        bool focus,
        TevoroTalkContext* context);
    virtual int getNumberOfRegisteredApplications() const;
    // -1 for the application that made the connector.
    virtual SoString getApplicationSpecifier(int index) const;
    virtual SoString getDisplayName(
        const SoString& app, const SoString& version, const SoString& locale) const;
    virtual bool bringToFront(const char* specifier, TevoroTalkContext* context) const;
    virtual SoString getApplicationPath(const SoString& specifier, const char* hint) const;
    virtual bool supportsQSDT(const SoString& specifier) const;
    virtual bool isShellTool(const SoString& specifier) const;
    virtual bool getMessageAuthentication(const SoString& specifier) const;
    virtual bool getMessageDigest(const SoString& specifier) const;
    virtual SoString getBundleIdentifier(const SoString& specifier) const;
    virtual SoString getExecutableBasename(const SoString& specifier) const;
    virtual SoString getExecutableExtension(const SoString& specifier) const;
    virtual SoString getOMVDictionary(const SoString& specifier) const;
    virtual SoString getDeveloperInstallPath(const SoString& specifier) const;
    virtual SoString getRedirectTo(const SoString& specifier) const;
    virtual bool setProcessID(const SoString& specifier, std::uint32_t pid);
    virtual std::uint32_t getProcessID(const SoString& specifier);
    virtual void clearCache();
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
    virtual SoString getConnectorConfig(const SoString& which) const;
    virtual bool importFrom(const TevoroTalkConnector& other);
    virtual bool removeAll();
    virtual bool updateCache(bool force);
    virtual std::int64_t getTimestamp() const;
    virtual bool isEqual(const TevoroTalkConnector& other) const;
    virtual bool initLists(QKConnectorAppInfoList& applications, SoVector<SoString>& groups) = 0;
    virtual bool validate(const TevoroTalkConnector& other) const;
    virtual bool registerApplication(QKConnectorAppInfo& info) = 0;
    virtual bool unregisterApplication(const QKConnectorAppInfo& info) = 0;
    virtual bool skipImport(const QKConnectorAppInfo& info) const;
    virtual bool registerRunningApps();

private:
    SoString m_appName;
};

} // namespace ScObjects
