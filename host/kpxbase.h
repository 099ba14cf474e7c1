/*
 * The interface between the host image library libKPXbase and its format plug-ins: the records that
 * both sides read and write at fixed offsets, the option table's rows, the services that the host
 * supplies, and the entry points that a plug-in exports. Plain C, so that hosts in C can use it.
 *
 * The offsets are the binary interface (64-bit pointers, little-endian). Bytes named m_hostN are the
 * host's own: a plug-in leaves them as they are.
 */
#ifndef KPXBASE_H
#define KPXBASE_H

#include <assert.h>
#include <nl_types.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

struct ImageHandle;
struct ImageFileDescriptor;

/* Reading: stores an array of row pointers, one a channel, in *rows; 0, or -2 on failure. */
typedef int (*ScanlineReadFunction)(void* object, int y, unsigned char*** rows);
/* Writing: takes one row pointer a channel; 0, or -2 on failure. */
typedef int (*ScanlineWriteFunction)(void* object, int y, unsigned char** rows);
/* What the slot of ImageHandle holds before it is known whether the image is read or written. */
typedef void (*ScanlineFunction)(void);
typedef int (*CloseFunction)(struct ImageHandle* handle);

/* One option chosen for an image. Of the value only the first byte is read. */
typedef struct OptionSetting {
    uint16_t code; /* an option code of the plug-in's table */
    uint16_t m_host0;
    uint8_t value[4];
} OptionSetting;

/* The host's record of one image being read or written; allocated and released by the host. */
typedef struct ImageHandle {
    void** pluginData;      /* the plug-in's private block: one pointer to its reader or writer */
    const char* formatName; /* the format's name, the subject of messages */
    char* name;             /* the path, or the pattern from which kpx__build_handle makes it */
    uint8_t nameIsPath;     /* non-zero: name is the path itself */
    uint8_t m_host0[15];
    void* nameContext; /* handed to kpx__build_handle by value */
    uint8_t m_host1[64];
    OptionSetting** options; /* null, or pointers ended by a null pointer */
    uint8_t m_host2[8];
    void* channelFormatData; /* non-null: the plug-in refuses to write the image */
    uint8_t m_host3[4];
    int32_t hostFlags;
    uint8_t m_host4[56];
    int32_t imageCount; /* images in the file */
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
 * The host's description of an image. On reading the plug-in allocates it with the C allocator and
 * the host releases it; on writing the host supplies it.
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
    int32_t channelCount;
    int32_t channelBytes; /* 1 or 2; 2 also stands beside channelBits 32 */
    int32_t channelBits;
    uint8_t m_host4[4];
    char* matteFormat;
    int32_t matteCount;
    int32_t matteBytes;
    int32_t matteBits;
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
    int32_t catalogSet; /* with messageNumber and defaultText: a catgets look-up of the display name */
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

#define KPX_CHECK_OFFSET(record, field, offset) \
    static_assert(offsetof(record, field) == (offset), #record "." #field " is not at " #offset)
#define KPX_CHECK_SIZE(record, size) static_assert(sizeof(record) == (size), #record " is not of " #size " bytes")

static_assert(sizeof(void*) == 8, "the records hold 64-bit pointers");
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

extern nl_catd kpx__msg_cat;                         /* the host's message catalogue; null when none is open */
extern int kpx__err;                                 /* the error code of the last call */
extern const char* KPX_LITERAL_HARD_FORMAT_TYPE_RGB; /* name of the 8-bit RGB channel format */

/* Fills handle->descriptor with the host's defaults. */
int kpx__init_ifd(ImageHandle* handle);
/* Builds a path from a name pattern; the host keeps the string. Null when it cannot be built. */
char* kpx__build_handle(int zero, const char* name, void* nameContext);
/* Releases the handle, its descriptor and its strings. */
int kpx__free_obj(ImageHandle* handle);
/* Reports an error: the catalogue's message when it has one, else the format; printf-style. */
void ERR_report_cat(nl_catd catalogue, int set, int number, int severity, const char* format, ...);
/* Prints an error, printf-style. */
void ERR_printf(int level, const char* format, ...);
/* Host-held copies of a string; null when there is no memory. */
char* STR_save(const char* text);
char* STR_define(const char* text);
/* The gamma that the host assumes for images that state none. */
float FMT_def_input_gamma(void);

/*
 * What a plug-in exports. A host that loads it finds each by its name: dlsym gives an ImageInitFunction* for imageInit,
 * a const char** for imageName, an int* for imageAccess.
 */

typedef int ImageInitFunction(void);
typedef void ImageCapabilityFunction(CapabilityEntry** table, int* flag1Rows, int* flag2Rows, int* rowCount);
typedef int ImageIsFileFunction(const char* path, FILE* stream);
typedef int ImageOpenFunction(ImageHandle* handle);

/* To be called first: fetches the translatable name, extension and name pattern; 1, or 0 when one cannot be had. */
ImageInitFunction imageInit;
/* The option table's first row, how many rows have flag value 1 and flag value 2, and how many there are. */
ImageCapabilityFunction imageCapability;
ImageCapabilityFunction KPX_dds_capability; /* the same under the name of the format, here DDS */
/* 1 when the stream, or where that is null the file at path, is one of the format; else 0. A stream stays open. */
ImageIsFileFunction imageIsFile;
/* 1 when the image is open and its callbacks stand in the handle; 0 after a message. A plug-in may not write. */
ImageOpenFunction imageReadOpen;
ImageOpenFunction imageWriteOpen;

/* Texts; the first three are null until imageInit has run. */
extern const char* imageName;
extern const char* imageExtension;
extern const char* imageNameSyntax;
extern const char* imageKey;
extern const char* imageFormatString;
extern const char* type;
extern const char* version; /* of this interface: "3.2" */
extern const char* program;
/* Numbers: the host's codes and sets of bits. */
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

#ifdef __cplusplus
}
#endif

#endif
