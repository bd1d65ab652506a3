// The DNG conversion library as others see it: C functions, looked up by name after the library was
// loaded at run time. Paths are in the file system's encoding. Any thread; conversions of one
// process go one after the other.
//
// Each conversion runs in a process of its own, the program mfx-dng, which is kept for the next
// one. A raw file that nobody can decode, or that kills the decoder, is a conversion that failed,
// and nothing else.
#pragma once

// What became of a conversion. The numbers stay.
enum ZQPluginResult : int {
    kZQPluginDone = 0, // the DNG stands, flushed, and was read back and verified
    kZQPluginSourceUnreadable = 1, // the raw file is not there, is no file, or cannot be read
    kZQPluginNotSupported = 2, // not a raw file, or of a camera whose files cannot be decoded
    kZQPluginDamaged = 3, // its picture is not whole
    kZQPluginTargetExists = 4, // there is something under the DNG's name; it stays
    kZQPluginTargetUnwritable = 5, // no such folder, or no permission to write there
    kZQPluginNoSpace = 6, // the disk is full
    kZQPluginWriteFailed = 7, // the disk failed
    kZQPluginNotVerified = 8, // what was read back is not what was written
    kZQPluginTooLarge = 9, // it needs more memory than it may have, or than a DNG can hold
    kZQPluginDecoderDied = 10, // the decoder's process came to its end
    kZQPluginDecoderHung = 11, // it made no progress for a minute
    kZQPluginIncomplete = 12, // the program mfx-dng is missing or cannot be started
    kZQPluginBadRequest = 13, // an argument is out of its range
};

#ifdef __cplusplus
extern "C" {
#endif

// True if the library can convert: its program is there.
bool ZQPlugin_CanConvertToDNG(void);

// Makes `destination` a DNG of the raw file `source`, which stays as it is. 0 if the DNG was
// verified; else a ZQPluginResult, and there is no new file. Never replaces a file.
//
// jpegPreviewSize: 0 none, 1 medium (1,024 pixels on the long side), 2 full. compressed: 1 lossless
// compression. linear: 1 interpolated colours in place of the sensor's mosaic. embedRaw: 1 the raw
// file goes into the DNG.
int ZQPlugin_ConvertToDNG(const char* source,
    const char* destination,
    int jpegPreviewSize,
    int compressed,
    int linear,
    int embedRaw);

// The ZQPluginResult of this process's last conversion; kZQPluginDone before the first.
int ZQPlugin_LastResult(void);

#ifdef __cplusplus
}
#endif
