#include "messaging/wire/Identity.h"

#include "messaging/TevoroTalkUtils.h"
#include "support/Environment.h"
#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"

#include <algorithm>
#include <array>
#include <barrier>
#include <filesystem>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using namespace ScObjects;
using namespace ScObjects::TevoroTalkData;

std::string text(const SoString& value)
{
    return std::string(value.view());
}

bool isRandomValue(const std::string& value)
{
    return value.size() >= 16 && value.size() <= 32
        && value.find_first_not_of("0123456789ABCDEF") == std::string::npos;
}

class IdentityTest : public testing::Test {
protected:
    IdentityTest()
    {
        m_environment.set("HOME", m_home.path());
        forgetIdentity();
    }
    ~IdentityTest() override { forgetIdentity(); }

    std::string fileOf(const std::string& name) const { return m_home.path(".velmo/" + name); }
    void write(const std::string& name, const std::string& value) const
    {
        m_home.write(".velmo/" + name, value);
    }
    std::set<std::string> filesInFolder() const
    {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_home.path(".velmo")))
            names.insert(entry.path().filename().string());
        return names;
    }

    test::TestFolder m_home;
    test::Environment m_environment;
};

// Processes that ask for an identity all at the same moment.
class Crowd {
public:
    explicit Crowd(std::size_t size)
    {
        EXPECT_EQ(::pipe(m_start.data()), 0);
        EXPECT_EQ(::pipe(m_answers.data()), 0);
        for (std::size_t i = 0; i < size; ++i)
            m_children.push_back(startChild());
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;
    ~Crowd()
    {
        for (const int end : {m_answers[0], m_answers[1]})
            ::close(end);
    }

    std::vector<std::string> answers()
    {
        ::close(m_start[0]);
        ::close(m_start[1]); // which lets all of them go
        std::vector<std::string> result;
        for (const pid_t child : m_children) {
            std::array<char, kAnswer> answer{};
            EXPECT_EQ(::read(m_answers[0], answer.data(), answer.size()), ssize_t{kAnswer});
            result.emplace_back(answer.data());
            int status = 0;
            EXPECT_EQ(::waitpid(child, &status, 0), child);
            EXPECT_EQ(status, 0);
        }
        return result;
    }

private:
    static constexpr std::size_t kAnswer = 64; // small enough for one write

    pid_t startChild()
    {
        const pid_t child = ::fork();
        if (child != 0)
            return child;
        ::close(m_start[1]);
        char signal = 0;
        while (::read(m_start[0], &signal, 1) > 0) { }
        std::array<char, kAnswer> answer{};
        text(getMD5ID()).copy(answer.data(), answer.size() - 1);
        ::_exit(::write(m_answers[1], answer.data(), answer.size()) == ssize_t{kAnswer} ? 0 : 1);
    }

    std::array<int, 2> m_start{};
    std::array<int, 2> m_answers{};
    std::vector<pid_t> m_children;
};

} // namespace

TEST_F(IdentityTest, MakesAFileForItsOwnerAlone)
{
    const mode_t mask = ::umask(0);
    const std::string id = text(TevoroTalkUtils::getUserID());
    ::umask(mask);
    EXPECT_TRUE(isRandomValue(id)) << id;
    EXPECT_EQ(test::read(fileOf("userid")), id);
    EXPECT_EQ(fs::status(fileOf("userid")).permissions(), fs::perms{0600});
    EXPECT_EQ(fs::status(m_home.path(".velmo")).permissions(), fs::perms{0771});
}

TEST_F(IdentityTest, LeavesNothingElseBehind)
{
    const std::ptrdiff_t before = test::openDescriptors();
    getMD5ID();
    TevoroTalkUtils::getUserID();
    EXPECT_EQ(filesInFolder(), (std::set<std::string>{"md5", "userid"}));
    EXPECT_EQ(test::openDescriptors(), before);
}

TEST_F(IdentityTest, HasThreeNamesForOneValue)
{
    const std::string id = text(TevoroTalkUtils::getUserID());
    EXPECT_EQ(text(TevoroTalkUtils::getSecurityID()), id);
    EXPECT_EQ(text(TevoroTalkUtils::getSignature()), id);
}

TEST_F(IdentityTest, MakesTheSaltIndependently)
{
    const std::string salt = text(getMD5ID());
    EXPECT_TRUE(isRandomValue(salt)) << salt;
    EXPECT_EQ(test::read(fileOf("md5")), salt);
    EXPECT_NE(salt, text(TevoroTalkUtils::getUserID()));
}

TEST_F(IdentityTest, TakesWhatTheFileHolds)
{
    write("userid", "any text, \n of this user");
    write("md5", "salt");
    EXPECT_EQ(text(TevoroTalkUtils::getUserID()), "any text, \n of this user");
    EXPECT_EQ(text(getMD5ID()), "salt");
    EXPECT_EQ(test::read(fileOf("md5")), "salt");
    EXPECT_EQ(text(getID("userid")), "any text, \n of this user");
}

TEST_F(IdentityTest, UsesAFolderThatIsThere)
{
    fs::create_directory(m_home.path(".velmo"));
    EXPECT_EQ(test::read(fileOf("userid")), "");
    const std::string id = text(TevoroTalkUtils::getUserID());
    EXPECT_EQ(test::read(fileOf("userid")), id);
}

TEST_F(IdentityTest, KeepsAValueForTheProcess)
{
    const std::string id = text(TevoroTalkUtils::getUserID());
    const std::string salt = text(getMD5ID());
    fs::remove_all(m_home.path(".velmo"));
    EXPECT_EQ(text(TevoroTalkUtils::getUserID()), id);
    EXPECT_EQ(text(getMD5ID()), salt);
    EXPECT_FALSE(fs::exists(m_home.path(".velmo")));
}

TEST_F(IdentityTest, MakesANewValueForTheNextProcessWhenTheFileIsGone)
{
    const std::string id = text(TevoroTalkUtils::getUserID());
    fs::remove(fileOf("userid"));
    forgetIdentity();
    EXPECT_NE(text(TevoroTalkUtils::getUserID()), id);
}

TEST_F(IdentityTest, KeepsUpTo40Characters)
{
    for (const std::size_t length : {1U, 40U}) {
        forgetIdentity();
        write("md5", std::string(length, 'a'));
        EXPECT_EQ(text(getMD5ID()), std::string(length, 'a'));
        write("md5", "changed");
        EXPECT_EQ(text(getMD5ID()), std::string(length, 'a'));
    }
}

TEST_F(IdentityTest, ReadsALongerValueAnewEachTime)
{
    write("md5", std::string(41, 'a'));
    EXPECT_EQ(text(getMD5ID()), std::string(41, 'a'));
    write("md5", std::string(5000, 'b'));
    EXPECT_EQ(text(getMD5ID()), std::string(5000, 'b'));
    write("md5", "short");
    EXPECT_EQ(text(getMD5ID()), "short");
}

TEST_F(IdentityTest, ReadsAnEmptyFileAnewEachTime)
{
    write("md5", "");
    write("userid", "");
    EXPECT_EQ(text(getMD5ID()), "");
    EXPECT_EQ(text(TevoroTalkUtils::getUserID()), "");
    EXPECT_EQ(test::read(fileOf("md5")), "");
    write("md5", "salt");
    write("userid", "id");
    EXPECT_EQ(text(getMD5ID()), "salt");
    EXPECT_EQ(text(TevoroTalkUtils::getUserID()), "id");
}

TEST_F(IdentityTest, IsEmptyWithoutAHomeFolder)
{
    m_environment.unset("HOME");
    EXPECT_EQ(text(TevoroTalkUtils::getUserID()), "");
    EXPECT_EQ(text(getMD5ID()), "");
    m_environment.set("HOME", "");
    EXPECT_EQ(text(TevoroTalkUtils::getUserID()), "");
    // printf '%s' '+text+' | openssl dgst -sha1
    EXPECT_EQ(text(TevoroTalkUtils::getMD5("text")), "A95CF3E6ECE52D3151EE43327E5C73C688DDF");
}

TEST_F(IdentityTest, IsFoundOnceThereIsAHomeFolder)
{
    m_environment.unset("HOME");
    EXPECT_EQ(text(TevoroTalkUtils::getUserID()), "");
    m_environment.set("HOME", m_home.path());
    EXPECT_TRUE(isRandomValue(text(TevoroTalkUtils::getUserID())));
}

TEST_F(IdentityTest, HoldsForTheProcessWhereNoFolderCanBeMade)
{
    m_environment.set("HOME", m_home.write("file", "x"));
    const std::string id = text(TevoroTalkUtils::getUserID());
    EXPECT_TRUE(isRandomValue(id)) << id;
    EXPECT_EQ(text(TevoroTalkUtils::getUserID()), id);
    EXPECT_TRUE(isRandomValue(text(getMD5ID())));
    forgetIdentity(); // as another process
    EXPECT_NE(text(TevoroTalkUtils::getUserID()), id);
}

TEST_F(IdentityTest, HoldsForTheProcessInAHomeThatCannotBeWritten)
{
    fs::permissions(m_home.path(), fs::perms{0555});
    const int answer = test::askedAsOrdinaryUser([] {
        const std::string id = text(TevoroTalkUtils::getUserID());
        return isRandomValue(id) && text(TevoroTalkUtils::getUserID()) == id ? 1 : 0;
    });
    fs::permissions(m_home.path(), fs::perms{0700});
    EXPECT_EQ(answer, 1);
    EXPECT_FALSE(fs::exists(m_home.path(".velmo")));
}

TEST_F(IdentityTest, HoldsForTheProcessOnAFullDisk)
{
    const int answer = test::askedAsOrdinaryUser([] {
        const test::TestFolder home;
        ::setenv("HOME", home.path().c_str(), 1);
        const rlimit nothing{0, 0};
        ::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &nothing);
        const std::string id = text(TevoroTalkUtils::getUserID());
        const bool isKept = isRandomValue(id) && text(TevoroTalkUtils::getUserID()) == id;
        // Not even a part of a file, which the next process would take for the value.
        const bool isClean = fs::is_empty(home.path(".velmo"));
        return isKept && isClean ? 1 : 0;
    });
    EXPECT_EQ(answer, 1);
}

TEST_F(IdentityTest, IsEmptyWhereTheFileIsClosedToTheUser)
{
    write("userid", "of another user");
    fs::permissions(m_home.path(), fs::perms{0755});
    fs::permissions(m_home.path(".velmo"), fs::perms{0755});
    fs::permissions(fileOf("userid"), fs::perms::none);
    const int answer =
        test::askedAsOrdinaryUser([] { return TevoroTalkUtils::getUserID().isEmpty() ? 1 : 0; });
    EXPECT_EQ(answer, 1);
    fs::permissions(fileOf("userid"), fs::perms{0600});
    EXPECT_EQ(test::read(fileOf("userid")), "of another user");
}

TEST_F(IdentityTest, IsEmptyWhereAFolderStandsInThePlaceOfTheFile)
{
    fs::create_directories(fileOf("userid"));
    EXPECT_EQ(text(TevoroTalkUtils::getUserID()), "");
}

TEST_F(IdentityTest, HoldsForTheProcessBehindALinkToNowhere)
{
    fs::create_directory(m_home.path(".velmo"));
    fs::create_symlink("nowhere", fileOf("userid"));
    const std::string id = text(TevoroTalkUtils::getUserID());
    EXPECT_TRUE(isRandomValue(id)) << id;
    EXPECT_EQ(text(TevoroTalkUtils::getUserID()), id);
    EXPECT_EQ(filesInFolder(), std::set<std::string>{"userid"});
}

TEST_F(IdentityTest, IsOneForProcessesThatMakeItAtOnce)
{
    for (int round = 0; round < 25; ++round) {
        fs::remove_all(m_home.path(".velmo"));
        const std::vector<std::string> answers = Crowd(6).answers();
        const std::string salt = test::read(fileOf("md5"));
        EXPECT_TRUE(isRandomValue(salt)) << salt;
        EXPECT_EQ(answers, std::vector<std::string>(6, salt));
        EXPECT_EQ(filesInFolder(), std::set<std::string>{"md5"});
    }
}

TEST_F(IdentityTest, IsOneForThreadsWhereItCannotBeWritten)
{
    m_environment.set("HOME", m_home.write("file", "x"));
    for (int round = 0; round < 50; ++round) {
        forgetIdentity();
        std::array<std::string, 4> ids;
        std::barrier start(std::ssize(ids));
        std::vector<std::thread> threads;
        for (std::string& id : ids) {
            threads.emplace_back([&] {
                start.arrive_and_wait();
                id = text(TevoroTalkUtils::getUserID());
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_TRUE(isRandomValue(ids[0])) << ids[0];
        EXPECT_EQ(std::count(ids.begin(), ids.end(), ids[0]), std::ssize(ids));
    }
}

TEST(RandomValueTest, HasNoLeadingZerosOfItsBytes)
{
    std::set<std::string> values;
    std::size_t shortest = 32;
    for (int i = 0; i < 300; ++i) {
        const std::string value = text(createRandomValue());
        EXPECT_TRUE(isRandomValue(value)) << value;
        shortest = std::min(shortest, value.size());
        values.insert(value);
    }
    EXPECT_EQ(values.size(), 300U);
    // Two values of three have a byte below 16.
    EXPECT_LT(shortest, 32U);
}

TEST_F(IdentityTest, SaltsDigestsWithTheFile)
{
    write("md5", "S");
    EXPECT_EQ(text(TevoroTalkUtils::getMD5("text")), "6171E91CDAFEFDB26DAE7AC9BD45694979D9E8F");
    const std::string longer = "before text behind";
    EXPECT_EQ(text(digestOf(std::string_view(longer).substr(7, 4))),
        "6171E91CDAFEFDB26DAE7AC9BD45694979D9E8F");
}

TEST_F(IdentityTest, SaltsDigestsWithALongFileThatChanges)
{
    const std::string salt(41, 's');
    write("md5", salt);
    EXPECT_EQ(text(TevoroTalkUtils::getMD5("text")), text(getDigest("text", salt)));
    write("md5", salt + "t");
    EXPECT_EQ(text(TevoroTalkUtils::getMD5("text")), text(getDigest("text", salt + "t")));
}

TEST_F(IdentityTest, GivesDigestsToManyThreadsAtOnce)
{
    write("md5", "S");
    std::array<int, 4> wrong{};
    std::vector<std::thread> threads;
    for (int& count : wrong) {
        threads.emplace_back([&count] {
            for (int i = 0; i < 200; ++i)
                count += digestOf("text") == "6171E91CDAFEFDB26DAE7AC9BD45694979D9E8F" ? 0 : 1;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, (std::array<int, 4>{}));
}
