// The host's interfaces as the plug-in calls them: objects that are tables of functions and no
// classes, so that the place of each operation is written down here and nowhere else.

#include "TevoroAppManager/contract/IUIOrderingOptionsEnum.h"
#include "core/TevoroAppManager/support/SinkFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

namespace {

using Text = const unsigned short*;

std::vector<std::string> gCalls;
bool gIsChecked = false;

struct Object {
    void* const* table;
};

template <typename Function>
void* entry(Function* function)
{
    return reinterpret_cast<void*>(function);
}

std::uint32_t note(const std::string& call)
{
    gCalls.push_back(call);
    return 0;
}

std::uint32_t queryInterface(Object*, long, void** out)
{
    *out = nullptr;
    return note("QueryInterface");
}

std::uint32_t addRef(Object*)
{
    return note("AddRef");
}

std::uint32_t release(Object*)
{
    return note("Release");
}

// A place that the plug-in must never call.
std::uint32_t neverCalled(Object*)
{
    return note("a place that nobody calls");
}

std::uint32_t setEnabled(Object*, bool value)
{
    return note("SetEnabled " + std::to_string(value));
}

std::uint32_t applyMode1(Object*)
{
    return note("ApplyMode1");
}

std::uint32_t applyMode2(Object*)
{
    return note("ApplyMode2");
}

int controlWidth(Object*)
{
    note("GetControlWidth");
    return 1000;
}

int controlHeight(Object*)
{
    note("GetControlHeight");
    return 20;
}

std::uint32_t setModeValue(Object*, int value)
{
    return note("SetModeValue " + std::to_string(value));
}

int fontSize(Object*)
{
    note("GetFontSize");
    return 9;
}

const char* fontFamily(Object*)
{
    note("GetFontFamily");
    return "DejaVu Sans";
}

bool isFontBold(Object*)
{
    note("IsFontBold");
    return true;
}

bool isFontItalic(Object*)
{
    note("IsFontItalic");
    return true;
}

std::uint32_t setCallback(Object*, void* callback)
{
    return note(callback ? "SetCallback" : "SetCallback null");
}

std::uint32_t setToolTip(Object*, const char* text)
{
    return note(std::string("SetToolTip ") + text);
}

std::uint32_t setText(Object*, const char* text)
{
    return note(std::string("SetText ") + text);
}

bool isChecked(Object*)
{
    note("IsChecked");
    return gIsChecked;
}

std::uint32_t setChecked(Object*, bool value)
{
    return note("SetChecked " + std::to_string(value));
}

void* const kControlTable[] = {entry(queryInterface),
    entry(addRef),
    entry(release),
    entry(setEnabled),
    entry(applyMode1),
    entry(applyMode2),
    entry(controlWidth),
    entry(controlHeight),
    entry(setModeValue),
    entry(fontSize),
    entry(fontFamily),
    entry(isFontBold),
    entry(isFontItalic),
    entry(setCallback),
    entry(setToolTip),
    entry(setText),
    entry(isChecked),
    entry(setChecked)};
Object gControl{kControlTable};

std::string gOnlyControl; // the one widget that the panel has

std::uint32_t findControl(Object*, const char* name, void** out)
{
    *out = name == gOnlyControl ? &gControl : nullptr;
    return 0;
}

void* const kHandlerTable[] = {
    entry(queryInterface), entry(addRef), entry(release), entry(findControl)};
Object gHandler{kHandlerTable};

int gItemsLeft = 0;

std::uint32_t getCount(Object*, long* out)
{
    *out = 1;
    return note("GetCount");
}

std::uint32_t nextItem(Object*, CPropSinkMediaItem* record)
{
    if (gItemsLeft-- == 0)
        return note("Next: end") + 1;
    record->itemKey = 44;
    test::put(record->folder, "/t");
    return note("Next");
}

std::uint32_t resetItems(Object*)
{
    gItemsLeft = 1;
    return note("Reset");
}

std::uint32_t getSource(Object*, CPropSource*)
{
    return note("GetSource");
}

void* const kItemsTable[] = {entry(queryInterface),
    entry(addRef),
    entry(release),
    entry(getCount),
    entry(nextItem),
    entry(resetItems),
    entry(neverCalled),
    entry(neverCalled),
    entry(getSource)};
Object gItems{kItemsTable};

std::uint32_t displayMessage(Object*, Text, Text, int* style, void*, void*)
{
    return note("DisplayMessage " + std::to_string(*style));
}

std::uint32_t displayQuestion(
    Object*, Text, Text, int* style, int* answer, void*, void*, void*, void*, void*)
{
    *answer = 0;
    return note("DisplayQuestion " + std::to_string(*style));
}

void* const kDisplayTable[] = {entry(queryInterface),
    entry(addRef),
    entry(release),
    entry(displayMessage),
    entry(displayQuestion)};
Object gDisplay{kDisplayTable};

std::uint32_t beginProgress(Object*, long count, bool*, Text, Text)
{
    return note("BeginProgress " + std::to_string(count));
}

std::uint32_t stepProgress(Object*)
{
    return note("StepProgress");
}

std::uint32_t finishProgress(Object*, Text, Text, bool success)
{
    return note("FinishProgress " + std::to_string(success));
}

void* const kProgressTable[] = {entry(queryInterface),
    entry(addRef),
    entry(release),
    entry(beginProgress),
    entry(stepProgress),
    entry(finishProgress)};
Object gProgress{kProgressTable};

std::uint32_t nextControl(Object*, CPropUIControlOrder* record)
{
    if (gItemsLeft-- == 0)
        return note("Next: end") + 1;
    record->controlId = 2;
    return note("Next");
}

std::uint32_t updateControl(Object*, CPropUIControlOrder* record)
{
    return note("Update " + std::to_string(record->position));
}

void* const kOrderTable[] = {entry(queryInterface),
    entry(addRef),
    entry(release),
    entry(nextControl),
    entry(resetItems),
    entry(updateControl)};
Object gOrder{kOrderTable};

template <typename Interface>
Interface* as(Object& object)
{
    return reinterpret_cast<Interface*>(&object);
}

bool noteDeletion(long& key)
{
    note("delete " + std::to_string(key));
    key = 0;
    return true;
}

class HostTablesTest : public test::SinkFixture {
protected:
    void SetUp() override
    {
        gIsChecked = false;
        gCalls.clear();
        tree.environment.set("HOME", "/h");
        open();
    }
    ISinkUICapabilities& capabilities() { return face<ISinkUICapabilities>(25); }

    void bindOnly(const char* control)
    {
        gOnlyControl = control;
        EXPECT_EQ(capabilities().SetClientUIHandler(as<IClientUIHandler>(gHandler)), kFxOk);
    }
    static std::vector<std::string> calls() { return std::exchange(gCalls, {}); }
};

} // namespace

TEST_F(HostTablesTest, Label)
{
    bindOnly("secondary_backup_label");
    EXPECT_THAT(calls(),
        testing::UnorderedElementsAre("SetCallback",
            "GetFontFamily",
            "GetFontSize",
            "IsFontBold",
            "IsFontItalic",
            "GetControlWidth",
            "GetControlHeight",
            "SetText /h/Pictures",
            "SetToolTip /h/Pictures"));
    close();
    EXPECT_THAT(calls(), ElementsAre("Release"));
}

TEST_F(HostTablesTest, CheckBoxAndButtons)
{
    bindOnly("savecopies_checkbox");
    EXPECT_THAT(calls(), ElementsAre("SetCallback", "SetChecked 0", "IsChecked"));
    gIsChecked = true;
    bindOnly("settings_button");
    EXPECT_EQ(face<IUICallback>(26).handleUIEvent("dng_checkbox"), kFxOk);
    EXPECT_THAT(calls(), ElementsAre("SetCallback", "SetEnabled 0"));
}

TEST_F(HostTablesTest, LabelOfModes)
{
    bindOnly("delete_options_label_minimum_ui");
    int value = 5;
    capabilities().HandleUIModeChange(nullptr, ISinkUICapabilities::kFxUIMode1, value);
    capabilities().HandleUIModeChange(nullptr, ISinkUICapabilities::kFxUIMode2, value);
    EXPECT_THAT(
        calls(), ElementsAre("SetModeValue 5", "ApplyMode1", "SetModeValue 5", "ApplyMode2"));
}

TEST_F(HostTablesTest, ControlOrder)
{
    EXPECT_EQ(capabilities().GetUIControlOrder(*as<IUIOrderingOptionsEnum>(gOrder)), kFxOk);
    EXPECT_THAT(calls(), ElementsAre("Reset", "Next", "Update 1", "Next: end"));
}

TEST_F(HostTablesTest, ItemsMessagesAndProgress)
{
    bindOnly("deletefiles_checkbox");
    gIsChecked = true;
    face<ISinkProgressDialog>(64).SetProgressHandler(as<IProgressHandler>(gProgress));
    calls();
    const auto push = [this] {
        unsigned long count = 0;
        return face<ISink3>(37).PushAllMediaItems(*as<ISinkEnumMediaItem>(gItems),
            *as<IDisplayMsgHandler>(gDisplay),
            count,
            nullptr,
            noteDeletion);
    };
    EXPECT_EQ(push(), kFxOk);
    EXPECT_THAT(calls(),
        ElementsAre("GetSource",
            "GetCount",
            "IsChecked",
            "Reset",
            "Next",
            "Next: end",
            "DisplayQuestion 28",
            "GetCount",
            "BeginProgress 1",
            "Reset",
            "Next",
            "delete 44",
            "StepProgress",
            "Next: end",
            "FinishProgress 1"));
    gIsChecked = false;
    EXPECT_EQ(push(), kFxOk);
    EXPECT_EQ(gCalls.back(), "DisplayMessage 17");
    gCalls.clear();
    close();
    EXPECT_THAT(calls(), ElementsAre("Release")); // the progress handler's
}
