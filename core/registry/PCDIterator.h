// A walk through the configuration store: visits every application and every key of it, in the
// store's order, and calls its virtual operations. For one run at a time, by one thread.
#pragma once

#include "registry/PCDWrapper.h"
#include "registry/QKConnectorAppInfo.h"

namespace ScObjects {

class PCDIterator {
public:
    PCDIterator() = default;
    virtual ~PCDIterator();
    PCDIterator(const PCDIterator&) = delete;
    PCDIterator& operator=(const PCDIterator&) = delete;

    // False if the store cannot be read to its end. True, without onEnd(), if it is empty.
    bool run(PCDWrapper& wrapper);

    // When the store was last written, as read before the walk; 0 if that could not be read.
    std::uint32_t capsLastModTime() const { return m_capsLastModTime; }
    std::uint32_t pcdLastModTime() const { return m_pcdLastModTime; }

    // Reads one value from the wrapper's own domain. Returns the status; `out` changes only on
    // success.
    static capsStatus getPCDValue(
        const PCDWrapper& wrapper, const SoString& subdomain, const char* key, SoString& out);
    // The "https://" address itself if its host lies below the domain of the suite, else empty.
    static SoString getURLFromQMTConfigPath(const SoString& path);

protected:
    // The walk goes on whatever these return.
    virtual bool onStart(PCDWrapper& wrapper);
    virtual bool onEnd(PCDWrapper& wrapper);
    virtual bool onStartSubDomain(
        PCDWrapper& wrapper, const SoString& subdomain, QKConnectorAppInfo& info);
    virtual bool onEndSubDomain(
        PCDWrapper& wrapper, const SoString& subdomain, QKConnectorAppInfo& info);
    // Reads the value of a known key into the record.
    virtual bool onKey(PCDWrapper& wrapper,
        const SoString& subdomain,
        const SoString& key,
        QKConnectorAppInfo& info);
    virtual bool onError(PCDWrapper& wrapper, const SoString& subdomain, const SoString& key);
    // Of an application that has a specifier.
    virtual bool onAppInfo(PCDWrapper& wrapper, QKConnectorAppInfo& info) = 0;
    virtual bool onGroupInfo(PCDWrapper& wrapper, const SoString& key, const SoString& entry) = 0;

private:
    bool visit(PCDWrapper& wrapper, const SoString& subdomain);
    bool takeGroup(PCDWrapper& wrapper, const SoString& key, const SoString& value);

    std::uint32_t m_capsLastModTime = 0;
    std::uint32_t m_pcdLastModTime = 0;
};

} // namespace ScObjects
