// What the shared library shows to the applications that link it; all else is hidden. And the marks
// by which clang's thread safety analysis knows the bus's locks and what they guard
// (-Wthread-safety; empty for other compilers).
#pragma once

#if defined(_WIN32)
#define TEVOROTALK_API
#else
#define TEVOROTALK_API __attribute__((visibility("default")))
#endif

#if defined(__clang__)
#define TEVOROTALK_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define TEVOROTALK_THREAD_ATTRIBUTE(x)
#endif

#define TEVOROTALK_GUARDED_BY(x) TEVOROTALK_THREAD_ATTRIBUTE(guarded_by(x))
#define TEVOROTALK_REQUIRES(x) TEVOROTALK_THREAD_ATTRIBUTE(requires_capability(x))
#define TEVOROTALK_EXCLUDES(x) TEVOROTALK_THREAD_ATTRIBUTE(locks_excluded(x))
