// The road from a saved camera raw file to a DNG: which files are raw, and the library that
// converts them. The library is loaded at run time and may be absent; without it a raw file stays
// as it is, and its conversion counts as failed.
//
// Owned by the sink. Borrows the settings, which the options panel edits. The library stays loaded
// for the life of the process. For the host's main thread; a conversion blocks it.
#pragma once

#include "TevoroAppManager/contract/FxEnums.h"
#include "TevoroAppManager/panel/PanelDialogs.h"

#include <QString>

// ZQPlugin_ConvertToDNG: source and destination path in the file system's encoding, size of the
// JPEG preview, compressed, linear, embed the raw file. 0 on success.
using ConvertToDNGFunction = int (*)(const char* source,
    const char* destination,
    int jpegPreviewSize,
    int compressed,
    int linear,
    int embedRaw);

class RawConversion;

class DNGConverter {
public:
    explicit DNGConverter(const DNGSettings& settings)
        : m_settings(settings)
    {
    }
    DNGConverter(const DNGConverter&) = delete;
    DNGConverter& operator=(const DNGConverter&) = delete;

    // Loads the library; one that is absent, or says that it cannot convert, is no failure.
    void bindLibrary();
    bool isPresent() const { return m_convertToDNG != nullptr; }

    // The suffixes of raw files, in lower case and separated by commas, as the host lists them.
    void setRawExtensions(const QString& list) { m_rawExtensions = list; }

    // With true, the sidecar of the next file that is really converted goes with the raw file.
    void deleteXMPData(bool flag) { m_deleteXMP = flag; }

    // Puts a DNG in the place of a raw file; on failure all stands as before. True too for a file
    // that needs no conversion. `label` hears of a conversion, `error` why there is none.
    bool convertToDNG(const QString& path, FxStatusTextCallback label, FxStatusTextCallback error);

private:
    bool isCameraRAWFile(const QString& path) const;
    bool convertAside(const QString& path, FxStatusTextCallback error);
    bool makeDNG(RawConversion& conversion) const;
    bool convertToDNGThruRDX(const QString& source, const QString& destination) const;

    const DNGSettings& m_settings;
    ConvertToDNGFunction m_convertToDNG = nullptr;
    QString m_rawExtensions;
    bool m_deleteXMP = false;
};
