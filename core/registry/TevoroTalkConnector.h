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
        static bool init(SoString const& appName);
        static bool exit();
    };

    // Null when there is none. Not locked: set() belongs to the start of a process.
    static TevoroTalkConnector* get();
    // Takes ownership, and deletes the one before. Nothing after InitTerm::exit.
    static void set(TevoroTalkConnector* connector);

    explicit TevoroTalkConnector(SoString const& appName);
    ~TevoroTalkConnector() override;
    TevoroTalkConnector(TevoroTalkConnector const&) = delete;
    TevoroTalkConnector& operator=(TevoroTalkConnector const&) = delete;

    // Without applications of its own, the base class answers with defaults and refuses changes.
    virtual void appendDiagnostics(SoString& out, SoString const& path) const;
    virtual SoString findPreferredApp(
        SoString const& from, SoString const& target, SoString const& group);
    virtual SoString findGroupForSpecifier(Specifier const& specifier, SoString* version);
    virtual SoString findSpecifierInGroup(
        SoString const& target, SoString const& group, SoString const& version);
    virtual bool isGood() const;
    virtual bool launchTarget(SoString const& specifier,
        SoString const& parameters,
        bool focus,
        TevoroTalkContext* context);
    virtual int getNumberOfRegisteredApplications() const;
    // -1 for the application that made the connector.
    virtual SoString getApplicationSpecifier(int index) const;
    virtual SoString getDisplayName(
        SoString const& app, SoString const& version, SoString const& locale) const;
    virtual bool bringToFront(char const* specifier, TevoroTalkContext* context) const;
    virtual SoString getApplicationPath(SoString const& specifier, char const* hint) const;
    virtual bool supportsQSDT(SoString const& specifier) const;
    virtual bool isShellTool(SoString const& specifier) const;
    virtual bool getMessageAuthentication(SoString const& specifier) const;
    virtual bool getMessageDigest(SoString const& specifier) const;
    virtual SoString getBundleIdentifier(SoString const& specifier) const;
    virtual SoString getExecutableBasename(SoString const& specifier) const;
    virtual SoString getExecutableExtension(SoString const& specifier) const;
    virtual SoString getOMVDictionary(SoString const& specifier) const;
    virtual SoString getDeveloperInstallPath(SoString const& specifier) const;
    virtual SoString getRedirectTo(SoString const& specifier) const;
    virtual bool setProcessID(SoString const& specifier, std::uint32_t pid);
    virtual std::uint32_t getProcessID(SoString const& specifier);
    virtual void clearCache();
    virtual bool registerApplication(Specifier const& specifier,
        SoString const& path,
        SoString const* displayName,
        bool first,
        bool second);
    virtual bool unregisterApplication(Specifier const& specifier, SoString const* displayName);
    virtual bool addToGroup(
        Specifier const& specifier, SoString const& group, SoString const* version) = 0;
    virtual bool removeFromGroup(
        Specifier const& specifier, SoString const& group, SoString const* version) = 0;
    virtual SoString getName() const = 0;
    virtual SoString getConnectorConfig(SoString const& which) const;
    virtual bool importFrom(TevoroTalkConnector const& other);
    virtual bool removeAll();
    virtual bool updateCache(bool force);
    virtual std::int64_t getTimestamp() const;
    virtual bool isEqual(TevoroTalkConnector const& other) const;
    virtual bool initLists(QKConnectorAppInfoList& applications, SoVector<SoString>& groups) = 0;
    virtual bool validate(TevoroTalkConnector const& other) const;
    virtual bool registerApplication(QKConnectorAppInfo& info) = 0;
    virtual bool unregisterApplication(QKConnectorAppInfo const& info) = 0;
    virtual bool skipImport(QKConnectorAppInfo const& info) const;
    virtual bool registerRunningApps();

private:
    SoString m_appName;
};

} // namespace ScObjects
