/*
 * The interface between the host image library libKPXbase and its format plug-ins: the records that both share, with
 * fixed offsets, the rows of the option table, the services of the host, and the entry points that a plug-in exports.
 * Requires C99 or C++98, and POSIX for <nl_types.h>. C11 and C++11 check the offsets. docs/protocol.md describes the
 * calls in their order.
 *
 * The offsets are the binary interface (64-bit pointers, little-endian). Bytes named m_hostN belong to the host: a
 * plug-in must not change them.
 *
 * The plug-in is not linked to a host library. It finds the services among the global symbols of the process: link a
 * program that defines them with -rdynamic, or use those of libKPXbase (pkg-config --libs kpxbase).
 *
 * Threads: after imageInit, several threads may use the plug-in at the same time, each with its own handles. The
 * services are then called from all of them. Only one thread at a time may use a handle.
 */
#ifndef KPXBASE_H
#define KPXBASE_H

#include <nl_types.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

struct ImageHandle;
struct ImageFileDescriptor;

/*
 * Reading: stores an array of row pointers, one per channel, in *rows: the colour channels, then the matte. They are
 * valid until the next call. Returns 0, or -2 on failure.
 */
typedef int (*ScanlineReadFunction)(void* object, int y, unsigned char*** rows);
/* Writing: takes one row pointer per channel, in the same order. Returns 0, or -2 on failure. */
typedef int (*ScanlineWriteFunction)(void* object, int y, unsigned char** rows);
/* The type of ImageHandle.scanlineFunction; cast it to one of the two types above. */
typedef void (*ScanlineFunction)(void);
typedef int (*CloseFunction)(struct ImageHandle* handle);

/* An option set for an image. Only the first byte of the value is read. */
typedef struct OptionSetting {
    uint16_t code; /* an option code of the plug-in's table */
    uint16_t m_host0;
    uint8_t value[4];
} OptionSetting;

/*
 * The host's record of one image being read or written. The host allocates it, zeroes all bytes and fills it.
 * closeFunction passes it to kpx__free_obj, which releases it. If an open fails, the callbacks must not be called, and
 * the host itself passes the handle to kpx__free_obj. Texts and options that the host stored in the handle are not
 * released.
 */
typedef struct ImageHandle {
    void** pluginData;      /* the plug-in's private block: one pointer to its reader or writer */
    const char* formatName; /* the format's name, used in messages; owned by the caller */
    char* name;             /* the path, or the pattern for kpx__build_handle; owned by the caller */
    uint8_t nameIsPath;     /* non-zero: name is the path itself */
    uint8_t m_host0[15];
    void* nameContext; /* handed to kpx__build_handle by value */
    uint8_t m_host1[64];
    OptionSetting** options; /* null, or a null-terminated array; owned by the caller */
    uint8_t m_host2[8];
    void* channelFormatData; /* non-null: the plug-in refuses to write the image */
    uint8_t m_host3[4];
    int32_t hostFlags;
    uint8_t m_host4[56];
    int32_t imageCount; /* images in the file; at most 1 in writing */
    uint8_t m_host5[4];
    struct ImageFileDescriptor* descriptor;
    uint8_t m_host6[80];
    ScanlineFunction scanlineFunction; /* a ScanlineReadFunction or a ScanlineWriteFunction */
    CloseFunction closeFunction;
} ImageHandle;

/* A pixel window; xMax and yMax are inclusive. */
typedef struct PixelWindow {
    int32_t xMin, xMax, yMin, yMax;
} PixelWindow;

/*
 * The host's description of an image. For reading, the plug-in allocates it with malloc and the host releases it. For
 * writing, the host supplies it, and `window` is the size of the image.
 */
typedef struct ImageFileDescriptor {
    uint8_t m_host0[8];
    int32_t readyFlag;
    float gamma;
    uint8_t m_host1[40];
    int32_t width;
    int32_t height;
    float aspectRatio;
    uint8_t m_host2[4];
    PixelWindow window;
    PixelWindow secondWindow;
    uint8_t m_host3[4];
    int32_t orientation; /* 2: scanline 0 is the bottom row of the picture */
    char* channelFormat;
    int32_t channelCount; /* 0 to 4 in reading, 3 in writing */
    int32_t channelBytes; /* 1 or 2; also 2 if channelBits is 32 */
    int32_t channelBits;
    uint8_t m_host4[4];
    char* matteFormat;
    int32_t matteCount;
    int32_t matteBytes;
    int32_t matteBits; /* 8 in writing, also without a matte */
    uint8_t m_host5[4];
    char* auxFormat;
    int32_t auxCount;
    uint8_t m_host6[4];
    int32_t auxBits;
    uint8_t m_host7[28];
} ImageFileDescriptor;

/* One value of an option; the array ends with code 0xFFFF. */
typedef struct CapabilityValue {
    uint16_t code;
    uint8_t zero[6];
    void* reserved;
    int32_t catalogSet; /* with messageNumber and defaultText: the catgets arguments for the display name */
    int32_t messageNumber;
    const char* defaultText;
} CapabilityValue;

typedef struct CapabilityValueList {
    uint64_t reserved;
    CapabilityValue* entries;
} CapabilityValueList;

/* One option; the table ends with a row whose catalogSet is 0. */
typedef struct CapabilityEntry {
    uint16_t code;
    uint8_t zero[6];
    void* reserved0;
    int32_t catalogSet;
    int32_t messageNumber;
    const char* defaultText;
    void* reserved1;
    CapabilityValueList* values;
    uint32_t flags;
    uint32_t zero1;
} CapabilityEntry;

#if defined(__cplusplus) && __cplusplus >= 201103L
#define KPX_CHECK(condition, message) static_assert(condition, message)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define KPX_CHECK(condition, message) _Static_assert(condition, message)
#else
#define KPX_CHECK(condition, message) extern int kpx__no_check
#endif
#define KPX_CHECK_OFFSET(record, field, offset) \
    KPX_CHECK(offsetof(record, field) == (offset), #record "." #field " is not at " #offset)
#define KPX_CHECK_SIZE(record, size) KPX_CHECK(sizeof(record) == (size), #record " is not of " #size " bytes")

KPX_CHECK(sizeof(void*) == 8, "the records hold 64-bit pointers");
KPX_CHECK_OFFSET(OptionSetting, code, 0);
KPX_CHECK_OFFSET(OptionSetting, value, 4);
KPX_CHECK_SIZE(OptionSetting, 8);
KPX_CHECK_OFFSET(ImageHandle, pluginData, 0);
KPX_CHECK_OFFSET(ImageHandle, formatName, 8);
KPX_CHECK_OFFSET(ImageHandle, name, 16);
KPX_CHECK_OFFSET(ImageHandle, nameIsPath, 24);
KPX_CHECK_OFFSET(ImageHandle, nameContext, 40);
KPX_CHECK_OFFSET(ImageHandle, options, 112);
KPX_CHECK_OFFSET(ImageHandle, channelFormatData, 128);
KPX_CHECK_OFFSET(ImageHandle, hostFlags, 140);
KPX_CHECK_OFFSET(ImageHandle, imageCount, 200);
KPX_CHECK_OFFSET(ImageHandle, descriptor, 208);
KPX_CHECK_OFFSET(ImageHandle, scanlineFunction, 296);
KPX_CHECK_OFFSET(ImageHandle, closeFunction, 304);
KPX_CHECK_SIZE(ImageHandle, 312);
KPX_CHECK_SIZE(PixelWindow, 16);
KPX_CHECK_OFFSET(ImageFileDescriptor, readyFlag, 8);
KPX_CHECK_OFFSET(ImageFileDescriptor, gamma, 12);
KPX_CHECK_OFFSET(ImageFileDescriptor, width, 56);
KPX_CHECK_OFFSET(ImageFileDescriptor, height, 60);
KPX_CHECK_OFFSET(ImageFileDescriptor, aspectRatio, 64);
KPX_CHECK_OFFSET(ImageFileDescriptor, window, 72);
KPX_CHECK_OFFSET(ImageFileDescriptor, secondWindow, 88);
KPX_CHECK_OFFSET(ImageFileDescriptor, orientation, 108);
KPX_CHECK_OFFSET(ImageFileDescriptor, channelFormat, 112);
KPX_CHECK_OFFSET(ImageFileDescriptor, channelCount, 120);
KPX_CHECK_OFFSET(ImageFileDescriptor, channelBytes, 124);
KPX_CHECK_OFFSET(ImageFileDescriptor, channelBits, 128);
KPX_CHECK_OFFSET(ImageFileDescriptor, matteFormat, 136);
KPX_CHECK_OFFSET(ImageFileDescriptor, matteCount, 144);
KPX_CHECK_OFFSET(ImageFileDescriptor, matteBytes, 148);
KPX_CHECK_OFFSET(ImageFileDescriptor, matteBits, 152);
KPX_CHECK_OFFSET(ImageFileDescriptor, auxFormat, 160);
KPX_CHECK_OFFSET(ImageFileDescriptor, auxCount, 168);
KPX_CHECK_OFFSET(ImageFileDescriptor, auxBits, 176);
KPX_CHECK_SIZE(ImageFileDescriptor, 208);
KPX_CHECK_OFFSET(CapabilityValue, code, 0);
KPX_CHECK_OFFSET(CapabilityValue, reserved, 8);
KPX_CHECK_OFFSET(CapabilityValue, catalogSet, 16);
KPX_CHECK_OFFSET(CapabilityValue, messageNumber, 20);
KPX_CHECK_OFFSET(CapabilityValue, defaultText, 24);
KPX_CHECK_SIZE(CapabilityValue, 32);
KPX_CHECK_OFFSET(CapabilityValueList, reserved, 0);
KPX_CHECK_OFFSET(CapabilityValueList, entries, 8);
KPX_CHECK_SIZE(CapabilityValueList, 16);
KPX_CHECK_OFFSET(CapabilityEntry, code, 0);
KPX_CHECK_OFFSET(CapabilityEntry, reserved0, 8);
KPX_CHECK_OFFSET(CapabilityEntry, catalogSet, 16);
KPX_CHECK_OFFSET(CapabilityEntry, messageNumber, 20);
KPX_CHECK_OFFSET(CapabilityEntry, defaultText, 24);
KPX_CHECK_OFFSET(CapabilityEntry, reserved1, 32);
KPX_CHECK_OFFSET(CapabilityEntry, values, 40);
KPX_CHECK_OFFSET(CapabilityEntry, flags, 48);
KPX_CHECK_OFFSET(CapabilityEntry, zero1, 52);
KPX_CHECK_SIZE(CapabilityEntry, 56);

/* Services of the host. */

extern nl_catd kpx__msg_cat;                         /* the host's message catalogue, null or opened before imageInit */
extern int kpx__err;                                 /* code of an error, set by some calls only; see below */
extern const char* KPX_LITERAL_HARD_FORMAT_TYPE_RGB; /* name of the 8-bit RGB channel format */

/*
 * The reason for some failures. Only the result of a call tells whether it failed: successful calls leave an older
 * code here, some failures set none, and all threads share it.
 */

/* Fills handle->descriptor with the host's defaults. */
int kpx__init_ifd(ImageHandle* handle);
/* Builds a path from a name pattern. The host owns the string. Returns null if it cannot be built. */
char* kpx__build_handle(int zero, const char* name, void* nameContext);
/*
 * Releases the handle, its private block, its descriptor and the descriptor's three format strings (from STR_save).
 * The caller owns name, formatName and options.
 */
int kpx__free_obj(ImageHandle* handle);
/*
 * Reports an error (severity 3) or a warning (2) with the catalogue's message, or with `format` if the catalogue has
 * none. Further arguments as for printf.
 */
void ERR_report_cat(nl_catd catalogue, int set, int number, int severity, const char* format, ...);
/* Prints an error. Arguments as for printf. */
void ERR_printf(int level, const char* format, ...);
/*
 * Copy a string; the host owns the copy. Return null if it cannot be allocated. kpx__free_obj releases a copy made by
 * STR_save with its handle; one made by STR_define lasts until the process ends.
 */
char* STR_save(const char* text);
char* STR_define(const char* text);
/* Returns the gamma that the host assumes for images that do not state one. */
float FMT_def_input_gamma(void);

/*
 * The exports of a plug-in. A host finds each by its name: dlsym returns an ImageInitFunction* for imageInit, a
 * const char** for imageName, an int* for imageAccess.
 */

typedef int ImageInitFunction(void);
typedef void ImageCapabilityFunction(CapabilityEntry** table, int* flag1Rows, int* flag2Rows, int* rowCount);
typedef int ImageIsFileFunction(const char* path, FILE* stream);
typedef int ImageOpenFunction(ImageHandle* handle);

/*
 * Fetches the translatable name, extension and name pattern. Call it once, before any other function and
 * before other threads use the plug-in. Returns 1, or 0 if a text cannot be allocated.
 */
ImageInitFunction imageInit;
/* Stores the first row of the option table, and the numbers of rows with flag 1, with flag 2, and of all rows. */
ImageCapabilityFunction imageCapability;
ImageCapabilityFunction KPX_dds_capability; /* the same under the name of the format, here DDS */
/*
 * Returns 1 if the stream has this format, else 0. If the stream is null, tests the file at path. Reads the stream from
 * its start, and leaves it open.
 */
ImageIsFileFunction imageIsFile;
/*
 * Return 1 if the image is open and its callbacks are in the handle, or 0 after a message. imageWriteOpen truncates an
 * existing file; a plug-in may lack this function. Scanline 0 is the bottom row, for reading and writing. The width of
 * a written DDS file is rounded up to a multiple of 4. No call reports a failed write: closeFunction returns 0 on a
 * full disk too. Check the size of the file, as docs/protocol.md describes.
 */
ImageOpenFunction imageReadOpen;
ImageOpenFunction imageWriteOpen;

/*
 * The descriptor variables. A host looks them up by name; only a plug-in declares them, by defining
 * KPX_PLUGIN_VARIABLES before including this header.
 */
#ifdef KPX_PLUGIN_VARIABLES
/* Texts. The first three are null until imageInit has run. */
extern const char* imageName;
extern const char* imageExtension;
extern const char* imageNameSyntax;
extern const char* imageKey;
extern const char* imageFormatString;
extern const char* type;
extern const char* version; /* of this interface: "3.2" */
extern const char* program;
/* Numbers: codes and bit sets of the host. */
extern int imageAccess;
extern int imageSupportsActiveWindow;
extern int imageNumberOfChannels;
extern int imageBitsPerChannel;
extern int imageNumberOfMattes;
extern int imageBitsPerMatte;
extern int imageOrientation;
extern int imageUsage;
extern int imageAddExtension;
extern int imageMultiFrame;
extern int imageNumberOfZChannels;
extern int imageBitsPerZChannel;
extern int imageNumberOfLuts;
extern int imageBitsPerLut;
#endif

#ifdef __cplusplus
}
#endif

#endif
