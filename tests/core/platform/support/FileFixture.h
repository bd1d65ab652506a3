#pragma once

#include "support/TestFolder.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace test {

// A test with a folder of its own, at whose end no descriptor is left open.
class FileFixture : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(openDescriptors(), m_descriptors); }

    std::string path(const std::string& name) const { return m_folder.path(name); }
    void put(const std::string& name, const std::string& bytes) const
    {
        m_folder.write(name, bytes);
    }
    std::string bytes(const std::string& name) const { return read(path(name)); }

    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.path()))
            found.push_back(entry.path().filename().string());
        return found;
    }

    unsigned int modeOf(const std::string& name) const
    {
        struct stat status = {};
        EXPECT_EQ(::stat(path(name).c_str(), &status), 0);
        return status.st_mode & 07777U;
    }

    TestFolder m_folder;

private:
    std::ptrdiff_t m_descriptors = openDescriptors();
};

} // namespace test
