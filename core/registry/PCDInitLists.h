// The walk that fills the lists of a connector: makes records of applications whose place is known,
// and finds the place of the others by the payloads that installers left. Lives for one run.
#pragma once

#include "messaging/SoVector.h"
#include "registry/PCDIterator.h"

#include <string>
#include <unordered_map>

namespace ScObjects {

class QKConnectorAppInfoList;

class PCDInitLists final : public PCDIterator {
public:
    // Both outlive this object. They are emptied when a run starts.
    PCDInitLists(QKConnectorAppInfoList& applications, SoVector<SoString>& groups);

    // Where an application lies that was installed with the deployment file at that path: below the
    // folder five levels up.
    static SoString getLocationFromQMTConfigPath(
        const QKConnectorAppInfo& info, const SoString& configPath);

protected:
    bool onStart(PCDWrapper& wrapper) override;
    bool onEnd(PCDWrapper& wrapper) override;
    bool onError(PCDWrapper& wrapper, const SoString& subdomain, const SoString& key) override;
    bool onAppInfo(PCDWrapper& wrapper, QKConnectorAppInfo& info) override;
    bool onGroupInfo(PCDWrapper& wrapper, const SoString& key, const SoString& entry) override;

private:
    void readPayload(const PCDWrapper& wrapper, const SoString& payload);

    QKConnectorAppInfoList& m_applications;
    SoVector<SoString>& m_groups;
    // The deployment file of each code; of equal codes the first one.
    std::unordered_map<std::string, SoString> m_configPaths;
};

} // namespace ScObjects
