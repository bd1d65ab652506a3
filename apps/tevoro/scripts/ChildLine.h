// What the program that runs scripts says, one JSON object a line. A script that found a way out of
// its engine speaks here, so nothing is taken for granted: what is not exactly one of the four
// messages is none of them, and its sender is not to be trusted any further.
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <variant>

namespace tevoro {

// The program is up; `gap` says why it lives without filters, or nothing.
struct ChildReady {
    QString gap;
};

struct ChildCall {
    QString name;
    std::optional<QString> argument; // no call has more than one
};

struct ChildResult {
    QString text;
};

struct ChildError {
    QString text;
    int line = 0; // of the script, from 1; 0 when it is not known
};

using ChildLine = std::variant<ChildReady, ChildCall, ChildResult, ChildError>;

// Nothing if it is none.
std::optional<ChildLine> readChildLine(const QByteArray& line);

// Cuts what comes in into lines. One thread.
class LineBuffer {
public:
    explicit LineBuffer(qsizetype longest)
        : m_longest(longest)
    {
    }

    void add(const QByteArray& bytes) { m_bytes += bytes; }

    // The next line, without its end. Nothing if it is not complete, or too long.
    std::optional<QByteArray> take();

    // Whether what comes next is longer than a line may be.
    bool isTooLong() const;
    bool isEmpty() const { return m_bytes.isEmpty(); }
    void clear();

private:
    qsizetype m_longest;
    QByteArray m_bytes;
    mutable qsizetype m_searched = 0; // bytes at the front that hold no end of a line
};

} // namespace tevoro
