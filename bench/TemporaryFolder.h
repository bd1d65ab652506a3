#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include <stdlib.h>

namespace bench {

// A new folder, which goes with the object. Without one the program ends.
class TemporaryFolder {
public:
    explicit TemporaryFolder(const std::string& name,
        const std::filesystem::path& above = std::filesystem::temp_directory_path())
        : m_path((above / (name + "-XXXXXX")).string())
    {
        if (::mkdtemp(m_path.data()) != nullptr)
            return;
        std::perror(m_path.c_str());
        std::exit(1);
    }
    ~TemporaryFolder()
    {
        std::error_code ignored; // what stays harms nobody
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

} // namespace bench
