#include "core/TevoroAppManager/support/SinkFixture.h"

#include <cstring>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using test::units;

namespace {

constexpr char kImages[] =
    "jpg,jpe,jpeg,dng,pdf,dnf,cr2,vst,icb,tga,vda,rle,wbm,wbmp,erf,mos,pcx,pef,x3f,srf,dib,pxr,"
    "jpf,jpx,j2c,jp2,jpc,pdd,cam,crw,dcr,fpx,gif,bmp,mrw,nef,orf,png,psd,raf,raw,tif,tiff,ota,"
    "j2k,kdc,sr2,mef,mfw";
constexpr char kSounds[] = "aaf,aac,ac3,aif,aiff,mp3,wav,wma,mid,midi,amr,m4a,mp2,mpa,m2a";
constexpr char kFilms[] =
    "asx,tp,ts,asf,mod,vob,3gp,3gpp,3g2,avi,mov,mp4,mpeg,mpg,mpe,wmv,m2v,mpv,m2p,m2t,m4v,dv,"
    "dvr-ms,mts,m2ts,flv,flm,swf,m1v,avc";

class SupportedFormatsTest : public test::SinkFixture {
protected:
    void SetUp() override { open(); }

    IFileFormat* list()
    {
        IFileFormat* out = nullptr;
        EXPECT_EQ(face<ISinkCapabilities2>(49).GetSupportedFileFormatList(out), kFxOk);
        return out;
    }
    void setExtensions(const char* text)
    {
        test::FxText extensions = units(text);
        face<ISinkCapabilities2>(49).SetZQPluginSupportedExtensions(extensions.data());
    }
};

// All extensions of the list, "," between those of one kind and ";" between kinds.
std::string contents(IFileFormat& list)
{
    CPropFileFormat record;
    record.tag = 4;
    record.size = 28;
    std::string text;
    std::uint32_t kind = 1;
    list.Reset();
    while (list.GetFormat(record) == kFxOk) {
        if (!text.empty())
            text += record.mediaMask == kind ? ',' : ';';
        kind = record.mediaMask;
        text += test::utf8(record.extension);
    }
    return text;
}

std::string builtIn(const std::string& added = {})
{
    return std::string(kImages) + added + ";" + kSounds + ";" + kFilms + ";*";
}

} // namespace

TEST_F(SupportedFormatsTest, HoldsTheBuiltInExtensionsInTheirOrder)
{
    IFileFormat* const formats = list();
    EXPECT_EQ(contents(*formats), builtIn());
    unsigned long count = 0;
    EXPECT_EQ(formats->GetFormatCount(count), kFxOk);
    EXPECT_EQ(count, 49U + 15 + 30 + 1);
    formats->Release();
}

TEST_F(SupportedFormatsTest, MarksEachKindWithItsBit)
{
    IFileFormat* const formats = list();
    CPropFileFormat record;
    record.tag = 4;
    record.size = 28;
    std::vector<std::uint32_t> kinds;
    for (formats->Reset(); formats->GetFormat(record) == kFxOk;)
        if (kinds.empty() || kinds.back() != record.mediaMask)
            kinds.push_back(record.mediaMask);
    EXPECT_THAT(kinds, testing::ElementsAre(1, 2, 4, 8));
    formats->Release();
}

TEST_F(SupportedFormatsTest, TakesTheHostsExtensionsThatItDoesNotHoldYet)
{
    setExtensions("xyz,jpg,,abc");
    IFileFormat* const formats = list();
    EXPECT_EQ(contents(*formats), builtIn(",xyz,abc"));
    formats->Release();
}

TEST_F(SupportedFormatsTest, DropsAnExtensionThatIsPartOfAnother)
{
    setExtensions("3f,JPG,xyz,yz,g,j");
    IFileFormat* const formats = list();
    // "JPG" is not contained letter by letter, but is the same extension as "jpg".
    EXPECT_EQ(contents(*formats), builtIn(",xyz"));
    formats->Release();
}

TEST_F(SupportedFormatsTest, EndsALongExtensionInsideItsField)
{
    setExtensions("abcdefgh,1234567");
    IFileFormat* const formats = list();
    EXPECT_EQ(contents(*formats), builtIn(",abcdefg,1234567"));
    formats->Release();
}

TEST_F(SupportedFormatsTest, TakesManyExtensions)
{
    std::string many;
    std::string expected;
    for (int i = 1000; i < 3000; ++i)
        many += (many.empty() ? "z" : ",z") + std::to_string(i);
    setExtensions(many.c_str());
    IFileFormat* const formats = list();
    EXPECT_EQ(contents(*formats), builtIn("," + many));
    formats->Release();
}

TEST_F(SupportedFormatsTest, IsBuiltOnceAndIsTheSameObjectAfterwards)
{
    IFileFormat* const first = list();
    setExtensions("xyz");
    IFileFormat* const second = list();
    EXPECT_EQ(first, second);
    EXPECT_EQ(contents(*second), builtIn());
    EXPECT_EQ(second->Release(), 2U);
    EXPECT_EQ(first->Release(), 1U); // the sink's own
}

TEST_F(SupportedFormatsTest, OutlivesTheSinkWhileTheHostHoldsIt)
{
    IFileFormat* const formats = list();
    close();
    EXPECT_EQ(contents(*formats), builtIn());
    EXPECT_EQ(formats->Release(), 0U);
}
