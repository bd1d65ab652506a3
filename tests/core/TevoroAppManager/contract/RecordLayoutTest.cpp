// Sizes and offsets of the records. They are part of the contract: fields in the order written,
// fixed widths, natural alignment.

#include "TevoroAppManager/contract/CPropAppPreferences.h"

#include <cstring>

#include <gtest/gtest.h>

namespace {

template <typename Record, typename Field>
std::ptrdiff_t offset(const Record& record, const Field& field)
{
    return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&record);
}

} // namespace

TEST(RecordLayoutTest, BeginsEachRecordWithTagAndSize)
{
    const CPropSource record;
    EXPECT_EQ(offset(record, record.tag), 0);
    EXPECT_EQ(offset(record, record.size), 4);
}

TEST(RecordLayoutTest, Source)
{
    const CPropSource record;
    EXPECT_EQ(sizeof record, 3640U);
    EXPECT_EQ(offset(record, record.name), 8);
    EXPECT_EQ(offset(record, record.application), 528);
    EXPECT_EQ(offset(record, record.longName), 1048);
    EXPECT_EQ(offset(record, record.description), 3096);
    EXPECT_EQ(offset(record, record.kind), 3616);
    EXPECT_EQ(offset(record, record.flags), 3620);
    EXPECT_EQ(offset(record, record.identifier), 3624);
}

TEST(RecordLayoutTest, MediaItem)
{
    const CPropSinkMediaItem record;
    EXPECT_EQ(sizeof record, 2104U);
    EXPECT_EQ(offset(record, record.itemKey), 8);
    EXPECT_EQ(offset(record, record.hostWord1), 12);
    EXPECT_EQ(offset(record, record.hostWord2), 16);
    EXPECT_EQ(offset(record, record.deviceName), 20);
    EXPECT_EQ(offset(record, record.fileName), 540);
    EXPECT_EQ(offset(record, record.folder), 1060);
    EXPECT_EQ(offset(record, record.hostText), 1580);
    EXPECT_EQ(offset(record, record.lastWord), 2100);
}

TEST(RecordLayoutTest, FileFormat)
{
    const CPropFileFormat record;
    EXPECT_EQ(sizeof record, 28U);
    EXPECT_EQ(offset(record, record.extension), 8);
    EXPECT_EQ(offset(record, record.mediaMask), 24);
    EXPECT_EQ(record.mediaMask, 0x10000000U);
}

TEST(RecordLayoutTest, BufferAndControlOrder)
{
    const CPropBuffer buffer;
    EXPECT_EQ(sizeof buffer, 24U);
    EXPECT_EQ(offset(buffer, buffer.length), 8);
    EXPECT_EQ(offset(buffer, buffer.buffer), 16);
    const CPropUIControlOrder order;
    EXPECT_EQ(sizeof order, 16U);
    EXPECT_EQ(offset(order, order.position), 8);
    EXPECT_EQ(offset(order, order.controlId), 12);
    EXPECT_EQ(order.position, -1);
    EXPECT_EQ(order.controlId, 4U);
}

TEST(RecordLayoutTest, Preferences)
{
    const CPropAppPreferences3 record;
    EXPECT_EQ(sizeof record, 5856U);
    EXPECT_EQ(offset(record, record.firstText), 8);
    EXPECT_EQ(offset(record, record.location), 528);
    EXPECT_EQ(offset(record, record.firstFlag), 1048);
    EXPECT_EQ(offset(record, record.dontShowAgainFlags), 1052);
    EXPECT_EQ(offset(record, record.reservedBlock), 1056);
    EXPECT_EQ(offset(record, record.option1), 5152);
    EXPECT_EQ(offset(record, record.option2), 5153);
    EXPECT_EQ(offset(record, record.option3), 5154);
    EXPECT_EQ(offset(record, record.gridFilter), 5156);
    EXPECT_EQ(offset(record, record.secondInteger), 5160);
    EXPECT_EQ(offset(record, record.reservedText), 5164);
    EXPECT_EQ(offset(record, record.createSubfoldersIndex), 5684);
    EXPECT_EQ(offset(record, record.renameIndex), 5688);
    EXPECT_EQ(offset(record, record.applyMetadataGroupOpen), 5692);
    EXPECT_EQ(offset(record, record.customGroupOpen), 5693);
    EXPECT_EQ(offset(record, record.quickViewerMode), 5696);
    EXPECT_EQ(offset(record, record.hostWords), 5700);
    EXPECT_EQ(offset(record, record.hostFlag), 5716);
}

TEST(RecordLayoutTest, StringsAndTailOfThePreferences)
{
    const CPropAppPreferences3 record;
    EXPECT_EQ(offset(record, record.templateNameLength), 5720);
    EXPECT_EQ(offset(record, record.templateName), 5728);
    EXPECT_EQ(offset(record, record.authorNameLength), 5736);
    EXPECT_EQ(offset(record, record.authorName), 5744);
    EXPECT_EQ(offset(record, record.copyrightLength), 5752);
    EXPECT_EQ(offset(record, record.copyright), 5760);
    EXPECT_EQ(offset(record, record.spareLength), 5768);
    EXPECT_EQ(offset(record, record.spare), 5776);
    EXPECT_EQ(offset(record, record.mobileFolderLength), 5784);
    EXPECT_EQ(offset(record, record.mobileFolder), 5792);
    EXPECT_EQ(offset(record, record.reservedTail), 5800);
    EXPECT_EQ(offset(record, record.backdropColour), 5824);
    EXPECT_EQ(offset(record, record.textColour), 5828);
    EXPECT_EQ(offset(record, record.renameSequenceNumber), 5832);
    EXPECT_EQ(offset(record, record.keepDeviceName), 5836);
    EXPECT_EQ(offset(record, record.batchRename), 5840);
    EXPECT_EQ(offset(record, record.batchRenameLength), 5848);
}

TEST(RecordLayoutTest, ConstructorsWriteNeitherTagNorSize)
{
    alignas(CPropSource) unsigned char place[sizeof(CPropSource)];
    std::memset(place, 0xAA, sizeof place);
    const auto* const record = new (place) CPropSource;
    // Volatile: the compiler knows that a constructor has run and nothing was written.
    EXPECT_EQ(*static_cast<const volatile std::uint32_t*>(&record->tag), 0xAAAAAAAAU);
    EXPECT_EQ(*static_cast<const volatile std::uint32_t*>(&record->size), 0xAAAAAAAAU);
    EXPECT_EQ(record->name[0], 0);
    EXPECT_EQ(record->longName[1023], 0);
}
