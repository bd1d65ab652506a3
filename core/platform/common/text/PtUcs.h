#pragma once

#include <cstddef>

// The 16-bit string functions. Text is a NUL-terminated array of 16-bit units in host byte order;
// the functions are named after the system's wide-character functions and behave like them unless
// told otherwise. Nothing here allocates for the caller, nothing keeps a pointer, and every
// function may be called from any thread. Only the functions that say so take a null pointer.

// Units before the NUL; null counts as the empty text.
std::size_t ptucslen(unsigned short const* s);

unsigned short* ptucscpy(unsigned short* dst, unsigned short const* src);

// Copies at most n units and stops behind a NUL. It never pads: n units without a NUL among them
// leave dst unterminated.
unsigned short* ptucsncpy(unsigned short* dst, unsigned short const* src, std::size_t n);

unsigned short* ptucscat(unsigned short* dst, unsigned short const* src);

// 0 when equal, else the difference of the first unlike units. Null is equal to null and lies
// before everything else (-1 and 1).
int ptucscmp(unsigned short const* a, unsigned short const* b);

// The same as ptucscmp: despite its name it does not fold case, and callers rely on that.
int ptucsicmp(unsigned short const* a, unsigned short const* b);

int ptucsncmp(unsigned short const* a, unsigned short const* b, std::size_t n);

// The first, or the last, c in s; null when there is none. The terminator is not found.
unsigned short* ptucschr(unsigned short const* s, unsigned short c);
unsigned short* ptucsrchr(unsigned short const* s, unsigned short c);

// The first t in s; an empty t gives s.
unsigned short* ptucsstr(unsigned short const* s, unsigned short const* t);

// Stores the simple lower-case mapping of c, or c itself where there is none, and tells whether
// there is one. Covers U+0041 to U+FF3A.
bool ptucslowerCase(unsigned short c, unsigned short* out);

// Does nothing: dst stays as it is.
void ptucssprintf(unsigned short* dst, unsigned short const* format, ...);

// UTF8ToUTF16HostEndian and UTF16HostEndianToUTF8 with the arguments in the other order: n is a
// count of bytes in both, and so is the result, terminator included. A null dst measures.
std::size_t ptucsmbstowcs(unsigned short* dst, char const* src, std::size_t n);
std::size_t ptucswcstombs(char* dst, unsigned short const* src, std::size_t n);

// 0 when the file passes the system's access test for mode (0 exists, 1 execute, 2 write, 4 read),
// 1 when it does not.
int ptucsaccess(unsigned short const* path, int mode);

// Opens with the system's own flags; the descriptor, close-on-exec from birth, or -1 and errno.
int ptucsopen(unsigned short const* path, int flags, unsigned int mode);

// 0, or -1 and errno.
int ptucsunlink(unsigned short const* path);
