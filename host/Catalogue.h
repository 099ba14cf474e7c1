// The host's message catalogue, kpx__msg_cat. At most one is open. Opening and closing it is not thread-safe.
#pragma once

#include <string>

namespace kpx::host {

// Closes the current catalogue and opens the one at a path, or with a name that catopen finds. Throws HostError if
// there is none; then no catalogue is open.
void openCatalogue(const std::string& path);
void closeCatalogue();

// Unless a catalogue is open, opens the one that the environment variable KPX_CATALOG names, else kpxbase.cat where
// catopen finds it for the program's locale (NLSPATH, then the system's folders). A missing kpxbase.cat is not an
// error.
void openCatalogueOfEnvironment();

// Returns the text from the catalogue; the default if no catalogue is open or it lacks the message.
std::string catalogueText(int set, int number, const char* defaultText);

}  // namespace kpx::host
