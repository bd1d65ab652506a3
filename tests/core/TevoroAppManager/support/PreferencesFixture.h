// A host with a preference store of a test's choice: scripted, real or none.
#pragma once

#include "core/TevoroAppManager/support/RecordedStore.h"
#include "core/TevoroAppManager/support/SinkFixture.h"

#include <memory>

namespace test {

// A preferences record as a host makes it, which lets go of the strings that it is given.
class PreferencesRecord {
public:
    PreferencesRecord()
    {
        record.tag = 5;
        record.size = 5808;
    }
    ~PreferencesRecord() { dropStrings(); }
    PreferencesRecord(const PreferencesRecord&) = delete;
    PreferencesRecord& operator=(const PreferencesRecord&) = delete;

    void dropStrings()
    {
        for (IEnumArbitraryData** text : {&record.templateName,
                 &record.authorName,
                 &record.copyright,
                 &record.mobileFolder,
                 &record.batchRename})
            if (*text)
                std::exchange(*text, nullptr)->Release();
    }

    CPropAppPreferences3* operator->() { return &record; }

    CPropAppPreferences3 record;
};

class PreferencesFixture : public SinkFixture {
protected:
    static constexpr char kLibrary[] =
        "../Frameworks/preference_xml_parser.framework/preference_xml_parser.so";

    // The loader knows a library by the text of its path, which is the same in every tree: a
    // process that has loaded one cannot load another. CTest gives each test a process.
    static bool hasLoadedALibrary()
    {
        return ::dlopen(kLibrary, RTLD_NOW | RTLD_NOLOAD) != nullptr;
    }

    // Puts the scripted store into the tree.
    void script()
    {
        tree.addLibrary("preference_xml_parser", RECORDING_PREFERENCES);
        void* const module = ::dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(module, nullptr) << ::dlerror();
        const auto recorded =
            reinterpret_cast<RecordedStoreFunction>(::dlsym(module, kRecordedStoreName));
        ASSERT_NE(recorded, nullptr) << "another library was loaded before in this process";
        store = recorded();
        *store = {};
    }

    ISinkUtilHandler& util() { return face<ISinkUtilHandler>(33); }

    // Reads into the record anew.
    void get()
    {
        record.dropStrings();
        EXPECT_EQ(util().GetPreferences(record.record), kFxOk);
    }
    void set() { EXPECT_EQ(util().SetPreferences(record.record), kFxOk); }

    RecordedStore* store = nullptr;
    PreferencesRecord record;
};

} // namespace test
