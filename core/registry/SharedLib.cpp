#include "registry/SharedLib.h"

#include "platform/common/services/ProgramEnvironment.h"
#include "registry/TrustedFile.h"

#include <algorithm>
#include <string>
#include <vector>

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

// Where a library may lie: in the last of these folders.
struct Place {
    std::vector<std::string> folders; // each could be exchanged by whoever may write it
    std::string owner; // who owns this file decides anyway what runs here
};

// For the programs of this system, and for those of others, which only find this library.
std::vector<Place> places()
{
    std::vector<Place> found;
    if (const std::string program = Pt::programFolder(); !program.empty()) {
        found.push_back({{program + "/..", program + "/../Frameworks"}, program});
        found.push_back({{program}, program});
    }
    if (const std::string own = Pt::ownModuleFolder(); !own.empty())
        found.push_back({{own, own + "/mfx", own + "/mfx/Frameworks"}, own});
    return found;
}

} // namespace

Pt::ModuleHandle TevoroTalkUtils::SharedLib::loadPCDLibrary(const char* name)
{
    for (const Place& place : places()) {
        const std::string bundle = place.folders.back() + "/" + name;
        const std::string file = Pt::moduleFile(bundle);
        if (file.empty())
            continue;
        // Beside a folder that others may write, anybody could lay a library of that name.
        const auto isOurs = [&](const std::string& path) { return isTrusted(path, place.owner); };
        return std::ranges::all_of(place.folders, isOurs) && isOurs(bundle) && isOurs(file)
            ? Pt::openModule(file)
            : nullptr;
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
