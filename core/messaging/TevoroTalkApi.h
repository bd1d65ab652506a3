// What the shared library shows to the applications that link it; all else is hidden.
#pragma once

#if defined(_WIN32)
#define TEVOROTALK_API
#else
#define TEVOROTALK_API __attribute__((visibility("default")))
#endif
