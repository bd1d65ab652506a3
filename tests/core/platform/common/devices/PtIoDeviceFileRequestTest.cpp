#include "core/platform/WideLiteral.h"
#include "core/platform/support/IoDevices.h"
#include "platform/common/devices/PtIoDeviceFile.h"
#include "support/TestFolder.h"

#include <cerrno>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using test::TellingCompletion;
using test::wide;
using testing::ElementsAre;
using testing::IsEmpty;
using Request = Pt::SmartPointer<Pt::IoRequest>;

namespace {

// Real files, read and written by requests.
class PtIoDeviceFileRequestTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(test::openDescriptors(), m_descriptors); }

    static PtIoDeviceFile::Pointer open(const std::string& path, int flags)
    {
        return PtIoDeviceFile::Create(wide(path).c_str(), flags);
    }
    Request request(const std::string& name, std::string& bytes, TellingCompletion::Then then = {})
    {
        const Pt::SmartPointer<Pt::IoCompletion> completion(
            new TellingCompletion(m_told, name, std::move(then)));
        return new Pt::IoRequest(
            completion, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    }
    template <typename Action>
    static int errorOf(Action action)
    {
        try {
            action();
        } catch (const Pt::ExSystem& failure) {
            return failure.errorCode();
        }
        return 0;
    }

    const std::ptrdiff_t m_descriptors = test::openDescriptors();
    test::TestFolder m_folder;
    TellingCompletion::Record m_told;
};

} // namespace

TEST_F(PtIoDeviceFileRequestTest, ReadsFromTheFirstByteOn)
{
    const PtIoDeviceFile::Pointer file = open(m_folder.write("file", "0123456789"), kPtIoReadOnly);
    std::string bytes(4, '.');
    EXPECT_TRUE(file->read(*request("a", bytes)));
    EXPECT_EQ(bytes, "0123");
    EXPECT_TRUE(file->read(*request("b", bytes)));
    EXPECT_EQ(bytes, "4567");
    EXPECT_THAT(m_told.all(), ElementsAre("completed a 4", "completed b 4"));
}

TEST_F(PtIoDeviceFileRequestTest, ReadsWhatThereIsAndNothingAtTheEnd)
{
    const PtIoDeviceFile::Pointer file = open(m_folder.write("file", "012"), kPtIoReadOnly);
    std::string bytes(5, '.');
    const Request asked = request("a", bytes);
    file->read(*asked);
    EXPECT_EQ(bytes, "012..");
    EXPECT_TRUE(asked->isDone());
    file->read(*asked);
    EXPECT_EQ(bytes, "012..");
    EXPECT_THAT(m_told.all(), ElementsAre("completed a 3", "completed a 0"));
}

TEST_F(PtIoDeviceFileRequestTest, WritesAfterWhatItHasWritten)
{
    const std::string path = m_folder.path("new");
    const PtIoDeviceFile::Pointer file = open(path, kPtIoCreateNew);
    std::string first = "Hello, ";
    std::string second = "world";
    file->write(*request("a", first));
    file->write(*request("b", second));
    EXPECT_EQ(test::read(path), "Hello, world");
    EXPECT_THAT(m_told.all(), ElementsAre("completed a 7", "completed b 5"));
}

TEST_F(PtIoDeviceFileRequestTest, WritesOverTheBeginningOfWhatStandsThere)
{
    const std::string path = m_folder.write("old", "0123456789");
    std::string bytes = "abc";
    open(path, kPtIoOpenExisting)->write(*request("a", bytes));
    EXPECT_EQ(test::read(path), "abc3456789");
}

TEST_F(PtIoDeviceFileRequestTest, TransfersNoBytesWhenNoneAreAskedFor)
{
    const PtIoDeviceFile::Pointer file = open(m_folder.write("file", "012"), kPtIoOpenExisting);
    std::string none;
    file->read(*request("a", none));
    file->write(*request("b", none));
    EXPECT_THAT(m_told.all(), ElementsAre("completed a 0", "completed b 0"));
}

TEST_F(PtIoDeviceFileRequestTest, ThrowsWhatADirectTransferFailsWith)
{
    const PtIoDeviceFile::Pointer file = open(m_folder.write("file", "012"), kPtIoReadOnly);
    std::string bytes = "abc";
    const Request asked = request("a", bytes);
    EXPECT_EQ(errorOf([&] { file->write(*asked); }), EBADF);
    EXPECT_FALSE(asked->isDone());
    EXPECT_THAT(m_told.all(), IsEmpty());
    EXPECT_EQ(errorOf([&] { file->write(*asked); }), EBADF) << "the request was kept";
    const PtIoDeviceFile::Pointer full = open("/dev/full", kPtIoOpenExisting);
    EXPECT_EQ(errorOf([&] { full->write(*asked); }), ENOSPC);
}

TEST_F(PtIoDeviceFileRequestTest, ThrowsIntoACompletionThatAsksForMoreToo)
{
    const PtIoDeviceFile::Pointer file = open(m_folder.write("file", "012"), kPtIoReadOnly);
    std::string bytes = "abc";
    int error = 0;
    const Request second = request("b", bytes);
    file->read(*request(
        "a", bytes, [&](Pt::IoRequest&) { error = errorOf([&] { file->write(*second); }); }));
    EXPECT_EQ(error, EBADF);
    EXPECT_THAT(m_told.all(), ElementsAre("completed a 3"));
}

TEST_F(PtIoDeviceFileRequestTest, CopiesAFileByCompletionsThatAskForMore)
{
    std::string content;
    for (int i = 0; i < 5000; ++i)
        content += static_cast<char>('a' + i % 23);
    const PtIoDeviceFile::Pointer from = open(m_folder.write("from", content), kPtIoReadOnly);
    const PtIoDeviceFile::Pointer to = open(m_folder.path("to"), kPtIoCreateNew);
    std::string part(10, '.');
    std::size_t left = content.size() / part.size();
    TellingCompletion::Then readMore;
    const TellingCompletion::Then write = [&](Pt::IoRequest&) {
        to->write(*request("w", part, readMore));
    };
    readMore = [&](Pt::IoRequest&) {
        if (--left > 0)
            from->read(*request("r", part, write));
    };
    from->read(*request("r", part, write));
    EXPECT_EQ(test::read(m_folder.path("to")), content);
}

// A completion sees the limits: what it asks for stays in flight until it has returned.
TEST_F(PtIoDeviceFileRequestTest, HasPlacesFor512ReadsAnd512Writes)
{
    constexpr std::size_t kPlaces = 512;
    const PtIoDeviceFile::Pointer file = open(m_folder.write("file", "0"), kPtIoOpenExisting);
    std::string byte(1, '.');
    std::vector<bool> reads;
    std::vector<bool> writes;
    file->read(*request("first", byte, [&](Pt::IoRequest&) {
        for (std::size_t i = 0; i <= kPlaces; ++i) {
            reads.push_back(file->read(*request("r", byte)));
            writes.push_back(file->write(*request("w", byte)));
        }
    }));
    std::vector<bool> expected(kPlaces, true);
    expected.push_back(false);
    EXPECT_EQ(reads, expected);
    EXPECT_EQ(writes, expected);
    EXPECT_EQ(m_told.count(), 1 + 2 * (kPlaces + 1));
}

TEST_F(PtIoDeviceFileRequestTest, FailsWhatIsAskedOfAClosedFile)
{
    const PtIoDeviceFile::Pointer file = open(m_folder.path("new"), kPtIoCreateNew);
    EXPECT_FALSE(file->isClosed());
    file->close();
    EXPECT_TRUE(file->isClosed());
    std::string bytes = "abc";
    const Request reading = request("a", bytes);
    EXPECT_TRUE(file->read(*reading));
    EXPECT_TRUE(file->write(*request("b", bytes)));
    EXPECT_TRUE(reading->isDone());
    const std::string error = std::to_string(EBADF);
    EXPECT_THAT(m_told.all(), ElementsAre("failed a " + error, "failed b " + error));
    EXPECT_EQ(errorOf([&] { file->flush(); }), EBADF);
    EXPECT_NO_THROW(file->close());
}

TEST_F(PtIoDeviceFileRequestTest, TellsWhatClosingFailsWith)
{
    const PtIoDeviceFile::Pointer file = open(m_folder.path("gone"), kPtIoTemporary);
    std::filesystem::remove(m_folder.path("gone"));
    EXPECT_EQ(errorOf([&] { file->close(); }), ENOENT);
    EXPECT_TRUE(file->isClosed());
}

TEST_F(PtIoDeviceFileRequestTest, RemovesATemporaryFileWhenItIsClosed)
{
    const PtIoDeviceFile::Pointer file = open(m_folder.path("probe"), kPtIoTemporary);
    file->close();
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("probe")));
}

TEST_F(PtIoDeviceFileRequestTest, CompletesAControl)
{
    const PtIoDeviceFile::Pointer file = open(m_folder.path("new"), kPtIoCreateNew);
    std::string none;
    file->control(*request("a", none));
    EXPECT_THAT(m_told.all(), ElementsAre("completed a 0"));
}

TEST_F(PtIoDeviceFileRequestTest, TakesRequestsFromManyThreads)
{
    constexpr int kThreads = 4;
    constexpr int kEach = 200;
    const std::string path = m_folder.path("new");
    const PtIoDeviceFile::Pointer file = open(path, kPtIoCreateNew);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([this, &file, i] {
            std::string bytes(10, static_cast<char>('a' + i));
            for (int each = 0; each < kEach; ++each)
                file->write(*request("w", bytes));
        });
    }
    for (std::thread& each : threads)
        each.join();
    EXPECT_EQ(m_told.count(), std::size_t(kThreads * kEach));
    const std::string content = test::read(path);
    ASSERT_EQ(content.size(), std::size_t(kThreads * kEach * 10));
    for (std::size_t at = 0; at < content.size(); at += 10)
        EXPECT_EQ(content.substr(at, 10), std::string(10, content[at]));
}
