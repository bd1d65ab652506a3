// One application that can take part in the bus: where it lies, what it is called and what it can
// do, under one specifier. A plain value without a lock. The store's key of each field stands in
// TevoroTalkConnector.
#pragma once

#include "messaging/SoString.h"

#include <cstdint>

namespace ScObjects {

class TEVOROTALK_API QKConnectorAppInfo : public SoHeap {
public:
    QKConnectorAppInfo();

    // Takes every field, the process id too.
    void assign(const QKConnectorAppInfo& other) { *this = other; }

    SoString specifier; // in lower case; what the record is found by
    SoString path; // or the "https://" address of an application in the web
    SoString windowClassName;
    SoString bundleIdentifier;
    SoString displayName;
    double talkVersion; // of the bus's protocol
    bool allowMultipleInstances = false;
    bool isShellTool = false;
    bool supportsQSDT = false;
    bool messageAuthentication = true;
    bool messageDigest = true;
    SoString executableBasename; // without the extension; or an address
    SoString executableExtension; // without the point
    SoString omvDictionary; // empty reads as "none"
    SoString developerInstallPath;
    SoString redirectTo; // the specifier of the record whose installation stands in for this one
    std::uint32_t processID = 0; // of the copy that this process launched; not part of the store
};

// All fields but the process id, which comes and goes while the application stays the same.
TEVOROTALK_API bool operator==(const QKConnectorAppInfo& a, const QKConnectorAppInfo& b);
inline bool operator!=(const QKConnectorAppInfo& a, const QKConnectorAppInfo& b)
{
    return !(a == b);
}

} // namespace ScObjects
