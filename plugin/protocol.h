// The callbacks of the plug-in, which the host calls in addition to the entry points of kpxbase.h, and the functions
// that they share. All have plain C names and throw nothing.
#pragma once

#include "host/kpxbase.h"

extern "C" {

int ScanlineReadCallback(void* object, int y, unsigned char*** rows);
int ReaderCloseCallback(ImageHandle* handle);
int ScanlineWriteCallback(void* object, int y, unsigned char** rows);
int WriterCloseCallback(ImageHandle* handle);

}  // extern "C"

namespace kpx {

// Message catalogue sets, and values of the host's error code.
inline constexpr int textSet = 901;
inline constexpr int errorSet = 902;
inline constexpr int errorSeverity = 3;
inline constexpr int warningSeverity = 2;
inline constexpr int cannotReadCode = -5;
inline constexpr int refusedCode = -16;
inline constexpr int scanlineFailure = -2;

// Scanline 0 is the bottom row.
inline constexpr int bottomUpOrientation = 2;

// Returns the translation of a text of set 901, or the text itself if no catalogue is open.
const char* translated(int number, const char* text);

// Reports message 94 of set 902.
void reportNoMemory();
// Reports message 52 of set 902 with the path (null is shown as empty) and the reason, an errno value.
void reportCannotOpen(const char* path, int reason);

// Returns the path of a handle's file: its name, or the path that the host builds from it. May be null.
const char* pathOf(ImageHandle* handle);

// Allocates the private block, with a null slot, and attaches it to the handle. Returns false if that fails.
bool attachPrivateBlock(ImageHandle* handle);
// Detaches the private block from the handle and releases it, if there is one.
void detachPrivateBlock(ImageHandle* handle);

}  // namespace kpx
