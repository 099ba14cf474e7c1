#include "host/Catalogue.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "host/HostError.h"
#include "host/kpxbase.h"

nl_catd kpx__msg_cat = nullptr;

namespace kpx::host {

void openCatalogue(const std::string& path) {
    closeCatalogue();
    // What catopen returns when it fails; nl_catd is a pointer type.
    const nl_catd failed = reinterpret_cast<nl_catd>(-1);
    const nl_catd opened = catopen(path.c_str(), NL_CAT_LOCALE);
    if (opened == failed) throw HostError("cannot open the message catalogue " + path + ": " + std::strerror(errno));
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
