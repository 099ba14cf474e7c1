// The kernels for two 128-bit lanes, written once over the operations that the including source has defined before, and
// the making of a kernel set from them. Every kernel writes what its plain twin writes.
#pragma once

#include "blocks/kernels.h"
#include "blocks/wide/bc1to5.h"
#include "blocks/wide/bc6h.h"
#include "blocks/wide/bc7.h"
#include "blocks/wide/loading.h"
#include "blocks/wide/rows.h"

namespace {

constexpr kpx::KernelSet makeWideSet(const char* name, bool (*runsHere)()) {
    return {
        name,
        runsHere,
        {nullptr, bc1Strip, bc2Strip, bc2PremultipliedStrip, bc3Strip, bc3PremultipliedStrip, bc4UnsignedStrip,
         bc4SignedStrip, bc5UnsignedStrip, bc5SignedStrip, bc6hStrip<false>, bc6hStrip<true>, bc7Strip},
        split2<unsigned char>,
        splitBytes3,
        splitBytes4,
        split2<float>,
        splitFloats3,
        splitFloats4,
        extractMasks,
        joinBytes3,
        joinBytes4,
        pickByteEntries,
        pickNibbleEntries,
        expandPairs,
        halfsToFloats,
        r11g11b10ToFloats,
        r9g9b9e5ToFloats,
        highBytes,
        snormToUnorm,
    };
}

}  // namespace
