#include "host/Catalogue.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "host/HostError.h"
#include "host/kpxbase.h"

nl_catd kpx__msg_cat = nullptr;

namespace kpx::host {

void openCatalogue(const std::string& path) {
    closeCatalogue();
    nl_catd opened = catopen(path.c_str(), NL_CAT_LOCALE);
    // POSIX: a failure is the value -1 in the type of a catalogue, which is a pointer.
    if (reinterpret_cast<intptr_t>(opened) == -1) {
        throw HostError("cannot open the message catalogue " + path + ": " + std::strerror(errno));
    }
    kpx__msg_cat = opened;
}

void closeCatalogue() {
    if (kpx__msg_cat != nullptr) catclose(kpx__msg_cat);
    kpx__msg_cat = nullptr;
}

void openCatalogueOfEnvironment() {
    const char* path = std::getenv("KPX_CATALOG");
    if (path != nullptr && *path != '\0' && kpx__msg_cat == nullptr) openCatalogue(path);
}

std::string catalogueText(int set, int number, const char* defaultText) {
    if (defaultText == nullptr) defaultText = "";
    return kpx__msg_cat == nullptr ? defaultText : catgets(kpx__msg_cat, set, number, defaultText);
}

}  // namespace kpx::host
