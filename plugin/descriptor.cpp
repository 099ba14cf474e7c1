// The exported variables, which describe the plug-in to the host. Three of the strings are translatable; the integers
// are codes of the host. The plug-in itself never reads them.
#define KPX_PLUGIN_VARIABLES
#include "plugin/protocol.h"

extern "C" {

const char* imageKey = "dds";
const char* imageName = nullptr;
const char* imageExtension = nullptr;
const char* imageNameSyntax = nullptr;
const char* imageFormatString = "%s%d.%s";
const char* type = "image";
const char* version = "3.2";  // of the protocol, which hosts compare; not the version of the project
const char* program = "Orvanel";
int imageAccess = 76;
int imageSupportsActiveWindow = 1;
int imageNumberOfChannels = 3;
int imageBitsPerChannel = 128;
int imageNumberOfMattes = 1;
int imageBitsPerMatte = 255;
int imageOrientation = kpx::bottomUpOrientation;
int imageUsage = 1;
int imageAddExtension = 1;
int imageMultiFrame = 0;
int imageNumberOfZChannels = 0;
int imageBitsPerZChannel = 0;
int imageNumberOfLuts = 0;
int imageBitsPerLut = 0;

int imageInit(void) {
    imageName = STR_define(kpx::translated(423, "DDS"));
    if (imageName == nullptr) return 0;
    imageExtension = STR_define(kpx::translated(422, ".dds"));
    if (imageExtension == nullptr) return 0;
    imageNameSyntax = STR_save(kpx::translated(424, "Name#.Ext"));
    return imageNameSyntax != nullptr ? 1 : 0;
}

}  // extern "C"
