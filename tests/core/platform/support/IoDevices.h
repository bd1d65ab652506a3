#pragma once

#include "platform/common/devices/PtIoDevice.h"
#include "platform/common/services/PtExSystem.h"

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace test {

// A completion that writes down what it is told, as "completed NAME BYTES", "cancelled NAME" or
// "failed NAME ERROR", in the order of all that share the record, and then does something.
class TellingCompletion final : public Pt::IoCompletion {
public:
    struct Record {
        void add(const std::string& line)
        {
            const std::lock_guard locked(lock);
            lines.push_back(line);
        }
        std::vector<std::string> all()
        {
            const std::lock_guard locked(lock);
            return lines;
        }
        std::size_t count() { return all().size(); }

    private:
        std::mutex lock;
        std::vector<std::string> lines;
    };
    using Then = std::function<void(Pt::IoRequest&)>;

    TellingCompletion(Record& record, std::string name, Then then = {})
        : m_record(record)
        , m_name(std::move(name))
        , m_then(std::move(then))
    {
    }

    void completed(Pt::IoRequest& request, std::uint32_t bytes) override
    {
        m_record.add("completed " + m_name + ' ' + std::to_string(bytes));
        goOn(request);
    }
    void cancelled(Pt::IoRequest& request) override
    {
        m_record.add("cancelled " + m_name);
        goOn(request);
    }
    void failed(Pt::IoRequest& request, const Pt::ExSystem& failure) override
    {
        m_record.add("failed " + m_name + ' ' + std::to_string(failure.errorCode()));
        goOn(request);
    }

private:
    void goOn(Pt::IoRequest& request)
    {
        if (m_then)
            m_then(request);
    }

    Record& m_record;
    std::string m_name;
    Then m_then;
};

// A device whose transfers end when the test says so, or at once, or fail to be issued.
class StagedDevice final : public Pt::IoDevice {
public:
    using Pointer = Pt::SmartPointer<StagedDevice>;

    explicit StagedDevice(std::size_t readLimit = 1, std::size_t writeLimit = 1)
        : IoDevice(readLimit, writeLimit)
    {
    }

    // Ends a transfer that was issued.
    void finish(Pt::IoRequest& request, int error = 0, std::uint32_t bytes = 0)
    {
        completeRequest_(request, error, bytes);
    }

    std::vector<std::string> issued() const { return m_issued; }

    bool isBlocking = false; // does a transfer of all bytes when it is issued
    std::function<void(Pt::IoRequest&)> onIssue; // before that; may throw
    std::function<void()> atTheEnd; // may throw

    void acceptControls() { m_knowsControls = true; }

protected:
    ~StagedDevice() noexcept(false) override
    {
        if (atTheEnd)
            atTheEnd();
    }
    void issueRead_(Pt::IoRequest& request) override { issue("read ", request); }
    void issueWrite_(Pt::IoRequest& request) override { issue("write ", request); }
    void issueControl_(Pt::IoRequest& request) override
    {
        if (m_knowsControls)
            issue("control ", request);
        else
            IoDevice::issueControl_(request);
    }

private:
    void issue(const char* what, Pt::IoRequest& request)
    {
        {
            const std::lock_guard locked(m_lock);
            m_issued.push_back(what + std::to_string(request.length()));
        }
        if (onIssue)
            onIssue(request);
        if (isBlocking)
            completeRequest_(request, 0, request.length());
    }

    std::mutex m_lock;
    std::vector<std::string> m_issued; // with the length, which the tests use as a number
    bool m_knowsControls = false;
};

} // namespace test
