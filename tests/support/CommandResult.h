#pragma once

#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace test {

using Json = nlohmann::json;

// What a command printed, and how it ended.
struct CommandResult {
    int code = -1;
    std::string out;
    std::string err;

    // One object a line.
    std::vector<Json> objects() const
    {
        std::vector<Json> result;
        std::istringstream lines(out);
        for (std::string line; std::getline(lines, line);)
            result.push_back(Json::parse(line));
        return result;
    }
};

} // namespace test
