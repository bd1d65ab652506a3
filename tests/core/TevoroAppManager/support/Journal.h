// What a scripted host was asked to do, in order, one line a call.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace test {

class Journal {
public:
    void add(std::string line) { m_lines.push_back(std::move(line)); }
    void clear() { m_lines.clear(); }
    const std::vector<std::string>& lines() const { return m_lines; }

    // What has been said so far; the journal then begins anew.
    std::vector<std::string> take() { return std::exchange(m_lines, {}); }

    // The lines that begin with the text.
    std::vector<std::string> about(const std::string& start) const
    {
        std::vector<std::string> found;
        std::copy_if(m_lines.begin(),
            m_lines.end(),
            std::back_inserter(found),
            [&](const std::string& line) { return line.rfind(start, 0) == 0; });
        return found;
    }

private:
    std::vector<std::string> m_lines;
};

} // namespace test
