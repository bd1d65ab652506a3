// A folder of a benchmark's own, with the ports of the bus and the home of its processes in it; it
// goes with the object. Before anything starts the bus, or another thread.
#pragma once

#include "peers/Peer.h"

#include <cstdlib>
#include <filesystem>
#include <string>

#include <stdlib.h>

namespace bench {

class OwnFolder {
public:
    explicit OwnFolder(const std::string& name)
        : m_path((std::filesystem::temp_directory_path() / (name + "-XXXXXX")).string())
    {
        require(::mkdtemp(m_path.data()) != nullptr, "a folder of its own");
        ::setenv("TEVOROTALK_PORT_DIR", (m_path + "/ports").c_str(), 1);
        ::setenv("HOME", m_path.c_str(), 1);
    }
    ~OwnFolder()
    {
        std::error_code ignored; // what stays harms nobody
        std::filesystem::remove_all(m_path, ignored);
    }
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

} // namespace bench
