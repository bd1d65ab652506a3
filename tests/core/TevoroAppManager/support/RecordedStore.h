// A preference store that a test scripts and questions. It stands in a module of its own
// (RecordingPreferences.cpp), which takes the place of the real library in a test's run-time tree.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace test {

struct RecordedStore {
    // What was asked, in order: "get 3 KEY 260", "bytes 3 KEY 260", "set 3 KEY=VALUE",
    // "setbytes 3 KEY=VALUE", "load 3", "save 3", "init FOLDER", "addref".
    std::vector<std::string> calls;

    std::map<std::string, std::string> texts;
    std::map<std::string, std::string> byteStrings;
    bool givesModule = true;
    bool givesStore = true;
    bool loads = true;
};

// The module's only other export.
inline constexpr char kRecordedStoreName[] = "recordedStore";
using RecordedStoreFunction = RecordedStore* (*)();

} // namespace test
