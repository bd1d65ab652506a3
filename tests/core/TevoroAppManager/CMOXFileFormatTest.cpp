#include "TevoroAppManager/CMOXFileFormat.h"

#include "TevoroAppManager/contract/FxRef.h"
#include "core/TevoroAppManager/support/FxUnits.h"

#include <cstring>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

CPropFileFormat format(const char* extension, std::uint32_t kind = 1)
{
    CPropFileFormat record;
    record.tag = 4;
    record.size = 28;
    test::put(record.extension, extension);
    record.mediaMask = kind;
    return record;
}

class CMOXFileFormatTest : public testing::Test {
protected:
    FxStatus add(const char* extension, std::uint32_t kind = 1)
    {
        CPropFileFormat record = format(extension, kind);
        return m_list->SetFormat(record);
    }
    std::string next()
    {
        CPropFileFormat record = format("");
        const FxStatus status = m_list->GetFormat(record);
        return status == kFxOk ? test::utf8(record.extension) : "";
    }

    FxRef<CMOXFileFormat> m_list = FxRef<CMOXFileFormat>::share(new CMOXFileFormat);
};

} // namespace

TEST_F(CMOXFileFormatTest, AnswersItsThreeIdsAndNoOther)
{
    for (long id = -2; id <= 70; ++id) {
        void* out = &id;
        const bool isKnown = id == 0 || id == 8 || id == 12;
        EXPECT_EQ(m_list->QueryInterface(id, &out), isKnown ? 1U : 0U) << id;
        EXPECT_EQ(out, isKnown ? static_cast<void*>(m_list.get()) : nullptr) << id;
        if (isKnown) {
            EXPECT_EQ(m_list->Release(), 1U) << id;
        }
    }
}

TEST_F(CMOXFileFormatTest, EndsAtOnceWhenItIsEmpty)
{
    CPropFileFormat record = format("old", 9);
    EXPECT_EQ(m_list->GetFormat(record), kFxEndOfList);
    EXPECT_EQ(test::utf8(record.extension), "old");
    EXPECT_EQ(record.mediaMask, 9U);
}

TEST_F(CMOXFileFormatTest, RefusesTheSameExtensionInAnotherCase)
{
    EXPECT_EQ(add("jpg"), kFxOk);
    EXPECT_EQ(add("JPG"), kFxErrBadArgument);
    EXPECT_EQ(add("jpg"), kFxErrBadArgument);
    EXPECT_EQ(add("JPG", 2), kFxOk);
    EXPECT_EQ(add("jp"), kFxOk);
    unsigned long count = 0;
    m_list->GetFormatCount(count);
    EXPECT_EQ(count, 3U);
}

TEST_F(CMOXFileFormatTest, FoldsLettersBeyondTheLatinOnesToo)
{
    EXPECT_EQ(add("\u00c4\u0416"), kFxOk);
    EXPECT_EQ(add("\u00e4\u0436"), kFxErrBadArgument);
}

TEST_F(CMOXFileFormatTest, RefusesRecordsOfAnotherTagOrSize)
{
    for (const auto& [tag, size] : {std::pair{4U, 27U}, {4U, 29U}, {5U, 28U}, {0U, 0U}}) {
        CPropFileFormat record = format("jpg");
        record.tag = tag;
        record.size = size;
        EXPECT_EQ(m_list->SetFormat(record), kFxErrBadRecord);
        EXPECT_EQ(m_list->GetFormat(record), kFxErrBadRecord);
    }
    EXPECT_EQ(next(), "");
}

TEST_F(CMOXFileFormatTest, WalksAndBeginsAgain)
{
    add("a");
    add("b");
    EXPECT_EQ(next(), "a");
    EXPECT_EQ(next(), "b");
    EXPECT_EQ(next(), "");
    EXPECT_EQ(m_list->Reset(), kFxOk);
    EXPECT_EQ(next(), "a");
}

TEST_F(CMOXFileFormatTest, StaysBehindItsEndWhenItIsCleared)
{
    add("a");
    add("b");
    next();
    next();
    EXPECT_EQ(m_list->ClearFormatList(), kFxOk);
    EXPECT_EQ(next(), "");
    add("c");
    EXPECT_EQ(next(), "");
    add("d");
    add("e");
    EXPECT_EQ(next(), "e");
}

TEST_F(CMOXFileFormatTest, CopiesTheWholeField)
{
    CPropFileFormat full = format("");
    std::fill_n(full.extension, 8, static_cast<unsigned short>('x'));
    EXPECT_EQ(m_list->SetFormat(full), kFxOk);
    CPropFileFormat record;
    std::memset(static_cast<void*>(&record), 0xAA, sizeof record);
    record.tag = 4;
    record.size = 28;
    EXPECT_EQ(m_list->GetFormat(record), kFxOk);
    EXPECT_EQ(std::memcmp(record.extension, full.extension, 16), 0);
    EXPECT_EQ(record.mediaMask, 1U);
}

TEST_F(CMOXFileFormatTest, CountsWhatItTookOfMany)
{
    std::vector<CPropFileFormat> several{format("a"), format("A"), format("b"), format("c")};
    several[3].size = 27;
    CPropFileFormat* records = several.data();
    unsigned long added = 77;
    EXPECT_EQ(m_list->SetMultipleFormat(records, several.size(), added), kFxOk);
    EXPECT_EQ(added, 2U);
    EXPECT_EQ(records, several.data());
}

TEST_F(CMOXFileFormatTest, GivesManyAndFillsAFailedElementAgain)
{
    add("a");
    add("b");
    std::vector<CPropFileFormat> several(4, format("old"));
    CPropFileFormat* records = several.data();
    unsigned long got = 77;
    EXPECT_EQ(m_list->GetMultipleFormat(records, 4, got), kFxOk);
    EXPECT_EQ(got, 2U);
    EXPECT_EQ(test::utf8(several[0].extension), "a");
    EXPECT_EQ(test::utf8(several[1].extension), "b");
    EXPECT_EQ(test::utf8(several[2].extension), "old");
}

TEST_F(CMOXFileFormatTest, RefusesToMoveNone)
{
    CPropFileFormat* records = nullptr;
    unsigned long count = 77;
    EXPECT_EQ(m_list->SetMultipleFormat(records, 0, count), kFxErrBadRecord);
    EXPECT_EQ(m_list->GetMultipleFormat(records, 0, count), kFxErrBadRecord);
    EXPECT_EQ(count, 77U);
}

TEST_F(CMOXFileFormatTest, IsCountedFromSeveralThreads)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this] {
            for (int n = 0; n < 10000; ++n) {
                m_list->AddRef();
                m_list->Release();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(m_list->AddRef(), 2U);
    EXPECT_EQ(m_list->Release(), 1U);
}
