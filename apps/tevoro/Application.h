// The application on the bus: holds its name, takes scripts and answers each with its text. It has
// no window yet and runs no script.
#pragma once

#include "messaging/TevoroTalk.h"
#include "tevoro/CommandLine.h"

#include <memory>
#include <string>

namespace tevoro {

class Application {
public:
    // Waits for the parameters of a launch, if any were announced. Throws a CommandError when the
    // bus cannot be used.
    explicit Application(const CommandLine& line);
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    // The name that it got: with a number, when the name was held.
    std::string name() const;
    // Until a signal ends it, or nobody reads what it prints.
    ExitCode run();

private:
    std::unique_ptr<ScObjects::TevoroTalk> m_bus;
};

} // namespace tevoro
