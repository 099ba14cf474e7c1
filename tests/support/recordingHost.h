// A host other than libKPXbase: the test program itself defines every service of kpxbase.h for the plug-in that it
// loads. The services record their calls, separately for each thread, and allocate nothing but the strings that they
// store.
#pragma once

#include <string>

#include "host/kpxbase.h"

namespace testing_support {

// The bytes that kpx__init_ifd stores in a descriptor, and those of a new handle.
inline constexpr unsigned char descriptorFill = 0xA5;
inline constexpr unsigned char handleFill = 0x5A;

// Forgets the calls, releases the stored strings and ends all failures.
void resetHost();
// Returns the calls since the last call of this function or of resetHost, one per line: the name and the arguments, or
// for messages "902.52, severity 3: text".
std::string hostCalls();
// Makes the nth STR_save or STR_define from now on (1 is the next) return null.
void failHeldString(int nth);
// From now on, every report reads scanline 0 of the handle, which must be open, and records the result. null: no
// longer.
void readInReports(const ImageHandle* handle);
// Sets the result of kpx__build_handle.
void setBuiltPath(const char* path);

// The loaded plug-in. A function or variable that it does not export is null.
class LoadedPlugin {
public:
    LoadedPlugin();
    ~LoadedPlugin();
    LoadedPlugin(const LoadedPlugin&) = delete;
    LoadedPlugin& operator=(const LoadedPlugin&) = delete;

    // Return the text of a variable, or "null"; and those of the three that imageInit sets.
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

// A handle for the image at path. Bytes that an open function reads are zero, all others a pattern. Its destructor
// releases what the plug-in left attached.
class TestHandle : public ImageHandle {
public:
    explicit TestHandle(std::string path);
    ~TestHandle();
    TestHandle(const TestHandle&) = delete;
    TestHandle& operator=(const TestHandle&) = delete;

    // Attaches the descriptor of an 8-bit RGB image with a matte, for writing.
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
