// The host's side of the options panel: widgets that keep their state and tell the journal.
#pragma once

#include "TevoroAppManager/contract/IClientUIHandler.h"
#include "TevoroAppManager/contract/IUICallback.h"
#include "core/TevoroAppManager/support/Journal.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace test {

class HostControl final : public IClientUIControl {
public:
    HostControl(std::string name, Journal& journal)
        : m_name(std::move(name))
        , m_journal(journal)
    {
    }

    std::uint32_t QueryInterface(long, void** out) override
    {
        *out = nullptr;
        return 0;
    }
    std::uint32_t AddRef() override { return static_cast<std::uint32_t>(++references); }
    std::uint32_t Release() override
    {
        m_journal.add(m_name + ".Release");
        if (whenReleased)
            whenReleased();
        return static_cast<std::uint32_t>(--references);
    }
    FxStatus SetEnabled(bool value) override
    {
        enabled = value;
        return tell("SetEnabled " + std::to_string(value));
    }
    FxStatus ApplyMode1() override { return tell("ApplyMode1"); }
    FxStatus ApplyMode2() override { return tell("ApplyMode2"); }
    int GetControlWidth() override { return width; }
    int GetControlHeight() override { return 20; }
    FxStatus SetModeValue(int value) override
    {
        return tell("SetModeValue " + std::to_string(value));
    }
    int GetFontSize() override { return fontSize; }
    const char* GetFontFamily() override { return family.c_str(); }
    bool IsFontBold() override { return isBold; }
    bool IsFontItalic() override { return isItalic; }
    FxStatus SetCallback(IUICallback* value) override
    {
        callback = value;
        return tell("SetCallback");
    }
    FxStatus SetToolTip(const char* value) override
    {
        toolTip = value;
        return tell("SetToolTip " + toolTip);
    }
    FxStatus SetText(const char* value) override
    {
        text = value;
        return tell("SetText " + text);
    }
    bool IsChecked() override { return checked; }
    FxStatus SetChecked(bool value) override
    {
        checked = value;
        return tell("SetChecked " + std::to_string(value));
    }

    int references = 0; // those that the sink holds
    int width = 400;
    std::string family = "DejaVu Sans";
    int fontSize = 10;
    bool isBold = false;
    bool isItalic = false;
    bool enabled = true;
    bool checked = false;
    std::string text;
    std::string toolTip;
    IUICallback* callback = nullptr;
    std::function<void()> whenReleased;

private:
    FxStatus tell(const std::string& what)
    {
        m_journal.add(m_name + "." + what);
        return kFxOk;
    }

    const std::string m_name;
    Journal& m_journal;
};

class HostPanel final : public IClientUIHandler {
public:
    static constexpr const char* kAll[] = {"settings_button",
        "deletefiles_checkbox",
        "dng_checkbox",
        "launchtevoro_checkbox",
        "savecopies_checkbox",
        "secondary_backup_label",
        "browse_button",
        "delete_options_label_minimum_ui"};

    explicit HostPanel(Journal& journal)
        : m_journal(journal)
    {
        for (const char* name : kAll)
            m_controls[name] = std::make_unique<HostControl>(name, journal);
    }

    HostControl& control(const std::string& name) { return *m_controls.at(name); }
    void remove(const std::string& name) { m_controls.erase(name); }
    void removeAll() { m_controls.clear(); }
    void check(const std::string& name, bool checked = true) { control(name).checked = checked; }

    std::uint32_t QueryInterface(long, void** out) override
    {
        *out = nullptr;
        return 0;
    }
    std::uint32_t AddRef() override { return static_cast<std::uint32_t>(++references); }
    std::uint32_t Release() override { return static_cast<std::uint32_t>(--references); }
    FxStatus FindControl(const char* name, IClientUIControl** out) override
    {
        m_journal.add(std::string("FindControl ") + name);
        const auto found = m_controls.find(name);
        *out = found == m_controls.end() ? nullptr : found->second.get();
        if (*out)
            (*out)->AddRef();
        return kFxOk;
    }

    int references = 0; // 0: the sink takes none

private:
    Journal& m_journal;
    std::map<std::string, std::unique_ptr<HostControl>> m_controls;
};

} // namespace test
