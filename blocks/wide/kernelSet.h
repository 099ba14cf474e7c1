// Makes a kernel set of the wide kernels, which are written once for a vector Wide of two 128-bit lanes. Every kernel
// writes the same bytes as its plain counterpart.
//
// A source first includes the operations of its processor. They define Wide, and the macros KPX_TARGET and KPX_INLINE,
// which compile a function for that processor. Templates over the vector type would need the macros as well: both
// compilers refuse to inline an operation into a function for another target ("target specific option mismatch"), and
// an attribute cannot depend on a template argument.
#pragma once

#include "blocks/kernels.h"
#include "blocks/wide/bc1to5.h"
#include "blocks/wide/bc6h.h"
#include "blocks/wide/bc7.h"
#include "blocks/wide/loading.h"
#include "blocks/wide/rows.h"

namespace {

constexpr kpx::KernelSet makeWideSet(const char* name, bool (*runsHere)()) {
    using enum kpx::BlockKernel;
    return {
        .name = name,
        .runsHere = runsHere,
        .strips = {{bc1, pairStrip<8, bc1Pair>},
                   {bc2, pairStrip<16, bc2Pair<false>>},
                   {bc2Premultiplied, pairStrip<16, bc2Pair<true>>},
                   {bc3, pairStrip<16, bc3Pair<false>>},
                   {bc3Premultiplied, pairStrip<16, bc3Pair<true>>},
                   {bc4Unsigned, pairStrip<8, bc4Pair<false>>},
                   {bc4Signed, pairStrip<8, bc4Pair<true>>},
                   {bc5Unsigned, pairStrip<16, bc5Pair<false>>},
                   {bc5Signed, pairStrip<16, bc5Pair<true>>},
                   {bc6hUnsigned, bc6hStrip<false>},
                   {bc6hSigned, bc6hStrip<true>},
                   {bc7, bc7Strip}},
        .splitBytes2 = split2<unsigned char>,
        .splitBytes3 = splitBytes3,
        .splitBytes4 = splitBytes4,
        .splitFloats2 = split2<float>,
        .splitFloats3 = splitFloats3,
        .splitFloats4 = splitFloats4,
        .extractMasks = extractMasks,
        .joinBytes3 = joinBytes3,
        .joinBytes4 = joinBytes4,
        .pickByteEntries = pickByteEntries,
        .pickNibbleEntries = pickNibbleEntries,
        .expandPairs = expandPairs,
        .halfsToFloats = halfsToFloats,
        .r11g11b10ToFloats = r11g11b10ToFloats,
        .r9g9b9e5ToFloats = r9g9b9e5ToFloats,
        .highBytes = highBytes,
        .snormToUnorm = snormToUnorm,
    };
}

}  // namespace
