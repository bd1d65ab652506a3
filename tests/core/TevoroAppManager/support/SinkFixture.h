// A host that has loaded the plug-in from the build's stage and opened its source.
#pragma once

#include "TevoroAppManager/contract/CPropAppPreferences.h"
#include "TevoroAppManager/contract/FxInterfaceIds.h"
#include "TevoroAppManager/contract/IFxPlugin.h"
#include "TevoroAppManager/contract/IMFXPostProcessing.h"
#include "TevoroAppManager/contract/ISource.h"
#include "TevoroAppManager/contract/ISourceManager.h"
#include "TevoroAppManager/contract/IUICallback.h"
#include "TevoroAppManager/contract/sink/ISink.h"
#include "TevoroAppManager/contract/sink/ISinkCapabilities.h"
#include "TevoroAppManager/contract/sink/ISinkProgressDialog.h"
#include "TevoroAppManager/contract/sink/ISinkUICapabilities.h"
#include "core/TevoroAppManager/support/FxUnits.h"
#include "core/TevoroAppManager/support/HostDialogs.h"
#include "core/TevoroAppManager/support/HostItems.h"
#include "core/TevoroAppManager/support/HostPanel.h"
#include "core/TevoroAppManager/support/RuntimeTree.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace test {

inline constexpr char kSourceName[] = "Velmo Tevoro NX";

// The plug-in object, with the reference that the module gives its host.
inline IFxPlugin* loadPlugin()
{
    void* const module =
        ::dlopen(TEVORO_STAGE_HOME "/plugins/TevoroAppManager.so", RTLD_NOW | RTLD_LOCAL);
    EXPECT_NE(module, nullptr) << ::dlerror();
    if (!module)
        return nullptr;
    const auto main = reinterpret_cast<FxPluginMainFunction>(::dlsym(module, kFxPluginMainName));
    EXPECT_NE(main, nullptr);
    void* plugin = nullptr;
    EXPECT_EQ(main(&plugin), 1);
    return static_cast<IFxPlugin*>(plugin);
}

class SinkFixture : public testing::Test {
protected:
    SinkFixture() = default;
    ~SinkFixture() override { close(); }

    // Opens the source, as a host does at its start.
    void open()
    {
        IFxPlugin* const plugin = loadPlugin();
        ASSERT_NE(plugin, nullptr);
        void* out = nullptr;
        ASSERT_EQ(plugin->QueryInterface(kFxIdSourceManager, &out), 1U);
        auto* const manager = static_cast<ISourceManager*>(out);
        EXPECT_EQ(manager->Init(), kFxOk);
        EXPECT_EQ(manager->CreateSource(units(kSourceName).c_str(), &m_source), kFxOk);
        manager->Release();
        EXPECT_EQ(plugin->Release(), 0U);
        ASSERT_NE(m_source, nullptr);
    }

    // Opens the source and binds the panel.
    void openWithPanel()
    {
        if (!m_source)
            open();
        bind();
    }
    void bind()
    {
        ASSERT_EQ(face<ISinkUICapabilities>(25).SetClientUIHandler(&panel), kFxOk);
        journal.clear();
    }

    // One face of the sink; valid as long as the sink.
    template <typename Face>
    Face& face(long id)
    {
        void* out = nullptr;
        EXPECT_EQ(m_source->QueryInterface(id, &out), 1U) << id;
        auto* const found = static_cast<Face*>(out);
        found->Release();
        return *found;
    }
    void* faceAddress(long id) { return static_cast<void*>(&face<IFxBase>(id)); }

    // Lets go of the sink, which must have been its last reference.
    void close()
    {
        if (m_source) {
            EXPECT_EQ(std::exchange(m_source, nullptr)->Release(), 0U);
        }
    }

    RuntimeTree tree;
    Journal journal;
    HostPanel panel{journal};
    ISource* m_source = nullptr;
};

} // namespace test
