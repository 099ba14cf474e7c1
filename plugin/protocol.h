// The callbacks of the plug-in, as the host calls them beside the entry points of kpxbase.h, and what all of them
// share: plain C names, nothing thrown.
#pragma once

#include "host/kpxbase.h"

extern "C" {

int ScanlineReadCallback(void* object, int y, unsigned char*** rows);
int ReaderCloseCallback(ImageHandle* handle);
int ScanlineWriteCallback(void* object, int y, unsigned char** rows);
int WriterCloseCallback(ImageHandle* handle);

}  // extern "C"

namespace kpx {

// Message catalogue sets and the results that the host's error code carries.
inline constexpr int textSet = 901;
inline constexpr int errorSet = 902;
inline constexpr int errorSeverity = 3;
inline constexpr int warningSeverity = 2;
inline constexpr int cannotReadCode = -5;
inline constexpr int refusedCode = -16;
inline constexpr int scanlineFailure = -2;

// Scanline 0 is the bottom row.
inline constexpr int bottomUpOrientation = 2;

// A translated text of set 901, or the text itself when no catalogue is open.
const char* translated(int number, const char* text);

// Message 94 of set 902.
void reportNoMemory();
// Message 52 of set 902: the path (null is shown empty) and the system's reason, an errno value.
void reportCannotOpen(const char* path, int reason);

// The path of a handle's file: its name, or what the host builds from it. May be null.
const char* pathOf(ImageHandle* handle);

// Allocates the private block, its slot null, and hangs it on the handle; false when there is no memory.
bool attachPrivateBlock(ImageHandle* handle);
// Releases the private block, if there is one, and takes it off the handle.
void detachPrivateBlock(ImageHandle* handle);

}  // namespace kpx
