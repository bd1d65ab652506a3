// A folder of a benchmark's own, with the ports of the bus and the home of its processes in it; it
// goes with the object. Before anything starts the bus, or another thread.
#pragma once

#include "TemporaryFolder.h"

#include <string>

#include <stdlib.h>

namespace bench {

class OwnFolder {
public:
    explicit OwnFolder(const std::string& name)
        : m_folder(name)
    {
        ::setenv("TEVOROTALK_PORT_DIR", (path() + "/ports").c_str(), 1);
        ::setenv("HOME", path().c_str(), 1);
    }

    const std::string& path() const { return m_folder.path(); }

private:
    TemporaryFolder m_folder;
};

} // namespace bench
