// Downloads with the conversion library of the product, of raw files that are some.
#pragma once

#include "ZQPluginSupport/original/DngFile.h"
#include "e2e/support/MfxRun.h"
#include "modules/ZQPluginSupport/support/TinyRaw.h"
#include "platform/common/files/RegularFile.h"

#include <optional>

namespace e2e {

class RealConversionTest : public MfxTest {
protected:
    void SetUp() override
    {
        MfxTest::SetUp();
        addLibrary("ZQPluginSupport", ZQ_PLUGIN_SUPPORT);
        addFileOfTree("bin/mfx-dng", contentOf(MFX_DNG));
        fs::permissions(root() / "app/bin/mfx-dng", fs::perms::owner_all);
    }

    // Raw files of sizes and seeds of their own.
    void addRaws(int count)
    {
        for (int i = 0; i < count; ++i)
            addFile("IMG_" + std::to_string(1000 + i) + (i % 2 == 0 ? ".CR2" : ".NEF"),
                test::tinyRaw(96 + 32 * static_cast<unsigned int>(i % 5),
                    64,
                    1000U + static_cast<unsigned int>(i)));
    }

    // What the DNG says that it was made of; nothing if it is none of ours.
    static std::optional<dng::OriginalRecord> recordOf(const fs::path& path)
    {
        std::error_code error;
        const auto file = Pt::openRegularFile(path.string(), error);
        return file ? dng::readOriginalRecord(file->descriptor.get()) : std::nullopt;
    }

    // Each raw file of the card as a whole DNG, once, and nothing else.
    void expectConverted() const
    {
        const auto onCard = filesIn(card() / "DCIM/100MFX");
        EXPECT_EQ(filesIn(target()).size(), onCard.size());
        for (const auto& [name, bytes] : onCard) {
            const fs::path path = target() / fs::path(name).replace_extension(".dng");
            const auto record = recordOf(path);
            ASSERT_TRUE(record) << path;
            EXPECT_EQ(record->name, name);
            EXPECT_EQ(record->content.size, bytes.size());
        }
        expectNoLeftovers();
    }
};

} // namespace e2e
