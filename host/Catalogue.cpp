// Opens the message catalogue: the one that catopen finds for the user's language, or the one named by KPX_CATALOG.
#include "host/Catalogue.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include "host/HostError.h"
#include "host/kpxbase.h"

nl_catd kpx__msg_cat = nullptr;

namespace kpx::host {

namespace {

constexpr const char* usualName = "kpxbase.cat";

// Opens a catalogue. Returns null, with errno set, if there is none.
nl_catd catalogueNamed(const char* name) {
    nl_catd catalogue = catopen(name, NL_CAT_LOCALE);
    // POSIX: a failed catopen returns -1, converted to the catalogue type, which is a pointer here.
    return reinterpret_cast<intptr_t>(catalogue) == -1 ? nullptr : catalogue;
}

}  // namespace

void openCatalogue(const std::string& path) {
    closeCatalogue();
    kpx__msg_cat = catalogueNamed(path.c_str());
    const int cause = errno;
    if (kpx__msg_cat == nullptr) {
        throw systemError("cannot open the message catalogue " + path, cause);
    }
}

void closeCatalogue() {
    if (kpx__msg_cat != nullptr) catclose(kpx__msg_cat);
    kpx__msg_cat = nullptr;
}

void openCatalogueOfEnvironment() {
    if (kpx__msg_cat != nullptr) return;
    const char* path = std::getenv("KPX_CATALOG");
    if (path != nullptr && *path != '\0') {
        openCatalogue(path);
    } else {
        kpx__msg_cat = catalogueNamed(usualName);
    }
}

std::string catalogueText(int set, int number, const char* defaultText) {
    if (defaultText == nullptr) defaultText = "";
    return kpx__msg_cat == nullptr ? defaultText : catgets(kpx__msg_cat, set, number, defaultText);
}

}  // namespace kpx::host
