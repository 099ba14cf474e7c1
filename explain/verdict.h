// What becomes of a file: the reader's own plan of loading it, from the file's headers and size.
#pragma once

#include <cstdint>

#include "explain/fileFacts.h"
#include "reader/loadPlan.h"

namespace kpx {

enum class Result : std::uint8_t {
    decoded,  // the file's own picture
    black,    // the 64 by 64 opaque black picture
    refused,  // no picture: the file cannot be opened
};

// Returns "decoded", "black" or "refused".
const char* resultName(Result result);

struct Verdict : LoadPlan {
    Result result;
};

// Assumes that there is as much memory as the limits allow.
Verdict judge(const FileFacts& facts);

}  // namespace kpx
