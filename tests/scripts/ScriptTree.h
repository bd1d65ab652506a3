// A tree of its own with the scripts of the real one, for scripts that read the tree they stand in.
// There is a blank in its path.
#pragma once

#include "support/TestFolder.h"
#include "support/Utf16File.h"

#include <cstdlib>
#include <string>

#include <sys/wait.h>

namespace test {

struct ScriptEnd {
    int code = -1; // exit code; -1 when a signal ended it
    std::string out;
    std::string err;
};

// The command is in words of a shell and runs in the folder, where it leaves what it said.
inline ScriptEnd runIn(const TestFolder& folder, const std::string& command)
{
    const std::string line =
        "cd '" + folder.path() + "' && LC_ALL=C " + command + " >out.txt 2>err.txt </dev/null";
    const int status = std::system(line.c_str()); // NOLINT(cert-env33-c): a test's own words
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
        read(folder.path("out.txt")),
        read(folder.path("err.txt"))};
}

class ScriptTree {
public:
    ScriptTree()
    {
        for (const std::string name : {"TextDictionary.pm", "collect-texts", "check-translations"})
            addScript(name);
    }

    void addScript(const std::string& name)
    {
        write("scripts/" + name, read(TEVORO_SOURCE_DIR "/scripts/" + name));
    }

    static std::string dictionary(const std::string& locale)
    {
        return "shared_assets/locales/" + locale + "/MFXStrings.dct";
    }

    void write(const std::string& name, const std::string& bytes)
    {
        m_folder.write(kTree + name, bytes);
    }
    std::string path(const std::string& name) const { return m_folder.path(kTree + name); }

    // The name of a script and its arguments, in words of a shell.
    ScriptEnd run(const std::string& command) const
    {
        return runIn(m_folder, "perl 'a tree/scripts/'" + command);
    }

private:
    inline static const std::string kTree = "a tree/";

    TestFolder m_folder;
};

} // namespace test
