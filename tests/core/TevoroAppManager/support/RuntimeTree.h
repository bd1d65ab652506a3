// The run-time tree of one test: a working folder bin/ beside Frameworks/ and shared_assets/, whose
// entries lead to the build's stage, and a home of its own. At its end the working folder and the
// environment are what they were.
#pragma once

#include "support/Environment.h"
#include "support/TestFolder.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace test {

class RuntimeTree {
public:
    RuntimeTree()
        : m_before(std::filesystem::current_path())
    {
        namespace fs = std::filesystem;
        for (const char* folder : {"bin", "Frameworks", "home/Pictures", "machine"})
            fs::create_directories(path(folder));
        fs::create_directory_symlink(TEVORO_STAGE_HOME "/shared_assets", path("shared_assets"));
        for (const char* variable : {"XDG_DATA_HOME",
                 "XDG_CONFIG_HOME",
                 "XDG_PICTURES_DIR",
                 "LC_MESSAGES",
                 "LANG",
                 "LANGUAGE"})
            environment.unset(variable);
        environment.set("HOME", path("home"));
        environment.set("XDG_DATA_DIRS", path("machine"));
        environment.set("XDG_RUNTIME_DIR", path("home"));
        environment.set("MFX_APPLICATION_DATA", path("data"));
        environment.set("LC_ALL", "C");
        fs::current_path(path("bin"));
    }
    ~RuntimeTree()
    {
        std::error_code error;
        std::filesystem::current_path(m_before, error);
        EXPECT_FALSE(error) << error.message();
    }
    RuntimeTree(const RuntimeTree&) = delete;
    RuntimeTree& operator=(const RuntimeTree&) = delete;

    std::string path(const std::string& name) const { return m_folder.path(name); }
    std::string write(const std::string& name, const std::string& bytes) const
    {
        return m_folder.write(name, bytes);
    }

    // Puts a library in place; the file is copied, so that each tree has a module of its own.
    void addLibrary(const std::string& name, const std::string& file) const
    {
        const std::string folder = path("Frameworks/" + name + ".framework");
        std::filesystem::create_directories(folder);
        std::filesystem::copy_file(file, folder + "/" + name + ".so");
    }
    std::string library(const std::string& name) const
    {
        return path("Frameworks/" + name + ".framework/" + name + ".so");
    }

    // The library that ships.
    void addPreferenceStore() const
    {
        const std::string name = "preference_xml_parser";
        addLibrary(name, TEVORO_STAGE_HOME "/Frameworks/" + name + ".framework/" + name + ".so");
    }

    // One setting of another application.
    void setAppPreference(
        const std::string& domain, const std::string& key, const std::string& value) const
    {
        write("home/.config/velmo/" + domain + ".ini", key + "=" + value + "\n");
    }

    Environment environment;

private:
    TestFolder m_folder;
    std::filesystem::path m_before;
};

} // namespace test
