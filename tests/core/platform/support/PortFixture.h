#pragma once

#include "platform/common/ports/LocalPort.h"
#include "support/Environment.h"
#include "support/TestFolder.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

namespace test {

inline bool isReadable(int descriptor, std::chrono::milliseconds limit = {})
{
    pollfd question = {descriptor, POLLIN, 0};
    return ::poll(&question, 1, static_cast<int>(limit.count())) == 1;
}

// A port folder of its own for each test; no descriptor may be left at its end.
class PortFixture : public testing::Test {
protected:
    using milliseconds = std::chrono::milliseconds;
    using Texts = std::vector<std::string>;

    static constexpr milliseconds kPatience{10000};

    PortFixture() { environment.set("TEVOROTALK_PORT_DIR", folder.path("ports")); }
    ~PortFixture() override { EXPECT_EQ(openDescriptors(), descriptorsBefore); }

    static std::unique_ptr<Pt::LocalPort> held(std::string_view name)
    {
        auto port = Pt::LocalPort::hold(name);
        if (!port)
            throw std::runtime_error("the port cannot be held");
        return port;
    }

    static Texts received(Pt::LocalPort& port)
    {
        Texts texts;
        const std::size_t count =
            port.receive([&](char* text, std::size_t size) { texts.emplace_back(text, size); });
        EXPECT_EQ(count, texts.size());
        return texts;
    }

    // Waits until that many texts are there.
    static Texts received(Pt::LocalPort& port, std::size_t count)
    {
        Texts texts;
        while (texts.size() < count && isReadable(port.descriptor(), kPatience))
            for (std::string& text : received(port))
                texts.push_back(std::move(text));
        return texts;
    }

    // Of the one port in the folder.
    std::string socketPath() const { return pathWithEnding(".sock"); }
    std::string lockPath() const { return pathWithEnding(".lock"); }

    std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path("ports")))
            names.push_back(entry.path().filename().string());
        return names;
    }

    const std::ptrdiff_t descriptorsBefore = openDescriptors();
    TestFolder folder;
    Environment environment;

private:
    std::string pathWithEnding(const std::string& ending) const
    {
        for (const std::string& name : files())
            if (name.ends_with(ending))
                return folder.path("ports/" + name);
        throw std::runtime_error("no port in the folder");
    }
};

} // namespace test
