// The host's message catalogue, kpx__msg_cat: at most one is open, and it is opened and closed while no
// other thread uses the host.
#pragma once

#include <string>

namespace kpx::host {

// Opens the catalogue at a path (or by a name that catopen knows) in place of the present one.
// Throws HostError when there is none; then no catalogue is open.
void openCatalogue(const std::string& path);
void closeCatalogue();

// Unless one is open: opens the catalogue that the environment variable KPX_CATALOG names, else kpxbase.cat where
// catopen finds it (NLSPATH, then the system's folders) for the locale that the program has set. That there is no
// kpxbase.cat is no error.
void openCatalogueOfEnvironment();

// The catalogue's text, or the default where no catalogue is open or it lacks the message.
std::string catalogueText(int set, int number, const char* defaultText);

}  // namespace kpx::host
