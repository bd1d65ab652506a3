#pragma once

#include <map>
#include <optional>
#include <string>

#include <stdlib.h>

namespace test {

// Changes environment variables and puts them back at the end.
class Environment {
public:
    Environment() = default;
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment()
    {
        for (const auto& [name, value] : m_before)
            value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
    }

    void set(const std::string& name, const std::string& value)
    {
        remember(name);
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    void unset(const std::string& name)
    {
        remember(name);
        ::unsetenv(name.c_str());
    }

private:
    void remember(const std::string& name)
    {
        const char* const value = ::getenv(name.c_str());
        m_before.try_emplace(name, value ? std::optional<std::string>(value) : std::nullopt);
    }

    std::map<std::string, std::optional<std::string>> m_before;
};

} // namespace test
