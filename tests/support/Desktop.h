// A display that nobody sees, with a window manager, for one test. DISPLAY names it as long as it
// is there. Neither survives the test.
#pragma once

#include "support/ChildProgram.h"
#include "support/Environment.h"

#include <chrono>
#include <optional>
#include <string>

namespace test {

class Desktop {
public:
    // What has to be installed for it and is not; empty when all is there.
    static std::string missing();

    // Such as "320x240". The manager may still be starting. Throws std::runtime_error when the
    // display does not come up.
    explicit Desktop(const std::string& size);
    ~Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    ChildProgram& server() { return *m_server; }
    // In order, so that it removes its lock file. Whether it ended.
    bool endServer();

private:
    static constexpr std::chrono::seconds kPatience{20};

    Environment m_environment;
    std::optional<ChildProgram> m_server;
    std::optional<ChildProgram> m_manager;
};

} // namespace test
