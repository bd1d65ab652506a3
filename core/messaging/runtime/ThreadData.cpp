#include "messaging/runtime/ThreadData.h"

#include <utility>

namespace ScObjects {

ThreadData::ThreadData()
    : startMutex(new std::mutex)
{
}

ThreadData::~ThreadData()
{
    delete startMutex;
    stop();
    // A std::thread that is destroyed while joinable ends the process.
    if (thread.joinable())
        thread.detach();
}

bool ThreadData::stop()
{
    if (waitCondition != nullptr)
        waitCondition->notify_all();
    delete std::exchange(waitCondition, nullptr);
    delete std::exchange(waitMutex, nullptr);
    return true;
}

void ThreadData::begin()
{
    waitMutex = new std::recursive_mutex;
    waitCondition = new std::condition_variable_any;
}

void ThreadData::signalEnd()
{
    if (waitCondition != nullptr)
        waitCondition->notify_all();
}

} // namespace ScObjects
