#include "TevoroAppManager/contract/CPropAppPreferences.h"

#include <gtest/gtest.h>

namespace {

// Bytes in an enumerator, let go of at the end.
class Bytes {
public:
    explicit Bytes(const std::string& bytes)
        : object(new CBuffEnumArbitraryData(bytes.data(), static_cast<std::uint32_t>(bytes.size())))
    {
    }
    ~Bytes() { EXPECT_EQ(object->Release(), 0U); }
    Bytes(const Bytes&) = delete;
    Bytes& operator=(const Bytes&) = delete;

    CBuffEnumArbitraryData* const object;
};

CPropBuffer asking(std::uint32_t length, unsigned char* buffer)
{
    CPropBuffer record;
    record.tag = 0xAAAAAAAA; // not looked at
    record.size = 16;
    record.length = length;
    record.buffer = buffer;
    return record;
}

} // namespace

TEST(CPropAppPreferencesTest, GivesBackTextsOfEveryLength)
{
    for (const std::size_t length : {0U, 1U, 198U, 199U, 200U, 201U, 399U, 400U, 401U, 1000U}) {
        CPropAppPreferences3 record;
        const std::string text(length, 'x');
        record.setApplyMetadataAuthorName(text.c_str(), 12345);
        EXPECT_EQ(record.authorNameLength, length + 1);
        EXPECT_EQ(record.getApplyMetadataAuthorName(), text) << length;
        EXPECT_EQ(record.getApplyMetadataAuthorName(), text) << "again";
        record.authorName->Release();
    }
}

TEST(CPropAppPreferencesTest, ReadsEachPieceUpToItsFirstZero)
{
    CPropAppPreferences3 record;
    const Bytes bytes(std::string(100, 'a') + '\0' + std::string(99, 'b') + "cd");
    record.templateName = bytes.object;
    EXPECT_EQ(record.getApplyMetadataTemplateName(), std::string(100, 'a') + "cd");
}

TEST(CPropAppPreferencesTest, ReadsBytesWithoutATerminator)
{
    for (const std::size_t length : {1U, 199U, 200U, 201U, 400U}) {
        CPropAppPreferences3 record;
        const Bytes bytes(std::string(length, 'y'));
        record.copyright = bytes.object;
        EXPECT_EQ(record.getApplyMetadataCopyright(), std::string(length, 'y'));
    }
}

TEST(CPropAppPreferencesTest, HasNoTextWhereNoneWasSet)
{
    const CPropAppPreferences3 record;
    EXPECT_EQ(record.getApplyMetadataTemplateName(), "");
    EXPECT_EQ(record.getApplyMetadataAuthorName(), "");
    EXPECT_EQ(record.getApplyMetadataCopyright(), "");
    EXPECT_EQ(record.GetMobileFolderSetting(), "");
    EXPECT_EQ(record.getBatchRenamePreference(), "");
}

TEST(CPropAppPreferencesTest, KeepsTheOldStringAliveWhenANewOneIsSet)
{
    CPropAppPreferences3 record;
    record.SetMobileFolderSetting("old", 0);
    IEnumArbitraryData* const old = record.mobileFolder;
    record.SetMobileFolderSetting("new", 0);
    EXPECT_EQ(record.GetMobileFolderSetting(), "new");
    EXPECT_EQ(old->Release(), 0U);
    EXPECT_EQ(record.mobileFolder->Release(), 0U);
}

TEST(CPropAppPreferencesTest, AssignsDataButNotTheReservedFieldsNorTheGridFilter)
{
    CPropAppPreferences3 from;
    from.tag = 5;
    from.size = 5808;
    from.firstText[259] = 1;
    from.reservedBlock[0] = 2;
    from.gridFilter = 3;
    from.reservedText[0] = 4;
    from.hostWords[3] = 5;
    from.hostFlag = true;
    from.spareLength = 6;
    from.reservedTail[0] = 7;
    from.renameSequenceNumber = 8;
    from.setBatchRenamePreference("rule", 0);
    CPropAppPreferences3 to;
    to.tag = 50;
    to.size = 51;
    to.gridFilter = 52;
    to = from;
    EXPECT_EQ(to.tag, 50U);
    EXPECT_EQ(to.size, 51U);
    EXPECT_EQ(to.firstText[259], 1);
    EXPECT_EQ(to.reservedBlock[0], 0);
    EXPECT_EQ(to.gridFilter, 52);
    EXPECT_EQ(to.reservedText[0], 0);
    EXPECT_EQ(to.hostWords[3], 5);
    EXPECT_TRUE(to.hostFlag);
    EXPECT_EQ(to.spareLength, 6U);
    EXPECT_EQ(to.reservedTail[0], 0);
    EXPECT_EQ(to.renameSequenceNumber, 8);
    EXPECT_EQ(to.batchRename, from.batchRename);
    EXPECT_EQ(to.batchRenameLength, 5U);
    EXPECT_EQ(from.batchRename->Release(), 0U); // the one reference there is
}

TEST(CBuffEnumArbitraryDataTest, CapsTheLengthByWhatIsLeft)
{
    const Bytes bytes(std::string(250, 'z'));
    unsigned char buffer[256] = {};
    CPropBuffer record = asking(200, buffer);
    EXPECT_EQ(bytes.object->Next(&record), kFxOk);
    EXPECT_EQ(buffer[199], 'z');
    EXPECT_EQ(buffer[200], 0);
    EXPECT_EQ(record.length, 50U);
    EXPECT_EQ(bytes.object->Next(&record), kFxOk);
    EXPECT_EQ(record.length, 0U);
    EXPECT_EQ(bytes.object->Next(&record), kFxEndOfList);
    EXPECT_EQ(bytes.object->Reset(), kFxOk);
    record.length = 10;
    EXPECT_EQ(bytes.object->Next(&record), kFxOk);
    EXPECT_EQ(record.length, 10U);
}

TEST(CBuffEnumArbitraryDataTest, RefusesRecordsOfAnotherSize)
{
    const Bytes bytes("abc");
    unsigned char buffer[4] = {};
    for (const std::uint32_t size : {0U, 15U, 17U, 24U}) {
        CPropBuffer record = asking(3, buffer);
        record.size = size;
        EXPECT_EQ(bytes.object->Next(&record), kFxErrBadRecord) << size;
    }
    EXPECT_EQ(bytes.object->Next(nullptr), kFxErrBadRecord);
    EXPECT_EQ(buffer[0], 0);
}

TEST(CBuffEnumArbitraryDataTest, AnswersNoIdAndLeavesThePointerAlone)
{
    const Bytes bytes("abc");
    for (long id = 0; id < 70; ++id) {
        void* out = &id;
        EXPECT_EQ(bytes.object->QueryInterface(id, &out), 0U);
        EXPECT_EQ(out, &id);
    }
}

TEST(CBuffEnumArbitraryDataTest, CountsItsBytesAndReferences)
{
    const Bytes bytes(std::string("a\0b", 3));
    long count = 0;
    EXPECT_EQ(bytes.object->GetCount(&count), kFxOk);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(bytes.object->AddRef(), 2U);
    EXPECT_EQ(bytes.object->Release(), 1U);
    const Bytes none("");
    none.object->GetCount(&count);
    EXPECT_EQ(count, 0);
    unsigned char buffer[1] = {};
    CPropBuffer record = asking(1, buffer);
    EXPECT_EQ(none.object->Next(&record), kFxEndOfList);
}
