#include "platform/common/text/PtUcs.h"

#include "platform/common/files/FileAccess.h"
#include "platform/common/text/PtUcsLowerCaseTable.h"
#include "platform/common/text/PtUnicode.h"

#include <algorithm>
#include <iterator>

const PtUcsCaseRow gUcsUpperToLowerCase[] = {
#include "platform/common/text/PtUcsLowerCaseTable.inc"
};

std::size_t ptucslen(const unsigned short* s)
{
    std::size_t length = 0;
    while (s && s[length] != 0)
        ++length;
    return length;
}

unsigned short* ptucscpy(unsigned short* dst, const unsigned short* src)
{
    std::copy_n(src, ptucslen(src) + 1, dst);
    return dst;
}

unsigned short* ptucsncpy(unsigned short* dst, const unsigned short* src, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i) {
        dst[i] = src[i];
        if (src[i] == 0)
            break;
    }
    return dst;
}

unsigned short* ptucscat(unsigned short* dst, const unsigned short* src)
{
    ptucscpy(dst + ptucslen(dst), src);
    return dst;
}

int ptucscmp(const unsigned short* a, const unsigned short* b)
{
    // Null is below every text, and equal to itself.
    if (!a || !b)
        return (a ? 1 : 0) - (b ? 1 : 0);
    for (; *a == *b; ++a, ++b)
        if (*a == 0)
            return 0;
    return *a - *b;
}

int ptucsicmp(const unsigned short* a, const unsigned short* b)
{
    // Case counts, on purpose: see PtUcs.h.
    return ptucscmp(a, b);
}

int ptucsncmp(const unsigned short* a, const unsigned short* b, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i) {
        if (a[i] != b[i])
            return a[i] - b[i];
        if (a[i] == 0)
            break;
    }
    return 0;
}

unsigned short* ptucschr(const unsigned short* s, unsigned short c)
{
    for (; *s != 0; ++s)
        if (*s == c)
            return const_cast<unsigned short*>(s);
    return nullptr;
}

unsigned short* ptucsrchr(const unsigned short* s, unsigned short c)
{
    const unsigned short* last = nullptr;
    for (; *s != 0; ++s)
        if (*s == c)
            last = s;
    return const_cast<unsigned short*>(last);
}

unsigned short* ptucsstr(const unsigned short* s, const unsigned short* t)
{
    const unsigned short* const end = s + ptucslen(s);
    const unsigned short* const found = std::search(s, end, t, t + ptucslen(t));
    // An empty t is found in an empty s, at its end.
    return found == end && *t != 0 ? nullptr : const_cast<unsigned short*>(found);
}

bool ptucslowerCase(unsigned short c, unsigned short* out)
{
    const auto end = std::begin(gUcsUpperToLowerCase) + kUcsLowerCaseRows;
    const auto row = std::lower_bound(std::begin(gUcsUpperToLowerCase),
        end,
        c,
        [](const PtUcsCaseRow& each, unsigned short unit) { return each.upper < unit; });
    // end is the row of zeros, and 0 lies before the first row: no test for end is needed.
    const bool hasLowerCase = row->upper == c;
    *out = hasLowerCase ? row->lower : c;
    return hasLowerCase;
}

// Does nothing, on purpose: see PtUcs.h.
void ptucssprintf(unsigned short*, const unsigned short*, ...) { }

std::size_t ptucsmbstowcs(unsigned short* dst, const char* src, std::size_t n)
{
    return UTF8ToUTF16HostEndian(src, n, dst);
}

std::size_t ptucswcstombs(char* dst, const unsigned short* src, std::size_t n)
{
    return UTF16HostEndianToUTF8(src, n, dst);
}

int ptucsaccess(const unsigned short* path, int mode)
{
    // The contract's own results: 0 for yes and 1 for no.
    return Pt::accessPath(Pt::toUtf8(path), mode) == 0 ? 0 : 1;
}

int ptucsopen(const unsigned short* path, int flags, unsigned int mode)
{
    return Pt::openPath(Pt::toUtf8(path), flags, mode);
}

int ptucsunlink(const unsigned short* path)
{
    return Pt::unlinkPath(Pt::toUtf8(path));
}
