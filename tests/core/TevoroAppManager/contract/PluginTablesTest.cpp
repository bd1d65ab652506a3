// Every operation of every interface that the plug-in implements, called by its place in the table.

#include "core/TevoroAppManager/support/SinkFixture.h"
#include "core/TevoroAppManager/support/SlotCall.h"

#include <gtest/gtest.h>

using test::call;
using test::kSourceName;
using test::units;

namespace {

using Status = std::uint32_t;
using Text = const unsigned short*;
using Buffer = unsigned short*;
using PerItem = bool (*)(long&);
using StatusText = unsigned long (*)(const unsigned short*, long);

constexpr Status kNotSupported = 0xc0000003;
constexpr Status kNotImplemented = 0xc0000004;

class PluginTablesTest : public test::SinkFixture {
protected:
    void SetUp() override { open(); }

    // The three places that every table begins with.
    void checkBase(void* object, long id)
    {
        void* out = nullptr;
        EXPECT_EQ((call<std::uint32_t, long, void**>(object, 0, id, &out)), 1U);
        EXPECT_EQ(out, object) << id;
        const auto count = call<std::uint32_t>(object, 1);
        EXPECT_EQ(call<std::uint32_t>(object, 2), count - 1);
        EXPECT_EQ(call<std::uint32_t>(object, 2), count - 2);
    }
};

std::string textOf(const std::array<unsigned short, 128>& buffer)
{
    return test::utf8(buffer.data());
}

} // namespace

TEST_F(PluginTablesTest, Plugin)
{
    IFxPlugin* const plugin = test::loadPlugin();
    checkBase(plugin, 1);
    std::array<unsigned short, 128> name{};
    call<Status, Buffer, unsigned int>(plugin, 3, name.data(), 128);
    EXPECT_EQ(textOf(name), "Tevoro Application Manager");
    EXPECT_EQ(call<Status>(plugin, 4), 0U);
    unsigned char identifier[16] = {};
    call<Status, unsigned char(*)[16]>(plugin, 5, &identifier);
    EXPECT_EQ(identifier[0], 0xcd);
    EXPECT_EQ(identifier[10], 0x87);
    call<Status>(plugin, 6);
    call<Status>(plugin, 7);
    EXPECT_EQ(call<std::uint32_t>(plugin, 2), 0U);
}

TEST_F(PluginTablesTest, SourceManagerAndItsList)
{
    IFxPlugin* const plugin = test::loadPlugin();
    void* manager = nullptr;
    plugin->QueryInterface(2, &manager);
    checkBase(manager, 0);
    void* list = nullptr;
    EXPECT_EQ((call<Status, void**>(manager, 4, &list)), 0xc000000bU);
    EXPECT_EQ(call<Status>(manager, 3), 0U);
    EXPECT_EQ((call<Status, void**>(manager, 4, &list)), 0U);
    void* source = nullptr;
    EXPECT_EQ((call<Status, Text, void**>(manager, 5, units(kSourceName).c_str(), &source)), 0U);
    EXPECT_EQ((call<Status, void*, std::int32_t>(manager, 6, nullptr, 0)), kNotImplemented);
    EXPECT_EQ((call<Status, void*>(manager, 7, nullptr)), kNotImplemented);
    EXPECT_EQ((call<Status, void*>(manager, 8, nullptr)), kNotImplemented);
    EXPECT_EQ((call<Status, Text>(manager, 9, nullptr)), kNotImplemented);

    checkBase(list, 10);
    long count = 0;
    EXPECT_EQ((call<Status, long*>(list, 3, &count)), 0U);
    EXPECT_EQ(count, 1);
    CPropSource record;
    record.tag = 2;
    record.size = 3640;
    EXPECT_EQ((call<Status, CProp*>(list, 4, &record)), 0U);
    EXPECT_EQ((call<Status, CProp*>(list, 4, &record)), 0xd0000001U);
    EXPECT_EQ(call<Status>(list, 5), 0U);
    EXPECT_EQ((call<Status, CProp*>(list, 4, &record)), 0U);

    EXPECT_EQ(call<std::uint32_t>(source, 2), 0U);
    EXPECT_EQ(call<std::uint32_t>(list, 2), 0U);
    EXPECT_EQ(call<std::uint32_t>(manager, 2), 1U);
    EXPECT_EQ(plugin->Release(), 0U);
}

TEST_F(PluginTablesTest, SourceManagerCapabilities)
{
    IFxPlugin* const plugin = test::loadPlugin();
    void* face = nullptr;
    plugin->QueryInterface(13, &face);
    checkBase(face, 13);
    std::int32_t value = -1;
    EXPECT_EQ((call<Status, std::int32_t*>(face, 3, &value)), 0U);
    EXPECT_EQ(value, 1);
    EXPECT_EQ((call<Status, std::int32_t*>(face, 4, &value)), 0U);
    EXPECT_EQ(value, 0);
    plugin->Release();
    EXPECT_EQ(plugin->Release(), 0U);
}

TEST_F(PluginTablesTest, Source)
{
    void* const face = faceAddress(3);
    checkBase(face, 3);
    unsigned long count = 5;
    EXPECT_EQ(
        (call<Status, std::int32_t, void**, bool>(face, 3, 0, nullptr, false)), kNotSupported);
    EXPECT_EQ((call<Status, std::int32_t, Text, unsigned long*, bool, PerItem>(
                  face, 4, 0, nullptr, &count, false, nullptr)),
        kNotSupported);
    EXPECT_EQ((call<Status, std::int32_t, unsigned long*, PerItem>(face, 5, 0, &count, nullptr)),
        kNotSupported);
    EXPECT_EQ((call<Status, void*, void**>(face, 6, nullptr, nullptr)), kNotSupported);
    EXPECT_EQ(count, 5U);
}

TEST_F(PluginTablesTest, Sink)
{
    void* const face = faceAddress(37);
    checkBase(face, 37);
    test::HostItems items({"/a"});
    test::HostDisplay display(journal);
    unsigned long count = 5;
    EXPECT_EQ((call<Status, void*, unsigned long*, void*, PerItem>(
                  face, 3, &items, &count, nullptr, nullptr)),
        0U);
    EXPECT_EQ((call<Status, void*, void*>(face, 4, nullptr, &items)), kNotSupported);
    EXPECT_EQ(
        (call<Status, Text, Text, PerItem, std::int32_t>(face, 5, nullptr, nullptr, nullptr, 0)),
        kNotSupported);
    EXPECT_TRUE(journal.lines().empty());
    EXPECT_EQ(
        (call<Status, ISinkEnumMediaItem*, IDisplayMsgHandler*, unsigned long*, void*, PerItem>(
            face, 6, &items, &display, &count, nullptr, nullptr)),
        0U);
    EXPECT_EQ(journal.about("message 17").size(), 1U);
    EXPECT_EQ(count, 5U);
}

TEST_F(PluginTablesTest, SinkCapabilities)
{
    void* const face = faceAddress(49);
    checkBase(face, 49);
    void* out = &journal;
    EXPECT_EQ((call<Status, void**>(face, 4, &out)), kNotSupported);
    EXPECT_EQ((call<Status, void**>(face, 5, &out)), kNotSupported);
    EXPECT_EQ(out, &journal);
    long info = -1;
    EXPECT_EQ((call<Status, long*>(face, 6, &info)), 0U);
    EXPECT_EQ(info, 0);
    EXPECT_EQ((call<Status, void**>(face, 7, &out)), 0U);
    EXPECT_EQ(out, faceAddress(23));
    call<std::uint32_t>(out, 2);
    test::FxText extensions = units("xyz");
    EXPECT_EQ((call<Status, Buffer>(face, 8, extensions.data())), 0U);
    EXPECT_EQ((call<Status, Buffer>(face, 9, extensions.data())), 0U);
    bool four = false;
    EXPECT_EQ((call<Status, bool*>(face, 10, &four)), 0U);
    EXPECT_TRUE(four);
    char separator = 'x';
    EXPECT_EQ((call<Status, char*>(face, 11, &separator)), 0U);
    EXPECT_EQ(separator, '\0');
    EXPECT_EQ((call<Status, char*>(face, 12, &separator)), 0U);
    EXPECT_EQ(separator, '_');
    std::array<unsigned short, 128> label{};
    EXPECT_EQ((call<Status, Buffer, int>(face, 13, label.data(), 128)), 0U);
    EXPECT_EQ(textOf(label), "Creating Backup Copy...");

    void* list = nullptr;
    EXPECT_EQ((call<Status, void**>(face, 3, &list)), 0U);
    unsigned long count = 0;
    EXPECT_EQ((call<Status, unsigned long*>(list, 4, &count)), 0U);
    EXPECT_EQ(count, 49U + 1 + 15 + 30 + 1); // with the extension set above
    call<std::uint32_t>(list, 2);
}

TEST_F(PluginTablesTest, FileFormatList)
{
    void* list = nullptr;
    call<Status, void**>(faceAddress(17), 3, &list);
    checkBase(list, 12);
    unsigned long count = 0;
    EXPECT_EQ((call<Status, unsigned long*>(list, 4, &count)), 0U);
    EXPECT_EQ(count, 95U);
    CPropFileFormat record;
    record.tag = 4;
    record.size = 28;
    EXPECT_EQ((call<Status, CPropFileFormat*>(list, 7, &record)), 0U);
    EXPECT_EQ(test::utf8(record.extension), "jpg");
    EXPECT_EQ((call<Status, CPropFileFormat*>(list, 6, &record)), 0xc0000002U);
    EXPECT_EQ(call<Status>(list, 3), 0U);
    CPropFileFormat* records = &record;
    unsigned long moved = 9;
    EXPECT_EQ((call<Status, CPropFileFormat**, unsigned long, unsigned long*>(
                  list, 9, &records, 1, &moved)),
        0U);
    EXPECT_EQ(moved, 1U);
    EXPECT_EQ((call<Status, CPropFileFormat**, unsigned long, unsigned long*>(
                  list, 8, &records, 1, &moved)),
        0U);
    EXPECT_EQ(moved, 0U);
    EXPECT_EQ(call<Status>(list, 5), 0U);
    EXPECT_EQ((call<Status, unsigned long*>(list, 4, &count)), 0U);
    EXPECT_EQ(count, 0U);
    call<std::uint32_t>(list, 2);
}

TEST_F(PluginTablesTest, UserInterface)
{
    void* const face = faceAddress(25);
    checkBase(face, 25);
    std::array<unsigned short, 128> text{};
    EXPECT_EQ((call<Status, Buffer, int>(face, 3, text.data(), 128)), 0U);
    EXPECT_EQ(textOf(text), "../shared_assets/locales/en_us/Tevoro_custom_options.ui");
    EXPECT_EQ((call<Status, Buffer, int>(face, 4, text.data(), 128)), 0U);
    EXPECT_EQ(textOf(text), "Advanced Options");
    EXPECT_EQ((call<Status, IClientUIHandler*>(face, 6, &panel)), 0U);
    EXPECT_EQ(journal.about("FindControl").size(), 7U);
    EXPECT_EQ((call<Status, Buffer, int>(face, 7, text.data(), 128)), 0U);
    EXPECT_EQ(textOf(text), "Open to view advanced options");
    int value = 3;
    journal.clear();
    EXPECT_EQ((call<Status, void*, std::int32_t, int*>(face, 8, nullptr, 1, &value)), 0U);
    EXPECT_EQ(journal.lines().back(), "delete_options_label_minimum_ui.ApplyMode1");
}

TEST_F(PluginTablesTest, CallbackOfWidgets)
{
    openWithPanel();
    void* const face = faceAddress(26);
    checkBase(face, 26);
    panel.check("dng_checkbox");
    EXPECT_EQ((call<Status, const char*>(face, 3, "dng_checkbox")), 0U);
    EXPECT_EQ(journal.lines().back(), "settings_button.SetEnabled 1");
}

TEST_F(PluginTablesTest, AdvancedCapabilities)
{
    void* const face = faceAddress(27);
    checkBase(face, 27);
    long value = 0;
    EXPECT_EQ((call<Status, long*>(face, 3, &value)), 0U);
    EXPECT_EQ(value, 14);
}

TEST_F(PluginTablesTest, LogCallbacks)
{
    void* const face = faceAddress(32);
    checkBase(face, 32);
    long value = 7;
    void* out = &value;
    EXPECT_EQ(
        (call<Status, Buffer, unsigned int, long*>(face, 3, nullptr, 0, &value)), kNotImplemented);
    EXPECT_EQ((call<Status, CPropSource*, void**>(face, 4, nullptr, &out)), kNotImplemented);
    EXPECT_EQ((call<Status, CPropSinkMediaItem*, void**>(face, 5, nullptr, &out)), kNotImplemented);
    EXPECT_EQ((call<Status, void**>(face, 6, &out)), kNotImplemented);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(out, &value);
}

TEST_F(PluginTablesTest, UtilHandler)
{
    void* const face = faceAddress(33);
    checkBase(face, 33);
    CPropAppPreferences3 record;
    record.tag = 5;
    record.size = 5808;
    EXPECT_EQ((call<Status, void*>(face, 3, nullptr)), kNotSupported);
    EXPECT_EQ((call<Status, CProp*>(face, 4, &record)), 0U);
    record.authorName->Release();
    record.copyright->Release();
    EXPECT_EQ((call<Status, CProp*>(face, 5, &record)), 0xc000000bU);
    EXPECT_EQ(
        (call<Status, std::int32_t, Buffer, unsigned int>(face, 6, 0, nullptr, 0)), kNotSupported);
}

TEST_F(PluginTablesTest, PostProcessing)
{
    openWithPanel();
    void* const face = faceAddress(66);
    checkBase(face, 66);
    panel.check("savecopies_checkbox");
    panel.check("dng_checkbox");
    using Hook = Status(void*,
        CPropSinkMediaItem*,
        StatusText,
        StatusText,
        StatusText,
        PerItem,
        IDisplayMsgHandler*);
    EXPECT_EQ(test::slot<Hook>(face, 3)(face, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
        0xc0000002U);
    EXPECT_EQ(test::slot<Hook>(face, 4)(face, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
        0x40000001U);
    EXPECT_EQ((call<Status, bool>(face, 5, true)), 0U);
}

TEST_F(PluginTablesTest, SinkManager)
{
    void* const face = faceAddress(36);
    checkBase(face, 36);
    std::array<unsigned short, 128> name{};
    EXPECT_EQ((call<Status, Buffer, unsigned int>(face, 3, name.data(), 128)), 0U);
    EXPECT_EQ(textOf(name), "Tevoro");
    EXPECT_EQ((call<Status, Buffer, unsigned int>(face, 4, nullptr, 0)), 0xc0000002U);
    EXPECT_EQ((call<Status, void*>(face, 5, &name)), 0U);
    unsigned int running = 9;
    void* handle = &name;
    EXPECT_EQ((call<Status, unsigned int*, void**>(face, 6, &running, &handle)), 0U);
    EXPECT_EQ(running, 0U);
    EXPECT_EQ(handle, &name);
    EXPECT_EQ((call<Status, void*, unsigned int, Buffer>(face, 7, nullptr, 0, nullptr)),
        0xc0000002U); // nothing runs and nothing is installed
}

TEST_F(PluginTablesTest, ProgressDialog)
{
    void* const face = faceAddress(64);
    checkBase(face, 64);
    test::HostProgress progress(journal);
    EXPECT_EQ((call<Status, IProgressHandler*>(face, 3, &progress)), 0U);
    EXPECT_EQ(progress.references, 1);
    close();
    EXPECT_EQ(progress.references, 0);
}
