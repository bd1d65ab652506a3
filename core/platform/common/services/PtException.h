#pragma once

#include "platform/common/text/PtUnicode.h"

#include <cstdint>
#include <deque>
#include <exception>

namespace Pt {

// A place in the source.
struct ExWhere {
    const char* file; // the compiler's full path; lives as long as the program
    int line;

    // The caller's own place.
    static constexpr ExWhere here(
        const char* callerFile = __builtin_FILE(), int callerLine = __builtin_LINE())
    {
        return {callerFile, callerLine};
    }
};

using ExSeverity = std::uint32_t;

// Why something failed: a text of its own, the place and how bad it is.
class ExReason {
public:
    // A null text counts as empty.
    ExReason(const unsigned short* text, const ExWhere& where, ExSeverity severity);

    const unsigned short* text() const { return m_text.c_str(); }
    const char* file() const { return m_where.file; }
    int line() const { return m_where.line; }
    ExSeverity severity() const { return m_severity; }

private:
    WideText m_text;
    ExWhere m_where;
    ExSeverity m_severity;
};

// The platform layer's exception: a stack of reasons, newest first. A layer that catches one can
// add its own reason and throw on. An exception belongs to one thread at a time; Post and Poll
// hand a copy from one thread to another through a queue of the whole process.
class Exception : public std::exception {
public:
    explicit Exception(const ExReason& reason);
    Exception(const ExReason& reason, const Exception& cause);
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
    ~Exception() override = default;

    // Always the empty text: what there is to say stands in the reasons.
    const char* what() const noexcept override;

    // A copy on the heap, the caller's to delete. Here it is this exception as the cause of its own
    // front reason, so that the copy has the front reason twice.
    virtual Exception* clone() const;

    const std::deque<ExReason>& reasons() const { return m_reasons; }

    // Appends a clone to the queue and returns 1; without ExceptionInit() it returns 0.
    static int Post(const Exception& exception);

    // Takes the oldest exception from the queue, the caller's to delete; null when there is none.
    static Exception* Poll();

protected:
    Exception() = default; // requires: the derived constructor pushes a reason
    void pushReason(const ExReason& reason) { m_reasons.push_front(reason); }

private:
    std::deque<ExReason> m_reasons;
};

} // namespace Pt
