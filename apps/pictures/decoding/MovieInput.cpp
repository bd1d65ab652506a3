#include "pictures/decoding/MovieInput.h"

#include "pictures/decoding/Fitting.h"

#include <array>
#include <cmath>
#include <cstring>
#include <mutex>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/error.h>
#include <libavutil/log.h>
}

namespace pictures {

namespace {

constexpr std::chrono::seconds kPatience{20};
constexpr const char* kContainers = "mov,mp4,avi,matroska,webm,mpeg,mpegts,mpegvideo";

void muteLibrary()
{
    static std::once_flag muted;
    std::call_once(muted, [] { av_log_set_level(AV_LOG_QUIET); });
}

QString textOf(int error)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(error, text.data(), text.size());
    return QString::fromUtf8(text.data());
}

// Telephones write the turn beside the picture.
bool liesOnItsSide(const AVStream& stream)
{
    std::size_t size = 0;
    const std::uint8_t* bytes = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    if (bytes == nullptr || size < 9 * sizeof(std::int32_t))
        return false;
    std::array<std::int32_t, 9> matrix{};
    std::memcpy(matrix.data(), bytes, sizeof(matrix));
    const double degrees = std::abs(av_display_rotation_get(matrix.data()));
    return degrees > 45 && degrees < 135;
}

} // namespace

MovieInput::MovieInput(const std::string& path, const std::atomic<bool>* cancelled)
    : m_cancelled(cancelled)
    , m_deadline(std::chrono::steady_clock::now() + kPatience)
{
    muteLibrary();
    open(path);
}

MovieInput::~MovieInput()
{
    avformat_close_input(&m_context);
}

void MovieInput::open(const std::string& path)
{
    m_context = avformat_alloc_context();
    if (m_context == nullptr)
        throw std::bad_alloc();
    m_context->interrupt_callback = {onInterruptQuestion, this};
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    av_dict_set(&options, "format_whitelist", kContainers, 0);
    // Frees the context and forgets it when it fails.
    const int error = avformat_open_input(&m_context, path.c_str(), nullptr, &options);
    av_dict_free(&options);
    if (error < 0)
        m_problem = textOf(error);
}

int MovieInput::onInterruptQuestion(void* input)
{
    return static_cast<const MovieInput*>(input)->mustStop() ? 1 : 0;
}

bool MovieInput::mustStop() const
{
    return (m_cancelled != nullptr && m_cancelled->load(std::memory_order_relaxed))
        || std::chrono::steady_clock::now() > m_deadline;
}

QSize MovieInput::frameSize() const
{
    QSize largest;
    for (unsigned int i = 0; i < m_context->nb_streams; ++i) {
        const AVStream& stream = *m_context->streams[i];
        const QSize size(stream.codecpar->width, stream.codecpar->height);
        if (pixelsOf(size) > pixelsOf(largest))
            largest = liesOnItsSide(stream) ? size.transposed() : size;
    }
    return largest;
}

} // namespace pictures
