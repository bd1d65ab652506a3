// One conversion of a raw file to DNG: where the files lie while the library works, and how they
// get back when it fails. The raw file and, where that is asked for, its sidecar are set aside in
// the folder ".mfxdownload" beside them; nothing is ever moved over another file.
//
// Steps in the order of the operations. A process that ends in between leaves the raw file in
// ".mfxdownload", where the host's next run finds it. One thread.
#pragma once

#include <QString>

class RawConversion {
public:
    // `path` is the saved raw file.
    explicit RawConversion(const QString& path);

    // Makes the temporary folder, clears what an earlier conversion of the same name left there,
    // and sets the raw file aside. False when it could not be moved.
    bool setRawAside();

    // Sets the sidecar aside, if there is one.
    void setSidecarAside();

    // What the library reads, and what it writes.
    const QString& temporaryRaw() const { return m_temporaryRaw; }
    const QString& temporaryDNG() const { return m_temporaryDNG; }

    // Flushes the DNG to the disk and gives it its name: that of the raw file with the suffix
    // "dng", or the first free one with "_1", "_2" and so on behind the base.
    bool placeDNG();

    // The DNG stands: removes what was set aside.
    void dropRaw();

    // Puts back what was set aside.
    void restore();

    // Removes the temporary folder if it is empty.
    void leave();

private:
    QString freeDNGPath() const;

    QString m_folder;
    QString m_base;
    QString m_raw;
    QString m_sidecar;
    QString m_temporaryFolder;
    QString m_temporaryRaw;
    QString m_temporarySidecar;
    QString m_temporaryDNG;
};
