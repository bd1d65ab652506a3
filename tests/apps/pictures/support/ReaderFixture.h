// Files of a test's own folder, read as pictures.
#pragma once

#include "apps/pictures/support/PictureBytes.h"
#include "pictures/decoding/PictureReader.h"
#include "support/TestFolder.h"

namespace pictures::tests {

class ReaderFixture : public testing::Test {
protected:
    Picture readBytes(const std::string& name, const std::string& bytes, QSize box = {}) const
    {
        return read(QString::fromStdString(m_folder.write(name, bytes)), box);
    }

    static Picture read(const QString& path, QSize box = {})
    {
        return readPicture({path, box, nullptr});
    }

    const test::TestFolder m_folder;
};

// Holds for every picture that any bytes may give.
inline void expectConsistent(const Picture& picture)
{
    const bool done = picture.status == ReadStatus::kDone;
    EXPECT_EQ(done, !picture.image.isNull());
    EXPECT_EQ(done, picture.reason.isEmpty()) << picture.reason.toStdString();
    EXPECT_EQ(done, !picture.fullSize.isEmpty());
}

} // namespace pictures::tests
