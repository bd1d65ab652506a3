// The input stream that opens dictionary files: an istream that owns its file buffer. A file that
// cannot be opened sets the fail bit and reads as an empty dictionary. One thread at a time.
#pragma once

#include <fstream>
#include <istream>

namespace lexkit {

template <typename Char>
class basic_ifstream : public std::basic_istream<Char> {
public:
    // Reading is added to the mode.
    explicit basic_ifstream(const char* path, std::ios_base::openmode mode = std::ios_base::in)
        : std::basic_istream<Char>(nullptr)
    {
        this->init(&m_buffer);
        if (!m_buffer.open(path, mode | std::ios_base::in))
            this->setstate(std::ios_base::failbit);
    }

    bool is_open() const { return m_buffer.is_open(); }

    void close()
    {
        if (!m_buffer.close())
            this->setstate(std::ios_base::failbit);
    }

private:
    std::basic_filebuf<Char> m_buffer;
};

} // namespace lexkit
