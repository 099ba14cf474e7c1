// A host other than libKPXbase: the test program itself defines every service of kpxbase.h, which the plug-in that it
// loads finds there. The services write down how they are called, for each thread by itself, and take no memory except
// for the strings that they hold.
#pragma once

#include <string>

#include "host/kpxbase.h"

namespace testing_support {

// What kpx__init_ifd fills a descriptor with, and what a new handle is filled with.
inline constexpr unsigned char descriptorFill = 0xA5;
inline constexpr unsigned char handleFill = 0x5A;

// Forgets the calls and releases the held strings; nothing fails any more.
void resetHost();
// The calls since the last call of this function or of resetHost, a line each: the name with its arguments, messages
// as "902.52, severity 3: text".
std::string hostCalls();
// The nth STR_save or STR_define from now on (1 is the next) gives null.
void failHeldString(int nth);
// From now on a report reads scanline 0 of the handle, which must be open, and tells; null: no more.
void readInReports(const ImageHandle* handle);
// What kpx__build_handle answers.
void setBuiltPath(const char* path);

// The plug-in loaded by itself. Its functions and variables are null where it has none of that name.
class LoadedPlugin {
public:
    LoadedPlugin();
    ~LoadedPlugin();
    LoadedPlugin(const LoadedPlugin&) = delete;
    LoadedPlugin& operator=(const LoadedPlugin&) = delete;

    // What a variable holds, "null" where it is null; and of the three that imageInit sets.
    std::string text(const char* name) const;
    std::string translatedTexts() const;
    template <typename Type>
    Type* find(const char* name) const {
        return reinterpret_cast<Type*>(address(name));
    }

private:
    void* address(const char* name) const;

    void* m_library;

public:
    ImageInitFunction* imageInit;
    ImageCapabilityFunction* imageCapability;
    ImageCapabilityFunction* KPX_dds_capability;
    ImageIsFileFunction* imageIsFile;
    ImageOpenFunction* imageReadOpen;
    ImageOpenFunction* imageWriteOpen;
};

// A handle for the image at path, all other bytes a pattern except those that an opening reads, which are zero. It
// releases what the plug-in leaves on it.
class TestHandle : public ImageHandle {
public:
    explicit TestHandle(std::string path);
    ~TestHandle();
    TestHandle(const TestHandle&) = delete;
    TestHandle& operator=(const TestHandle&) = delete;

    // Hangs on the descriptor of an RGB image of 8 bits with a matte, as an image to be written.
    void describe(int width, int height);

    void* object() const { return pluginData == nullptr ? nullptr : *pluginData; }
    int read(int y, unsigned char*** rows) const {
        return reinterpret_cast<ScanlineReadFunction>(scanlineFunction)(object(), y, rows);
    }
    int write(int y, unsigned char** rows) const {
        return reinterpret_cast<ScanlineWriteFunction>(scanlineFunction)(object(), y, rows);
    }
    int close() { return closeFunction(this); }

    ImageFileDescriptor described;

private:
    std::string m_path;
};

}  // namespace testing_support
