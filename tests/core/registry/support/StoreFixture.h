#pragma once

#include "core/messaging/support/MessagingFixture.h"
#include "core/registry/support/CapsTable.h"
#include "platform/common/services/ModuleLoader.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "registry/SharedLib.h"

#include <string>
#include <utility>
#include <vector>

namespace test {

// A configuration store that a test writes down, in the library that the registry finds.
class StoreFixture : public MessagingFixture {
protected:
    using Keys = CapsTable::Keys;

    static constexpr const char* kWholeLibrary = "test_caps.framework";
    static constexpr const char* kIncompleteLibrary = "incomplete_caps.framework";

    StoreFixture()
    {
        ScObjects::pcdLibName = kWholeLibrary;
        CapsTable::current() = &table;
    }
    ~StoreFixture() override
    {
        ScObjects::TevoroTalk::InitTerm::exit();
        ScObjects::TevoroTalkConnector::InitTerm::exit();
        EXPECT_EQ(table.openSessions, 0);
        CapsTable::current() = nullptr;
        ScObjects::pcdLibName = m_nameBefore;
    }

    void add(const std::string& subdomain, Keys keys)
    {
        table.domains[1].emplace_back(subdomain, std::move(keys));
    }
    void addApplication(const std::string& specifier, Keys keys)
    {
        add("/velmo/tevorotalk/" + specifier, std::move(keys));
    }

    static bool isLoaded()
    {
        const std::string file = Pt::moduleFile(Pt::programFolder() + "/" + ScObjects::pcdLibName);
        const Pt::ModuleHandle handle = Pt::openLoadedModule(file);
        if (handle != nullptr)
            Pt::closeModule(handle);
        return handle != nullptr;
    }

    CapsTable table;

private:
    const char* m_nameBefore = ScObjects::pcdLibName;
};

} // namespace test
