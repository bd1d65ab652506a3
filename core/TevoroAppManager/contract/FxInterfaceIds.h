// Numbers by which IFxBase::QueryInterface knows the interfaces of the contract.
#pragma once

// The object's default interface: ISourceManager for the manager, ISink3 for the sink, the object
// itself for the lists.
inline constexpr long kFxIdDefault = 0;

inline constexpr long kFxIdPlugin = 1; // IFxPlugin
inline constexpr long kFxIdSourceManager = 2; // ISourceManager
inline constexpr long kFxIdSource = 3; // ISource
inline constexpr long kFxIdListItself = 8; // the list object itself
inline constexpr long kFxIdEnumSource = 10; // IEnumSource
inline constexpr long kFxIdFileFormat = 12; // IFileFormat
inline constexpr long kFxIdSourceManagerCapabilities = 13; // ISourceManagerCapabilities
inline constexpr long kFxIdSink = 14; // ISink
inline constexpr long kFxIdSinkCapabilities = 17; // ISinkCapabilities
inline constexpr long kFxIdSinkMediaHandler = 19; // ISinkMediaHandler
inline constexpr long kFxIdSinkUtilHandler = 23; // ISinkUtilHandler
inline constexpr long kFxIdSinkUICapabilities = 25; // ISinkUICapabilities
inline constexpr long kFxIdUICallback = 26; // IUICallback
inline constexpr long kFxIdSinkAdvancedCapabilities = 27; // ISinkAdvancedCapabilities
inline constexpr long kFxIdLogCallbacks = 32; // IMFXLogCallbacks
inline constexpr long kFxIdSinkUtilHandler2 = 33; // ISinkUtilHandler2
inline constexpr long kFxIdSinkManager = 36; // ISinkManager
inline constexpr long kFxIdSink3 = 37; // ISink3
inline constexpr long kFxIdPostProcessing = 48; // IMFXPostProcessing
inline constexpr long kFxIdSinkCapabilities2 = 49; // ISinkCapabilities2
inline constexpr long kFxIdSinkProgressDialog = 64; // ISinkProgressDialog
inline constexpr long kFxIdPostProcessing2 = 66; // IMFXPostProcessing2
