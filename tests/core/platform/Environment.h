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
    Environment(Environment const&) = delete;
    Environment& operator=(Environment const&) = delete;
    ~Environment()
    {
        for (auto const& [name, value] : m_before)
            value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
    }

    void set(std::string const& name, std::string const& value)
    {
        remember(name);
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    void unset(std::string const& name)
    {
        remember(name);
        ::unsetenv(name.c_str());
    }

private:
    void remember(std::string const& name)
    {
        char const* const value = ::getenv(name.c_str());
        m_before.try_emplace(name, value ? std::optional<std::string>(value) : std::nullopt);
    }

    std::map<std::string, std::optional<std::string>> m_before;
};

} // namespace test
