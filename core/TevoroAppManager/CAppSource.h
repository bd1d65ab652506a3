// The sink of a download, despite its name: the object that a host works with once it has opened
// the source. Gathers eleven interfaces in one object, behind one plain reference count, and passes
// on what they are asked to what it owns: the options panel, the preferences, the conversion of raw
// files, the completion of a download, and the connection to the message bus.
//
// Every operation is called on the host's main thread, and throws nothing. The client UI handler is
// borrowed; the progress handler's one reference is taken over; control references are owned.
#pragma once

#include "TevoroAppManager/CAppInfo.h"
#include "TevoroAppManager/Completion.h"
#include "TevoroAppManager/DNGConverter.h"
#include "TevoroAppManager/PtTevoroTalk.h"
#include "TevoroAppManager/contract/IMFXLogCallbacks.h"
#include "TevoroAppManager/contract/IMFXPostProcessing.h"
#include "TevoroAppManager/contract/ISource.h"
#include "TevoroAppManager/contract/IUICallback.h"
#include "TevoroAppManager/contract/sink/ISink.h"
#include "TevoroAppManager/contract/sink/ISinkCapabilities.h"
#include "TevoroAppManager/contract/sink/ISinkManager.h"
#include "TevoroAppManager/contract/sink/ISinkProgressDialog.h"
#include "TevoroAppManager/contract/sink/ISinkUICapabilities.h"
#include "TevoroAppManager/contract/sink/ISinkUtilHandler.h"
#include "TevoroAppManager/panel/SinkPanel.h"
#include "TevoroAppManager/preferences/SinkPreferences.h"

#include <QString>

#include <cstdint>

class CMOXFileFormat;

class CAppSource final : public ISource,
                         public ISink3,
                         public ISinkCapabilities2,
                         public ISinkUICapabilities,
                         public IUICallback,
                         public ISinkAdvancedCapabilities,
                         public IMFXLogCallbacks,
                         public ISinkUtilHandler2,
                         public IMFXPostProcessing2,
                         public ISinkManager,
                         public ISinkProgressDialog {
public:
    // Starts the bus, takes the preference store, opens the dictionary and binds the DNG library.
    // A library that is not there is no failure; a bus that does not start throws. The dialogs are
    // borrowed, and so is the clock, which makes the pauses of the hand-off.
    explicit CAppSource(const CAppInfo& info,
        PanelDialogs& dialogs = screenDialogs(),
        Pt::Clock& clock = Pt::systemClock());
    CAppSource(const CAppSource&) = delete;
    CAppSource& operator=(const CAppSource&) = delete;

    std::uint32_t QueryInterface(long id, void** out) override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;

    // ISource
    FxStatus EnumMediaItems(eMediaItemType type, IEnumMediaItem** out, bool flag) override;
    FxStatus AcquireAllMediaItems(eMediaItemType type,
        const unsigned short* folder,
        unsigned long& count,
        bool flag,
        FxPerItemCallback perItem) override;
    FxStatus DeleteAllMediaItems(
        eMediaItemType type, unsigned long& count, FxPerItemCallback perItem) override;
    FxStatus ShowUI(void* window, IEnumMediaItem** out) override;

    // ISink, ISink3
    FxStatus PushAllMediaItems(ISinkEnumMediaItem& items,
        unsigned long& count,
        void* context,
        FxPerItemCallback deleteItem) override;
    FxStatus ShowSinkUI(void* window, ISinkEnumMediaItem& items) override;
    FxStatus PushOneMediaItem(const unsigned short* folder,
        const unsigned short* name,
        FxPerItemCallback perItem,
        eUploadAction action) override;
    FxStatus PushAllMediaItems(ISinkEnumMediaItem& items,
        IDisplayMsgHandler& display,
        unsigned long& count,
        void* context,
        FxPerItemCallback deleteItem) override;

    // ISinkCapabilities, ISinkCapabilities2
    FxStatus GetSupportedFileFormatList(IFileFormat*& out) override;
    FxStatus GetSinkStateInformation(ISinkStateInfo*& out) override;
    FxStatus GetSinkMediaHandler(ISinkMediaHandler*& out) override;
    FxStatus GetSinkSupportInfo(long& out) override;
    FxStatus GetSinkUtilHandler(ISinkUtilHandler*& out) override;
    FxStatus SetRDXSupportedExtensions(unsigned short* text) override;
    FxStatus SetZQPluginSupportedExtensions(unsigned short* text) override;
    FxStatus GetForceFourDigitSequenceNumber(bool& out) override;
    FxStatus GetDateSeperatorChar(char& out) override;
    FxStatus GetSeperatorChar(char& out) override;
    FxStatus GetCopyProgressLongestLabelString(unsigned short* buffer, int capacity) override;

    // ISinkUICapabilities
    FxStatus GetUIFilename(unsigned short* buffer, int capacity) override;
    FxStatus GetCustomUICaption(unsigned short* buffer, int capacity) override;
    FxStatus GetUIControlOrder(IUIOrderingOptionsEnum& order) override;
    FxStatus SetClientUIHandler(IClientUIHandler* handler) override;
    FxStatus GetCustomUISummary(unsigned short* buffer, int capacity) override;
    FxStatus HandleUIModeChange(void* window, eMFXUIMode mode, int& value) override;

    // IUICallback
    FxStatus handleUIEvent(const char* name) override;

    // ISinkAdvancedCapabilities
    FxStatus GetSinkAdvancedCapability(long& out) override;

    // IMFXLogCallbacks
    FxStatus GetLogParams(unsigned short* buffer, unsigned int capacity, long& out) override;
    FxStatus GetDeviceEntryParams(CPropSource* source, IEnumArbitraryData** out) override;
    FxStatus GetMediaEntryParams(CPropSinkMediaItem* item, IEnumArbitraryData** out) override;
    FxStatus GetSessionEndParams(IEnumArbitraryData** out) override;

    // ISinkUtilHandler2
    FxStatus DisplayHelp(void* window) override;
    FxStatus GetPreferences(CProp& record) override;
    FxStatus SetPreferences(CProp& record) override;
    FxStatus GetDisplayString(
        eDisplayStringType type, unsigned short* buffer, unsigned int capacity) override;

    // IMFXPostProcessing2
    FxStatus DoPreProcessing(CPropSinkMediaItem* item,
        FxStatusTextCallback label,
        FxStatusTextCallback detail,
        FxStatusTextCallback error,
        FxPerItemCallback perItem,
        IDisplayMsgHandler* display) override;
    FxStatus DoPostProcessing(CPropSinkMediaItem* item,
        FxStatusTextCallback label,
        FxStatusTextCallback detail,
        FxStatusTextCallback error,
        FxPerItemCallback perItem,
        IDisplayMsgHandler* display) override;
    FxStatus deleteXMPData(bool flag) override;

    // ISinkManager
    FxStatus GetHostAppName(unsigned short* buffer, unsigned int capacity) override;
    FxStatus GetHostAppPath(unsigned short* buffer, unsigned int capacity) override;
    FxStatus SetMFXHandle(void* handle) override;
    FxStatus GetIsHostAppRunning(unsigned int& running, void*& handle) override;
    FxStatus InvokeHostApp(void* window, unsigned int flags, unsigned short* text) override;

    // ISinkProgressDialog
    FxStatus SetProgressHandler(IProgressHandler* handler) override;

    // Returns 0 and does nothing.
    int getMFXLogFolderPath(unsigned short* path);
    bool isDNGConverterPresent() const { return m_converter.isPresent(); }

private:
    ~CAppSource();

    void* interfaceFor(long id);

    std::uint32_t m_references = 0;
    CAppInfo m_info;

    // Each borrows from those above it.
    PtTevoroTalk m_bus;
    SinkPanel m_panel;
    SinkPreferences m_preferences{m_panel};
    DNGConverter m_converter{m_panel.settings()};
    Completion m_completion{m_panel, m_bus};

    CMOXFileFormat* m_formats = nullptr; // owned; built on first demand
    ISinkUtilHandler* m_utilHandler = nullptr; // the last one handed out; not counted
    std::int32_t m_dngFailures = 0; // of the whole session
    void* m_hostHandle = nullptr;
    QString m_zqExtensions;
};
