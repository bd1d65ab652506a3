#pragma once

#include <cstddef>

// The 16-bit string functions. Text is a NUL-terminated array of 16-bit units in host byte order;
// the functions are named after the system's wide-character functions and behave like them unless
// said otherwise. Nothing here allocates for the caller, nothing keeps a pointer, and every
// function may be called from any thread. Only the functions that say so take a null pointer.

// Units before the NUL; null counts as the empty text.
std::size_t ptucslen(const unsigned short* s);

unsigned short* ptucscpy(unsigned short* dst, const unsigned short* src);

// Copies at most n units and stops behind a NUL. It never pads: n units without a NUL among them
// leave dst unterminated.
unsigned short* ptucsncpy(unsigned short* dst, const unsigned short* src, std::size_t n);

unsigned short* ptucscat(unsigned short* dst, const unsigned short* src);

// 0 when equal, else the difference of the first unlike units. Null is equal to null and lies
// before everything else (-1 and 1).
int ptucscmp(const unsigned short* a, const unsigned short* b);

// The same as ptucscmp: despite its name it does not fold case, and callers rely on that.
int ptucsicmp(const unsigned short* a, const unsigned short* b);

int ptucsncmp(const unsigned short* a, const unsigned short* b, std::size_t n);

// The first, or the last, c in s; null when there is none. The terminator is not found.
unsigned short* ptucschr(const unsigned short* s, unsigned short c);
unsigned short* ptucsrchr(const unsigned short* s, unsigned short c);

// The first t in s; an empty t gives s.
unsigned short* ptucsstr(const unsigned short* s, const unsigned short* t);

// Stores the simple lower-case mapping of c, or c itself where there is none, and returns whether
// there is one. Covers U+0041 to U+FF3A.
bool ptucslowerCase(unsigned short c, unsigned short* out);

// Does nothing: dst stays as it is.
void ptucssprintf(unsigned short* dst, const unsigned short* format, ...);

// UTF8ToUTF16HostEndian and UTF16HostEndianToUTF8 with the arguments in the other order: n is a
// count of bytes in both, and so is the result, terminator included. A null dst measures.
std::size_t ptucsmbstowcs(unsigned short* dst, const char* src, std::size_t n);
std::size_t ptucswcstombs(char* dst, const unsigned short* src, std::size_t n);

// What ptucsaccess() tests for.
inline constexpr int kUcsExists = 0;
inline constexpr int kUcsWrite = 2;

// 0 when the file passes the system's access test for mode (0 exists, 1 execute, 2 write, 4 read),
// 1 when it does not.
int ptucsaccess(const unsigned short* path, int mode);

// Opens with the system's own flags; the descriptor, close-on-exec from birth, or -1 and errno.
int ptucsopen(const unsigned short* path, int flags, unsigned int mode);

// 0, or -1 and errno.
int ptucsunlink(const unsigned short* path);
