#include "e2e/support/MfxRun.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace e2e {

namespace {

constexpr unsigned int kNobody = 65534;

struct Pipe {
    int ends[2] = {-1, -1};
    Pipe() { EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0); }
};

// Reads both to their ends, in whatever order they fill.
void readBoth(int out, int err, RunResult& result)
{
    pollfd polled[2] = {{out, POLLIN, 0}, {err, POLLIN, 0}};
    for (int open = 2; open > 0;) {
        if (::poll(polled, 2, -1) < 0)
            continue;
        for (int i = 0; i < 2; ++i) {
            if (polled[i].fd < 0 || polled[i].revents == 0)
                continue;
            char piece[4096];
            const ssize_t count = ::read(polled[i].fd, piece, sizeof piece);
            if (count > 0) {
                (i == 0 ? result.out : result.err).append(piece, static_cast<std::size_t>(count));
            } else {
                polled[i].fd = -1;
                --open;
            }
        }
    }
}

} // namespace

std::vector<Json> RunResult::events() const
{
    std::vector<Json> all;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);)
        all.push_back(Json::parse(line));
    return all;
}

std::vector<Json> RunResult::events(const std::string& kind) const
{
    std::vector<Json> some;
    for (const Json& event : events())
        if (event.value("event", "") == kind)
            some.push_back(event);
    return some;
}

Json RunResult::summary() const
{
    const auto found = events("summary");
    EXPECT_EQ(found.size(), 1U) << out << err;
    return found.empty() ? Json::object() : found.front();
}

Json RunResult::item(const std::string& deviceName) const
{
    for (const Json& event : events("item"))
        if (event["name"] == deviceName)
            return event;
    ADD_FAILURE() << "no item " << deviceName << " in " << out << err;
    return Json::object();
}

test::Variables plainEnvironment(const fs::path& root)
{
    test::Variables variables{{"HOME", root / "home"},
        {"XDG_RUNTIME_DIR", root / "run"},
        {"TMPDIR", root / "run"},
        {"PATH", "/usr/bin:/bin"},
        {"LC_ALL", "C.UTF-8"},
        {"QT_QPA_PLATFORM", "offscreen"}};
    for (const char* inherited : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"})
        if (const char* value = std::getenv(inherited))
            variables[inherited] = value;
    return variables;
}

void MfxTest::SetUp()
{
    for (const fs::path& folder : {m_root, m_device})
        fs::permissions(folder, fs::perms::all); // some runs are those of an ordinary user
    fs::create_directories(card() / "DCIM/100MFX");
    for (const char* folder : {"data", "home", "run"})
        fs::create_directories(m_root / folder);
    fs::permissions(m_root / "run", fs::perms::owner_all);
    fs::permissions(data(), fs::perms::all);
    m_environment = plainEnvironment(m_root);
}

fs::path MfxTest::addFile(const std::string& name, const std::string& content)
{
    return addFileIn("DCIM/100MFX", name, content);
}

fs::path MfxTest::addFileIn(
    const std::string& folder, const std::string& name, const std::string& content)
{
    const fs::path path = card() / folder / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
    constexpr timespec kNoon = {1777896000, 0}; // 2026-05-04 12:00:00 UTC
    const timespec times[2] = {kNoon, kNoon};
    EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    return path;
}

RunResult MfxTest::mfx(const std::vector<std::string>& arguments)
{
    std::vector<std::string> words{m_program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = test::assignments(m_environment);
    // Nothing is allocated in the child: another thread may hold the heap's lock when it is forked.
    const std::vector<char*> wordPointers = test::pointersTo(words);
    const std::vector<char*> variablePointers = test::pointersTo(variables);
    Pipe out;
    Pipe err;
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
        ::dup2(out.ends[1], STDOUT_FILENO);
        ::dup2(err.ends[1], STDERR_FILENO);
        if (!m_workingFolder.empty() && ::chdir(m_workingFolder.c_str()) != 0)
            ::_exit(125);
        if (m_asOrdinaryUser
            && (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0))
            ::_exit(126);
        ::execve(words[0].c_str(), wordPointers.data(), variablePointers.data());
        ::_exit(127);
    }
    ::close(out.ends[1]);
    ::close(err.ends[1]);
    RunResult result;
    readBoth(out.ends[0], err.ends[0], result);
    ::close(out.ends[0]);
    ::close(err.ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return result;
}

void MfxTest::makeOwnTree()
{
    const fs::path stage = fs::path(MFX_PROGRAM).parent_path().parent_path();
    const fs::path home = m_root / "app";
    if (fs::exists(home))
        return;
    for (const char* folder : {"bin", "Frameworks", "shared_assets/locales"})
        fs::create_directories(home / folder);
    for (const char* folder :
        {"plugins", "Frameworks/preference_xml_parser.framework", "shared_assets/bitmaps"})
        fs::create_directory_symlink(stage / folder, home / folder);
    for (const auto& locale : fs::directory_iterator(stage / "shared_assets/locales"))
        fs::create_directory_symlink(
            locale.path(), home / "shared_assets/locales" / locale.path().filename());
    m_program = home / "bin/mfx";
    fs::copy_file(MFX_PROGRAM, m_program);
}

void MfxTest::addLibrary(const std::string& name, const fs::path& file)
{
    makeOwnTree();
    addFileOfTree("Frameworks/" + name + ".framework/" + name + ".so", contentOf(file));
}

void MfxTest::addFileOfTree(const std::string& name, const std::string& bytes)
{
    makeOwnTree();
    const fs::path path = m_root / "app" / name;
    fs::create_directories(path.parent_path());
    ASSERT_EQ(fs::canonical(path.parent_path()), path.parent_path()) << "a folder of the stage";
    std::ofstream(path, std::ios::binary) << bytes;
}

RunResult MfxTest::download(const std::vector<std::string>& more)
{
    std::vector<std::string> words{"download", card(), "--to", target(), "--json"};
    words.insert(words.end(), more.begin(), more.end());
    return mfx(words);
}

RunResult MfxTest::downloadWithBackup(const std::vector<std::string>& more)
{
    std::vector<std::string> words{"--backup", backup()};
    words.insert(words.end(), more.begin(), more.end());
    return download(words);
}

std::map<std::string, std::string> MfxTest::filesIn(const fs::path& folder)
{
    std::map<std::string, std::string> files;
    std::error_code error;
    for (const auto& entry : fs::recursive_directory_iterator(folder, error))
        if (entry.is_regular_file())
            files[fs::relative(entry.path(), folder).string()] = contentOf(entry.path());
    return files;
}

std::string MfxTest::contentOf(const fs::path& path)
{
    return test::read(path);
}

void MfxTest::expectNoLeftovers() const
{
    for (const fs::path& tree : {m_root, m_device}) {
        for (const auto& entry : fs::recursive_directory_iterator(tree)) {
            const std::string name = entry.path().filename().string();
            EXPECT_NE(name, ".mfxdownload") << entry.path();
            EXPECT_NE(name, ".mfxdelete") << entry.path();
            EXPECT_NE(name.rfind(".unfinished-", 0), 0U) << entry.path();
            EXPECT_NE(name.rfind("mfx-session", 0), 0U) << entry.path();
        }
    }
}

} // namespace e2e
