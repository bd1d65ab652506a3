#include "core/TevoroAppManager/support/FxUnits.h"
#include "core/TevoroAppManager/support/SinkFixture.h"

#include <cstring>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using test::units;
using test::untouchedBuffer;
using test::written;

namespace {

// The plug-in opened, its manager asked for and, where a test wants it, made ready.
class CAppManagerTest : public testing::Test {
protected:
    void SetUp() override
    {
        m_plugin = test::loadPlugin();
        ASSERT_NE(m_plugin, nullptr);
        m_manager = static_cast<ISourceManager*>(faceOf(2));
        ASSERT_NE(m_manager, nullptr);
    }
    void TearDown() override
    {
        EXPECT_EQ(m_manager->Release(), 1U);
        EXPECT_EQ(m_plugin->Release(), 0U);
    }

    void* faceOf(long id)
    {
        void* out = nullptr;
        m_plugin->QueryInterface(id, &out);
        return out;
    }

    IEnumSource* sources()
    {
        EXPECT_EQ(m_manager->Init(), kFxOk);
        IEnumSource* out = nullptr;
        EXPECT_EQ(m_manager->EnumSources(&out), kFxOk);
        return out;
    }

    FxStatus create(const char* name, ISource** out)
    {
        return m_manager->CreateSource(units(name).c_str(), out);
    }

    test::RuntimeTree m_tree;
    IFxPlugin* m_plugin = nullptr;
    ISourceManager* m_manager = nullptr;
};

// A record of one byte everywhere, with tag and size as given.
CPropSource markedSource(std::uint32_t tag, std::uint32_t size)
{
    CPropSource record;
    std::memset(static_cast<void*>(&record), 0xAA, sizeof record);
    record.tag = tag;
    record.size = size;
    return record;
}

bool isTextThenZeros(const unsigned short* field, std::size_t capacity, std::string_view text)
{
    for (std::size_t i = 0; i < capacity; ++i)
        if (field[i] != (i < text.size() ? static_cast<unsigned short>(text[i]) : 0))
            return false;
    return true;
}

} // namespace

TEST_F(CAppManagerTest, CountsReferencesOverAllItsFaces)
{
    EXPECT_EQ(m_plugin->AddRef(), 3U);
    EXPECT_EQ(m_manager->AddRef(), 4U);
    EXPECT_EQ(m_plugin->Release(), 3U);
    EXPECT_EQ(m_manager->Release(), 2U);
}

TEST_F(CAppManagerTest, AnswersItsFourIdsAndNoOther)
{
    for (long id = -2; id <= 70; ++id) {
        void* out = &id;
        const bool isKnown = id == 0 || id == 1 || id == 2 || id == 13;
        EXPECT_EQ(m_plugin->QueryInterface(id, &out), isKnown ? 1U : 0U) << id;
        EXPECT_EQ(out != nullptr, isKnown) << id;
        if (isKnown) {
            EXPECT_EQ(static_cast<IFxBase*>(out)->Release(), 2U) << id;
        }
    }
}

TEST_F(CAppManagerTest, GivesTheSourceManagerForIdZero)
{
    void* const standard = faceOf(0);
    EXPECT_EQ(standard, static_cast<void*>(m_manager));
    EXPECT_NE(standard, static_cast<void*>(m_plugin));
    m_plugin->Release();
}

TEST_F(CAppManagerTest, CutsItsNameAtTheCapacity)
{
    auto buffer = untouchedBuffer<300>();
    m_plugin->GetPluginName(buffer.data(), 5);
    EXPECT_EQ(written(buffer), "Tevor");
    m_plugin->GetPluginName(buffer.data(), 1000);
    EXPECT_EQ(written(buffer), "Tevoro Application Manager|");
    m_plugin->GetPluginName(nullptr, 1000);
}

TEST_F(CAppManagerTest, WritesNothingOfItsNameAtCapacityZero)
{
    auto buffer = untouchedBuffer<8>();
    m_plugin->GetPluginName(buffer.data(), 0);
    EXPECT_EQ(written(buffer), "");
}

TEST_F(CAppManagerTest, TellsItsTypeAndIdentifier)
{
    unsigned char bytes[16] = {};
    EXPECT_EQ(m_plugin->GetPluginType(), 0U);
    m_plugin->GetPluginUID(bytes);
    EXPECT_THAT(bytes,
        testing::ElementsAre(
            0xcd, 0x4c, 0xc9, 0x8c, 0x70, 0xaf, 0x39, 0x84, 0x9d, 0x9b, 0x87, 0, 0, 0, 0, 0));
}

TEST_F(CAppManagerTest, EnumeratesNothingBeforeInit)
{
    IEnumSource* out = nullptr;
    EXPECT_EQ(m_manager->EnumSources(&out), kFxErrNotInitialised);
    EXPECT_EQ(out, nullptr);
    int elsewhere = 0;
    out = reinterpret_cast<IEnumSource*>(&elsewhere);
    EXPECT_EQ(m_manager->EnumSources(&out), kFxErrNotInitialised);
}

TEST_F(CAppManagerTest, RefusesAnEnumeratorThatIsSet)
{
    int elsewhere = 0;
    auto* out = reinterpret_cast<IEnumSource*>(&elsewhere);
    EXPECT_EQ(m_manager->Init(), kFxOk);
    EXPECT_EQ(m_manager->EnumSources(&out), kFxErrBadRecord);
    EXPECT_EQ(static_cast<void*>(out), &elsewhere);
}

TEST_F(CAppManagerTest, MayBeInitialisedAgain)
{
    EXPECT_EQ(m_manager->Init(), kFxOk);
    EXPECT_EQ(m_manager->Init(), kFxOk);
    IEnumSource* const list = sources();
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->Release(), 0U);
}

TEST_F(CAppManagerTest, OpensTheSourceUnderItsExactNameOnly)
{
    EXPECT_EQ(m_manager->Init(), kFxOk);
    ISource* out = nullptr;
    for (const char* name : {"velmo tevoro nx", "Velmo Tevoro", "Velmo Tevoro NX ", ""})
        EXPECT_EQ(create(name, &out), kFxErrBadRecord) << name;
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(create("Velmo Tevoro NX", &out), kFxOk);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out->Release(), 0U);
}

TEST_F(CAppManagerTest, RefusesNullArgumentsAndASetPointerWhenItOpens)
{
    EXPECT_EQ(m_manager->Init(), kFxOk);
    ISource* out = nullptr;
    EXPECT_EQ(m_manager->CreateSource(nullptr, &out), kFxErrBadRecord);
    EXPECT_EQ(create("Velmo Tevoro NX", nullptr), kFxErrBadRecord);
    int elsewhere = 0;
    out = reinterpret_cast<ISource*>(&elsewhere);
    EXPECT_EQ(create("Velmo Tevoro NX", &out), kFxErrBadRecord);
    EXPECT_EQ(static_cast<void*>(out), &elsewhere);
}

TEST_F(CAppManagerTest, LetsASourceLiveOnWithoutIt)
{
    IFxPlugin* const plugin = test::loadPlugin();
    void* face = nullptr;
    plugin->QueryInterface(2, &face);
    auto* const manager = static_cast<ISourceManager*>(face);
    manager->Init();
    ISource* source = nullptr;
    EXPECT_EQ(manager->CreateSource(units("Velmo Tevoro NX").c_str(), &source), kFxOk);
    manager->Release();
    EXPECT_EQ(plugin->Release(), 0U);
    EXPECT_EQ(source->ShowUI(nullptr, nullptr), kFxErrNotSupported);
    EXPECT_EQ(source->Release(), 0U);
}

TEST_F(CAppManagerTest, RefusesWhatItDoesNotOffer)
{
    EXPECT_EQ(m_manager->RegisterEventCallbackFunc(nullptr, {}), kFxErrNotImplemented);
    EXPECT_EQ(m_manager->UnRegisterEventCallbackFunc(nullptr), kFxErrNotImplemented);
    EXPECT_EQ(m_manager->SetSupportedFileFormats(nullptr), kFxErrNotImplemented);
    EXPECT_EQ(m_manager->SetApplicationName(units("x").c_str()), kFxErrNotImplemented);
}

TEST_F(CAppManagerTest, TellsHowItsSourcesBehave)
{
    auto* const abilities = static_cast<ISourceManagerCapabilities*>(faceOf(13));
    auto push = static_cast<eSourceManagerCap>(-1);
    auto detection = static_cast<eSourceManagerDetectCap>(-1);
    EXPECT_EQ(abilities->GetPushPullStatus(push), kFxOk);
    EXPECT_EQ(push, 1);
    EXPECT_EQ(abilities->GetSourceDetectionStatus(detection), kFxOk);
    EXPECT_EQ(detection, 0);
    abilities->Release();
}

TEST_F(CAppManagerTest, ListsItsOneSourceByteForByte)
{
    IEnumSource* const list = sources();
    CPropSource record = markedSource(2, 3640);
    EXPECT_EQ(list->Next(&record), kFxOk);
    EXPECT_EQ(record.tag, 2U);
    EXPECT_EQ(record.size, 3640U);
    EXPECT_TRUE(isTextThenZeros(record.name, 260, "Velmo Tevoro NX"));
    EXPECT_TRUE(isTextThenZeros(record.application, 260, "Velmo Tevoro NX"));
    EXPECT_TRUE(isTextThenZeros(record.longName, 1024, "Velmo Tevoro NX"));
    EXPECT_TRUE(isTextThenZeros(record.description, 260, "Velmo Tevoro NX"));
    EXPECT_EQ(record.kind, 8U);
    EXPECT_EQ(record.flags, 0U);
    unsigned char identifier[16] = {};
    m_plugin->GetPluginUID(identifier);
    EXPECT_EQ(std::memcmp(record.identifier, identifier, 16), 0);
    EXPECT_EQ(list->Release(), 0U);
}

TEST_F(CAppManagerTest, EndsTheListBehindItsOneSourceAndBeginsAgain)
{
    IEnumSource* const list = sources();
    CPropSource record = markedSource(2, 3640);
    EXPECT_EQ(list->Next(&record), kFxOk);
    CPropSource untouched = markedSource(2, 3640);
    EXPECT_EQ(list->Next(&untouched), kFxEndOfList);
    const CPropSource marked = markedSource(2, 3640);
    EXPECT_EQ(std::memcmp(&untouched, &marked, sizeof marked), 0);
    EXPECT_EQ(list->Reset(), kFxOk);
    EXPECT_EQ(list->Next(&record), kFxOk);
    long count = -1;
    EXPECT_EQ(list->GetCount(&count), kFxOk);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(list->GetCount(nullptr), kFxErrBadRecord);
    EXPECT_EQ(list->Release(), 0U);
}

TEST_F(CAppManagerTest, LeavesRecordsOfAnotherTagOrSizeAlone)
{
    IEnumSource* const list = sources();
    EXPECT_EQ(list->Next(nullptr), kFxErrBadRecord);
    for (const auto& [tag, size] : {std::pair{2U, 3639U}, {2U, 3641U}, {3U, 3640U}, {2U, 0U}}) {
        CPropSource record = markedSource(tag, size);
        EXPECT_EQ(list->Next(&record), kFxErrBadRecord) << tag << ", " << size;
        const CPropSource marked = markedSource(tag, size);
        EXPECT_EQ(std::memcmp(&record, &marked, sizeof marked), 0);
    }
    EXPECT_EQ(list->Release(), 0U);
}

TEST_F(CAppManagerTest, ListAnswersItsThreeIdsAndNoOther)
{
    IEnumSource* const list = sources();
    for (long id = -2; id <= 70; ++id) {
        void* out = &id;
        const bool isKnown = id == 0 || id == 8 || id == 10;
        EXPECT_EQ(list->QueryInterface(id, &out), isKnown ? 1U : 0U) << id;
        EXPECT_EQ(out, isKnown ? static_cast<void*>(list) : nullptr) << id;
        if (isKnown) {
            EXPECT_EQ(list->Release(), 1U) << id;
        }
    }
    EXPECT_EQ(list->AddRef(), 2U);
    EXPECT_EQ(list->Release(), 1U);
    EXPECT_EQ(list->Release(), 0U);
}
