#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <stdlib.h>

namespace test {

// A folder of its own for one test, removed with all that is in it.
class TestFolder {
public:
    TestFolder()
        : TestFolder(std::filesystem::temp_directory_path())
    {
    }
    // Below a folder of another device, say.
    explicit TestFolder(const std::filesystem::path& above)
    {
        std::string pattern = (above / "test-XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            throw std::filesystem::filesystem_error("mkdtemp", pattern, std::error_code());
        m_path = pattern;
    }
    ~TestFolder()
    {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
        EXPECT_FALSE(error) << error.message();
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string path() const { return m_path.string(); }
    std::string path(const std::string& name) const { return (m_path / name).string(); }

    // Makes the folders above the file, too.
    std::string write(const std::string& name, const std::string& bytes) const
    {
        std::filesystem::create_directories((m_path / name).parent_path());
        std::ofstream(m_path / name, std::ios::binary) << bytes;
        return path(name);
    }

private:
    std::filesystem::path m_path;
};

inline std::string read(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline std::ptrdiff_t openDescriptors()
{
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
}

} // namespace test
