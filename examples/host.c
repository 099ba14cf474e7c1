/*
 * A complete host in C: it supplies the services that a plug-in needs and reads one image through the protocol.
 *   host PLUGIN FILE    prints the size, the channels and the sum of all bytes
 * To build it: cc -rdynamic host.c -o host $(pkg-config --cflags kpxbase) -ldl
 */
#define _POSIX_C_SOURCE 200809L /* declares strdup, also with -std=c99 */
#include <dlfcn.h>
#include <kpxbase.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

nl_catd kpx__msg_cat = NULL;
int kpx__err = 0;
const char* KPX_LITERAL_HARD_FORMAT_TYPE_RGB = "RGB";

int kpx__init_ifd(ImageHandle* handle) {
    memset(handle->descriptor, 0, sizeof *handle->descriptor);
    handle->descriptor->matteBytes = 1;
    return 0;
}

char* kpx__build_handle(int zero, const char* name, void* nameContext) {
    (void)zero;
    (void)name;
    (void)nameContext;
    return NULL; /* all names are paths here */
}

int kpx__free_obj(ImageHandle* handle) {
    if (handle->descriptor != NULL) {
        free(handle->descriptor->channelFormat);
        free(handle->descriptor->matteFormat);
        free(handle->descriptor);
    }
    free(handle->pluginData);
    free(handle);
    return 0;
}

static void report(const char* format, va_list arguments) {
    vfprintf(stderr, format, arguments);
    fputc('\n', stderr);
}

void ERR_report_cat(nl_catd catalogue, int set, int number, int severity, const char* format, ...) {
    va_list arguments;
    (void)catalogue;
    fprintf(stderr, "%d.%d (%d): ", set, number, severity);
    va_start(arguments, format);
    report(format, arguments);
    va_end(arguments);
}

void ERR_printf(int level, const char* format, ...) {
    va_list arguments;
    (void)level;
    va_start(arguments, format);
    report(format, arguments);
    va_end(arguments);
}

char* STR_save(const char* text) {
    return strdup(text);
}
char* STR_define(const char* text) {
    return strdup(text);
}
float FMT_def_input_gamma(void) {
    return 2.2F;
}

int main(int count, char** words) {
    void* plugin = count == 3 ? dlopen(words[1], RTLD_NOW) : NULL;
    ImageInitFunction* init;
    ImageOpenFunction* readOpen;
    const char** formatName;
    ImageHandle* handle;
    unsigned long sum = 0;
    if (plugin == NULL) {
        fprintf(stderr, "%s\n", count == 3 ? dlerror() : "host PLUGIN FILE");
        return 2;
    }
    *(void**)&init = dlsym(plugin, "imageInit");
    *(void**)&readOpen = dlsym(plugin, "imageReadOpen");
    formatName = dlsym(plugin, "imageName");
    if (init == NULL || readOpen == NULL || formatName == NULL || init() != 1) return 2;

    handle = calloc(1, sizeof *handle);
    if (handle == NULL) return 2;
    handle->formatName = *formatName;
    handle->name = words[2];
    handle->nameIsPath = 1;
    if (readOpen(handle) != 1) return kpx__free_obj(handle) + 1;
    const ImageFileDescriptor* image = handle->descriptor;
    const ScanlineReadFunction scanline = (ScanlineReadFunction)handle->scanlineFunction;
    const int channels = image->channelCount + image->matteCount;
    const size_t rowBytes = (size_t)image->width * (size_t)image->channelBits / 8;
    printf("%d x %d, %d channels of %d bits\n", image->width, image->height, channels, image->channelBits);
    for (int y = 0; y < image->height; ++y) {
        unsigned char** rows;
        if (scanline(*handle->pluginData, y, &rows) != 0) return handle->closeFunction(handle) + 1;
        for (int c = 0; c < channels; ++c) {
            for (size_t i = 0; i < rowBytes; ++i) sum += rows[c][i];
        }
    }
    printf("sum of all bytes %lu\n", sum);
    return handle->closeFunction(handle);
}
