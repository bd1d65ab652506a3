#include "TevoroAppManager/SupportedFormats.h"

#include "TevoroAppManager/FxText.h"
#include "TevoroAppManager/contract/FxEnums.h"
#include "platform/common/text/PtUcs.h"

#include <QStringList>

#include <new>

namespace {

// "jpeg" stands twice on purpose: SetFormat refuses the second, which counts for nothing.
constexpr char16_t kImageExtensions[] =
    u"jpg,jpe,jpeg,dng,pdf,dnf,cr2,vst,icb,tga,vda,rle,wbm,wbmp,erf,mos,pcx,pef,x3f,srf,dib,pxr,"
    u"jpf,jpx,j2c,jp2,jpc,pdd,cam,crw,dcr,fpx,gif,jpeg,bmp,mrw,nef,orf,png,psd,raf,raw,tif,tiff,"
    u"ota,j2k,kdc,sr2,mef,mfw";
constexpr char16_t kAudioExtensions[] =
    u"aaf,aac,ac3,aif,aiff,mp3,wav,wma,mid,midi,amr,m4a,mp2,mpa,m2a";
constexpr char16_t kVideoExtensions[] =
    u"asx,tp,ts,asf,mod,vob,3gp,3gpp,3g2,avi,mov,mp4,mpeg,mpg,mpe,wmv,m2v,mpv,m2p,m2t,m4v,dv,"
    u"dvr-ms,mts,m2ts,flv,flm,swf,m1v,avc";
constexpr char16_t kAnyExtension[] = u"*";

// A part counts as there when it is found anywhere in the list, inside a longer extension too: "jp"
// is never added. An empty part is always found.
QString extendedImageList(const QString& zqExtensions)
{
    QString list = QString::fromUtf16(kImageExtensions);
    for (const QString& part : zqExtensions.split(u',', Qt::KeepEmptyParts, Qt::CaseSensitive))
        if (!list.contains(part, Qt::CaseSensitive))
            list += u',' + part;
    return list;
}

void addExtensions(CMOXFileFormat& formats, const QString& extensions, std::uint32_t mask)
{
    CPropFileFormat record;
    record.tag = kFxTagFileFormat;
    record.size = kFxSizeFileFormat;
    record.mediaMask = mask;
    // The answer of SetFormat is passed over: a repeat is refused, and the list is right without
    // it.
    for (const QString& extension : extensions.split(u',')) {
        ptucsncpy(record.extension, fxUnits(extension), std::size(record.extension) - 1);
        record.extension[std::size(record.extension) - 1] = 0;
        formats.SetFormat(record);
    }
}

} // namespace

// The order is part of the answer: GetFormat walks the records in it, and ends with "*".
FxRef<CMOXFileFormat> makeSupportedFormats(const QString& zqExtensions)
{
    auto formats = FxRef<CMOXFileFormat>::share(new (std::nothrow) CMOXFileFormat);
    if (!formats)
        return formats;
    addExtensions(*formats, extendedImageList(zqExtensions), kFxMediaImage);
    addExtensions(*formats, QString::fromUtf16(kAudioExtensions), kFxMediaAudio);
    addExtensions(*formats, QString::fromUtf16(kVideoExtensions), kFxMediaVideo);
    addExtensions(*formats, QString::fromUtf16(kAnyExtension), kFxMediaAnything);
    return formats;
}
