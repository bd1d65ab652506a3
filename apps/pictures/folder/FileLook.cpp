#include "pictures/folder/FileLook.h"

#include <atomic>
#include <filesystem>
#include <future>
#include <system_error>
#include <thread>
#include <utility>

namespace pictures {

namespace {

// Each look that is held up costs a thread until its disk answers.
constexpr int kMaxLooks = 8;

} // namespace

std::optional<bool> isRegularFile(const std::string& path, std::chrono::milliseconds patience)
{
    static std::atomic<int> looks = 0;
    if (looks >= kMaxLooks)
        return std::nullopt;
    std::promise<bool> told;
    std::future<bool> answer = told.get_future();
    std::thread([path, told = std::move(told)]() mutable {
        ++looks;
        std::error_code unknown; // what is not there is no file
        told.set_value(std::filesystem::is_regular_file(path, unknown));
        --looks;
    }).detach(); // nobody can wait for it, and all that it uses is its own
    if (answer.wait_for(patience) != std::future_status::ready)
        return std::nullopt;
    return answer.get();
}

} // namespace pictures
