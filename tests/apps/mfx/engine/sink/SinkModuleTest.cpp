#include "mfx/engine/sink/SinkModule.h"

#include "TevoroAppManager/contract/sink/ISink.h"
#include "apps/mfx/engine/CardFixture.h"
#include "platform/common/text/PtUnicode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

namespace mfx {
namespace {

constexpr char kPlugin[] = TEVORO_STAGE_HOME "/plugins/TevoroAppManager.so";
constexpr char kNoPlugin[] =
    TEVORO_STAGE_HOME "/Frameworks/preference_xml_parser.framework/preference_xml_parser.so";

std::string refusal(const std::string& path)
{
    try {
        SinkModule module(path);
    } catch (const SystemPartError& error) {
        return error.what();
    }
    return "";
}

TEST(SinkModuleTest, OpensTheOneSink)
{
    const SinkModule module(kPlugin);
    EXPECT_EQ(Pt::toUtf8(module.source().name), "Velmo Tevoro NX");
    EXPECT_TRUE(module.query<ISink3>(kFxIdSink3));
    EXPECT_THROW(module.query<ISink3>(-4711), SystemPartError);
}

TEST(SinkModuleTest, NamesAFileThatIsNoModule)
{
    const tests::TestCard folder;
    folder.add("garbage.so", "no module");
    for (const std::string name : {"missing.so", "garbage.so"}) {
        EXPECT_THAT(refusal(folder.path(name)), HasSubstr(folder.path(name)));
        EXPECT_THAT(refusal(folder.path(name)), HasSubstr("install mfx again"));
    }
}

TEST(SinkModuleTest, RefusesAModuleThatIsNoPlugin)
{
    EXPECT_THAT(refusal(kNoPlugin), HasSubstr("is no plug-in"));
}

} // namespace
} // namespace mfx
