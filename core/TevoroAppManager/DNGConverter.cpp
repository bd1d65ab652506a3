#include "TevoroAppManager/DNGConverter.h"

#include "TevoroAppManager/FxNotice.h"
#include "TevoroAppManager/RawConversion.h"
#include "TevoroAppManager/TargetFolder.h"
#include "platform/common/services/PtModule.h"
#include "platform/common/text/PtConstString.h"
#include "strings/PtZString.h"

#include <QFile>
#include <QFileInfo>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

void giveUp(RawConversion& conversion, FxStatusTextCallback error)
{
    tell(error,
        PtZString::getZString(u"$$$/AppSource/CouldNotConvertDNG=Could not convert to DNG..."_s));
    conversion.restore();
}

} // namespace

// A library may be there and still say that it cannot convert: its entry is not even looked up
// then.
void DNGConverter::bindLibrary()
{
    static const Pt::ConstString kLibrary("../Frameworks/ZQPluginSupport.framework");
    const PtModuleRef library = PtLoadLibrary(kLibrary);
    if (!library)
        return;
    const auto canConvert =
        reinterpret_cast<bool (*)()>(PtGetProcAddress(library, "ZQPlugin_CanConvertToDNG"));
    if (canConvert && canConvert()) {
        m_convertToDNG = reinterpret_cast<ConvertToDNGFunction>(
            PtGetProcAddress(library, "ZQPlugin_ConvertToDNG"));
    }
}

// A plain search in the list, as ever: "r2" is found in "cr2", and what the host lists in capitals
// never matches. The comma behind keeps "cr" from being found in it.
bool DNGConverter::isCameraRAWFile(const QString& path) const
{
    const QString suffix = QFileInfo(path).suffix();
    if (suffix.isEmpty())
        return false;
    return (m_rawExtensions + u',').contains(suffix.toLower() + u',', Qt::CaseSensitive);
}

bool DNGConverter::convertToDNG(
    const QString& path, FxStatusTextCallback label, FxStatusTextCallback error)
{
    if (!isCameraRAWFile(path) || QFileInfo(path).suffix().toLower() == u"dng"_s)
        return true;
    unLockFile(path); // a file that came locked from the card would not be moved
    if (!m_convertToDNG) {
        tell(error,
            PtZString::getZString(
                u"$$$/AppSource/NotDNGConverter=Cannot find the DNG converter."_s));
        return false;
    }
    tell(label, PtZString::getZString(u"$$$/AppSource/ConvertingToDNG=Converting to DNG..."_s));
    return convertAside(path, error);
}

// The library works on files set aside, so that a crash in it leaves no half a DNG under a name
// that a user might trust. The flag for the sidecar holds for one conversion, failed or not.
bool DNGConverter::convertAside(const QString& path, FxStatusTextCallback error)
{
    RawConversion conversion(path);
    const bool isAside = conversion.setRawAside();
    if (std::exchange(m_deleteXMP, false))
        conversion.setSidecarAside();
    const bool isConverted = isAside && makeDNG(conversion);
    if (isConverted)
        conversion.dropRaw();
    else
        giveUp(conversion, error);
    conversion.leave();
    return isConverted;
}

bool DNGConverter::makeDNG(RawConversion& conversion) const
{
    return convertToDNGThruRDX(conversion.temporaryRaw(), conversion.temporaryDNG())
        && conversion.placeDNG();
}

// Whatever the library throws is a failure like any other: the raw file must get back.
bool DNGConverter::convertToDNGThruRDX(const QString& source, const QString& destination) const
{
    if (!m_convertToDNG)
        return false;
    try {
        return m_convertToDNG(QFile::encodeName(source).constData(),
                   QFile::encodeName(destination).constData(),
                   m_settings.jpegPreviewSize,
                   m_settings.uncompressed ? 0 : 1,
                   m_settings.linear ? 1 : 0,
                   m_settings.embedRaw ? 1 : 0)
            == 0;
    } catch (...) {
        return false;
    }
}
