// The program's two ends of its channel to the browser: one JSON object a line, in from standard
// input, out to standard output. One thread.
#pragma once

#include <QJsonObject>

#include <optional>

namespace tevoro {

class Channel {
public:
    // Blocks until there is one. Nothing at the end of the input; ends the program when a line is
    // too long or no object.
    std::optional<QJsonObject> read();

    // False, with nothing written, when the line would be too long. Ends the program when nobody
    // reads.
    bool write(const QJsonObject& object);
};

} // namespace tevoro
