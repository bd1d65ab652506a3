#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace test {

// What the store of the test module holds, and how it behaves. The module asks the program for it,
// which survives the module.
struct CapsTable {
    using Keys = std::vector<std::pair<std::string, std::string>>; // in the order of the store
    using Subdomains = std::vector<std::pair<std::string, Keys>>;

    // The one of this process, which a test puts here.
    static CapsTable*& current();

    // The status of that call: the first that fits of "FUNCTION PLACE KEY", "FUNCTION PLACE" and
    // "FUNCTION"; else 0. Notes the call.
    // Here, as the module has it, too.
    std::int32_t begin(
        const std::string& function, const std::string& place = {}, const std::string& key = {})
    {
        std::string call = function;
        if (!place.empty())
            call += " " + place;
        const std::string whole = key.empty() ? call : call + " " + key;
        calls.push_back(whole);
        for (const std::string& name : {whole, call, function})
            if (const auto found = failures.find(name); found != failures.end())
                return found->second;
        return 0;
    }

    std::map<std::int32_t, Subdomains> domains;
    std::map<std::int32_t, std::map<std::string, Keys>> payloads; // by domain
    std::map<std::string, std::int32_t> failures;
    bool answersEveryKey = false; // a key that is not there has the value "x"
    std::uint32_t capsTime = 100;
    std::uint32_t pcdTime = 200;

    std::vector<std::string> calls;
    std::vector<std::string> written; // by calls that write
    int openSessions = 0;
};

} // namespace test

// Where the module finds it.
extern "C" test::CapsTable* testCapsTable();
