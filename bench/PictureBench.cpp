// What a grid of pictures costs, over JPEG pictures of 24 megapixels that are made here (slopes and
// noise, quality 90) and thumbnails of 256 pixels, on as many threads as the machine has:
//
//   BareDecoding    libjpeg-turbo alone: the file read, decoded at an eighth, rows into memory
//   ColdThumbnails  loadThumbnail() with an empty store, the thumbnail's writing included
//   WarmThumbnails  loadThumbnail() out of the store
//
// The aims: ColdThumbnails at 0.8 of the rate of BareDecoding or more, and 5,000 WarmThumbnails in
// a few seconds.

#include "NaturalPicture.h"
#include "TemporaryFolder.h"
#include "pictures/thumbnails/ThumbnailLoader.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <jpeglib.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using pictures::ThumbnailSize;

constexpr int kPictures = 4;
constexpr int kThumbnails = 500;

// Pictures and a store, which go at the end.
class Folder {
public:
    Folder()
    {
        for (int i = 0; i < kPictures; ++i)
            write(i);
    }

    std::string picture(int i) const { return m_folder.path() + '/' + std::to_string(i) + ".jpg"; }
    QString store() const { return QString::fromStdString(m_folder.path() + "/store"); }
    pictures::ThumbnailSubject subject(int i) const
    {
        const std::string path = picture(i % kPictures);
        return {QString::fromStdString(path), kThen, static_cast<qint64>(fs::file_size(path))};
    }

private:
    static constexpr qint64 kThen = 1'600'000'000;

    void write(int i) const
    {
        bench::writeNaturalPicture(picture(i), static_cast<unsigned int>(i + 1));
        const timespec times[2] = {{kThen, 0}, {kThen, 0}};
        if (::utimensat(AT_FDCWD, picture(i).c_str(), times, 0) != 0)
            std::abort();
    }

    bench::TemporaryFolder m_folder{"pictures"};
};

const Folder& folder()
{
    static const Folder made;
    return made;
}

// The whole loop that the library's own pages show.
void decodeBare(const std::string& path)
{
    std::FILE* file = std::fopen(path.c_str(), "rb");
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    jpeg_stdio_src(&info, file);
    jpeg_read_header(&info, TRUE);
    info.scale_num = 1;
    info.scale_denom = 8;
    info.out_color_space = JCS_EXT_BGRA;
    info.do_fancy_upsampling = FALSE;
    info.dct_method = JDCT_IFAST;
    jpeg_start_decompress(&info);
    std::vector<JSAMPLE> pixels(std::size_t{info.output_width} * 4 * info.output_height);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = pixels.data() + std::size_t{info.output_scanline} * info.output_width * 4;
        jpeg_read_scanlines(&info, &row, 1);
    }
    benchmark::DoNotOptimize(pixels.data());
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    std::fclose(file);
}

void BareDecoding(benchmark::State& state)
{
    folder();
    int i = state.thread_index();
    for (auto _ : state)
        decodeBare(folder().picture(i++ % kPictures));
    state.SetItemsProcessed(state.iterations());
}

void ColdThumbnails(benchmark::State& state)
{
    static std::atomic<int> number = 0;
    folder();
    for (auto _ : state) {
        // A store of its own for each: nothing is found, all is written.
        const int i = ++number;
        const pictures::ThumbnailStore store(folder().store() + QString::number(i));
        const auto result =
            pictures::loadThumbnail(store, folder().subject(i), ThumbnailSize::kLarge, nullptr);
        if (result.status != pictures::ReadStatus::kDone || result.fromStore)
            state.SkipWithError("not read");
    }
    state.SetItemsProcessed(state.iterations());
}

// Thumbnails of many pictures, which differ by their addresses only.
const pictures::ThumbnailStore& warmStore()
{
    static const pictures::ThumbnailStore store = [] {
        pictures::ThumbnailStore made(folder().store() + QStringLiteral("/warm"));
        const pictures::Picture picture =
            pictures::readPicture({folder().subject(0).path, {256, 256}, nullptr});
        for (int i = 0; i < kThumbnails; ++i) {
            pictures::ThumbnailSubject subject = folder().subject(0);
            subject.path += QString::number(i);
            made.save(subject, ThumbnailSize::kLarge, picture.image);
        }
        return made;
    }();
    return store;
}

void WarmThumbnails(benchmark::State& state)
{
    warmStore();
    int i = state.thread_index();
    pictures::ThumbnailSubject subject = folder().subject(0);
    const QString path = subject.path;
    for (auto _ : state) {
        subject.path = path + QString::number(i++ % kThumbnails);
        if (!pictures::loadThumbnail(warmStore(), subject, ThumbnailSize::kLarge, nullptr)
                 .fromStore)
            state.SkipWithError("not found");
    }
    state.SetItemsProcessed(state.iterations());
}

const int gThreads = static_cast<int>(std::max(std::thread::hardware_concurrency(), 1U));

BENCHMARK(BareDecoding)->UseRealTime()->Unit(benchmark::kMillisecond)->ThreadRange(1, gThreads);
BENCHMARK(ColdThumbnails)->UseRealTime()->Unit(benchmark::kMillisecond)->ThreadRange(1, gThreads);
BENCHMARK(WarmThumbnails)->UseRealTime()->Unit(benchmark::kMillisecond)->ThreadRange(1, gThreads);

} // namespace

BENCHMARK_MAIN();
