#include "registry/SharedLib.h"

#include "platform/common/services/ProgramEnvironment.h"
#include "registry/TrustedFile.h"

#include <string>

namespace ScObjects {

// NOLINTNEXTLINE(readability-identifier-naming): the contract's name
const char* pcdLibName = "velmo_caps.framework";

namespace {

template <typename Function>
void find(Pt::ModuleHandle library, const char* name, Function*& function)
{
    void* const symbol = TevoroTalkUtils::SharedLib::getFunctionPtr(library, name);
    function = reinterpret_cast<Function*>(symbol);
}

} // namespace

Pt::ModuleHandle TevoroTalkUtils::SharedLib::loadPCDLibrary(const char* name)
{
    const std::string folder = Pt::programFolder();
    if (folder.empty())
        return nullptr;
    for (const std::string& place : {folder + "/../Frameworks", folder}) {
        const std::string bundle = place + "/" + name;
        const std::string file = Pt::moduleFile(bundle);
        if (file.empty())
            continue;
        // Beside a folder that others may write, anybody could lay a library of that name.
        const bool isOurs =
            isTrusted(place, folder) && isTrusted(bundle, folder) && isTrusted(file, folder);
        return isOurs ? Pt::openModule(file) : nullptr;
    }
    return nullptr;
}

void TevoroTalkUtils::SharedLib::unloadPCDLibrary(Pt::ModuleHandle library)
{
    Pt::closeModule(library);
}

void* TevoroTalkUtils::SharedLib::getFunctionPtr(Pt::ModuleHandle library, const char* name)
{
    return Pt::moduleSymbol(library, name);
}

Pt::ModuleHandle initPCDFunctionPtrs(PCDFunctionPtrs& functions)
{
    const Pt::ModuleHandle library = TevoroTalkUtils::SharedLib::loadPCDLibrary(pcdLibName);
    if (library == nullptr)
        return nullptr;
    find(library, "pcdOpenSessionNoCreate", functions.pcdOpenSessionNoCreate);
    find(library, "pcdCloseSession", functions.pcdCloseSession);
    find(library, "pcdGetDomainDataSubdomains", functions.pcdGetDomainDataSubdomains);
    find(library, "pcdGetDomainDataKeys", functions.pcdGetDomainDataKeys);
    find(library, "pcdGetDomainData", functions.pcdGetDomainData);
    find(library, "pcdSetDomainData", functions.pcdSetDomainData);
    find(library, "pcdRemoveDomainData", functions.pcdRemoveDomainData);
    find(library, "capsOpenSession", functions.capsOpenSession);
    find(library, "capsCloseSession", functions.capsCloseSession);
    find(library, "capsGetCollectionPayloads", functions.capsGetCollectionPayloads);
    find(library, "capsGetPayloadDataKeys", functions.capsGetPayloadDataKeys);
    find(library, "capsGetPayloadData", functions.capsGetPayloadData);
    find(library, "capsGetPayloads", functions.capsGetPayloads);
    find(library, "capsGetLastModTime", functions.capsGetLastModTime);
    find(library, "pcdGetLastModTime", functions.pcdGetLastModTime);
    return library;
}

} // namespace ScObjects
