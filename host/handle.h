// Creates image handles. kpx__free_obj, which a plug-in's close function calls, releases them.
#pragma once

#include <string>

#include "host/kpxbase.h"

namespace kpx::host {

// Returns a new handle for the image at `path`, all other fields zero. The handle borrows the path and the format name,
// which must outlive it. Throws std::bad_alloc.
ImageHandle* newHandle(std::string& path, const char* formatName);

}  // namespace kpx::host
