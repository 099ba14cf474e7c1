// The choice of loader, and the sizes of each loader in the order in which it checks them.
#include "reader/loadPlan.h"

#include <algorithm>

#include "dds/dataSize.h"

namespace kpx {
namespace {

// The Direct3D float codes, which are read as floats whatever the flags say. CODE_RGB_FLOAT32 is not among them,
// because it never occurs in a file. Only rewriteForDxgi sets it.
constexpr std::uint32_t firstFloatCode = 111;
constexpr std::uint32_t lastFloatCode = 116;

Choice refused(Loader loader, Refusal refusal, std::uint32_t code) {
    return {loader, nullptr, refusal, code};
}

Choice chooseCompressed(std::uint32_t code) {
    const Format* row = findBlockCode(code);
    if (row != nullptr) return {Loader::compressed, row, Refusal::none, code};
    const Format* other = findCode(code);
    const bool isPixelCode = other != nullptr && other->loader == Loader::d3dFormat;
    return refused(Loader::compressed, isPixelCode ? Refusal::notABlockCode : Refusal::unknownCode, code);
}

// The Direct3D-format loader passes block codes on, except those that need DDSD_LINEARSIZE.
Choice chooseD3DFormat(std::uint32_t code) {
    const Format* row = findCode(code);
    if (row == nullptr || (row->loader != Loader::d3dFormat && row->loader != Loader::compressed)) {
        return refused(Loader::d3dFormat, Refusal::unknownCode, code);
    }
    if (row->has(linearSizeOnly)) return refused(Loader::d3dFormat, Refusal::linearSizeNeeded, code);
    return {Loader::d3dFormat, row, Refusal::none, code};
}

std::uint32_t luminanceCode(const DDS_PIXELFORMAT& format) {
    if ((format.dwFlags & DDPF_ALPHAPIXELS) != 0) return CODE_DUAL8;
    return format.dwRGBBitCount == 16 ? CODE_SINGLE16 : CODE_SINGLE8;
}

Choice chooseWithCode(const DDS_HEADER& header) {
    const std::uint32_t flags = header.ddspf.dwFlags;
    const std::uint32_t code = header.ddspf.dwFourCC;
    if (code == dx10Code) return {Loader::dx10, nullptr, Refusal::none, code};
    if ((header.dwFlags & DDSD_LINEARSIZE) != 0) return chooseCompressed(code);
    if ((flags & anyPaletteFlag) != 0) return {Loader::palettised, &findPalette(flags), Refusal::none, code};
    return chooseD3DFormat(code);
}

Choice chooseWithoutCode(const DDS_PIXELFORMAT& format) {
    const std::uint32_t code = format.dwFourCC;
    if ((format.dwFlags & anyPaletteFlag) != 0) {
        return {Loader::palettised, &findPalette(format.dwFlags), Refusal::none, code};
    }
    if ((format.dwFlags & DDPF_LUMINANCE) != 0) return chooseD3DFormat(luminanceCode(format));
    if (code == 0) return refused(Loader::none, Refusal::nothingNamed, code);
    return chooseCompressed(code);
}

void refuse(LoadPlan& plan, Refusal refusal, const char* printed = nullptr) {
    (plan.refusal == Refusal::none ? plan.refusal : plan.secondRefusal) = refusal;
    if (plan.printed == nullptr) plan.printed = printed;
}

void applyFormat(LoadPlan& plan, const Format& format) {
    plan.layout = format.layout;
    plan.channels = format.channels;
    plan.bits = layoutRow(format.layout).isFloat ? 32 : 8;
    if (format.has(setsAlpha)) plan.pixelFormat.dwFlags |= DDPF_ALPHAPIXELS;
}

// Sets the expected bytes of a format that is stored in rows. A file with fewer rows is not refused.
void expectRows(LoadPlan& plan, std::uint64_t fileRowBytes) {
    plan.fileRowBytes = fileRowBytes;
    plan.bytesExpected = saturatingProduct(fileRowBytes, plan.height);
}

// Adds the picture in memory, or refuses it. limitRowBytes is the row size that the limit applies to.
void planPicture(LoadPlan& plan, std::uint64_t storedRowBytes, std::uint64_t limitRowBytes, const char* printed) {
    plan.storedRowBytes = storedRowBytes;
    plan.pictureBytes = saturatingProduct(limitRowBytes, plan.height);
    if (isSideTooLarge(plan.width, plan.height)) return refuse(plan, Refusal::sideTooLarge, printed);
    if (plan.pictureBytes > largestBlock) refuse(plan, Refusal::pictureTooLarge, printed);
}

void planUncompressed(LoadPlan& plan, const Format& format) {
    // For alpha-only data the file's alpha mask chooses the row, also under a DX10 header.
    const Format& row = format.channels == 1 ? findMasks(plan.pixelFormat) : format;
    plan.channels = maskedChannels(plan.pixelFormat);
    plan.layout = row.layout;
    plan.bytesPerPixel = maskedPixelBytes(plan.pixelFormat);
    const std::uint64_t rowBytes = maskedRowBytes(plan.pixelFormat, plan.width);
    expectRows(plan, rowBytes);
    planPicture(plan, rowBytes, rowBytes, noMemoryMessage);
    // Without a picture the flags do not change.
    if (plan.refusal == Refusal::none && row.has(setsAlpha)) plan.pixelFormat.dwFlags |= DDPF_ALPHAPIXELS;
}

void planFloats(LoadPlan& plan, const Format& format) {
    applyFormat(plan, format);
    expectRows(plan, floatFileRowBytes(format, plan.width));
    plan.rowBytes = plan.fileRowBytes;
    // A row of the file is never longer than a row of the picture, so one limit covers both. These loaders print
    // nothing.
    const std::uint64_t rowBytes = floatRowBytes(format, plan.width);
    planPicture(plan, rowBytes, rowBytes, nullptr);
}

void planPalettised(LoadPlan& plan, const Format& format) {
    applyFormat(plan, format);
    plan.pixelFormat.dwRGBBitCount = 8 * paletteEntryBytes;
    plan.bytesPerPixel = paletteEntryBytes;
    plan.bytesExpected = palettisedBytes(format, plan.width, plan.height);
    const std::uint64_t rowBytes = palettisedRowBytes(plan.width);
    planPicture(plan, rowBytes, rowBytes, noMemoryMessage);
}

void planD3DFormat(LoadPlan& plan, const Format& format) {
    applyFormat(plan, format);
    plan.bytesPerPixel = format.channels;
    expectRows(plan, codeFileRowBytes(format, plan.width));
    planPicture(plan, codeStoredRowBytes(format, plan.width), codeLimitRowBytes(format, plan.width), noMemoryMessage);
}

void planCompressed(LoadPlan& plan, const Format* format, std::uint32_t linearSize) {
    // The fields are set for an unknown code too, which fails only after its data has been read.
    plan.pixelFormat.dwRGBBitCount = 32;
    plan.pixelFormat.dwFlags |= DDPF_ALPHAPIXELS;
    plan.channels = 4;
    plan.layout = BytesARGB;
    if (format != nullptr) applyFormat(plan, *format);
    // If the picture fits 4 GiB, so does its data: a block has at most 16 bytes, and a single column of its texels
    // already takes 16 bytes in memory.
    plan.bytesExpected = compressedBytes(plan.width, plan.height, blockBytesOf(format), linearSize);
    const std::uint64_t rowBytes = compressedRowBytes(format, plan.width);
    planPicture(plan, rowBytes, rowBytes, noMemoryMessage);
}

// The choice by the header, then by the DX10 header if there is one.
struct FullChoice {
    Choice first;
    Choice last;
    bool isDx10Cut;
    DDS_PIXELFORMAT pixelFormat;  // rewritten for the loader
};

FullChoice chooseFully(const DDS_HEADER& header, const DDS_HEADER_DXT10& dx10Header, std::uint64_t bytesAfterHeader) {
    const Choice first = chooseLoader(header);
    FullChoice choice{first, first, false, header.ddspf};
    choice.pixelFormat.dwFourCC = first.code;
    if (first.loader != Loader::dx10) return choice;
    choice.isDx10Cut = bytesAfterHeader < sizeof dx10Header;
    if (choice.isDx10Cut) return choice;
    choice.last = chooseDxgi(dx10Header);
    if (choice.last.format != nullptr) rewriteForDxgi(choice.last, choice.pixelFormat);
    return choice;
}

Loader decoderOf(const Choice& choice) {
    return choice.format == nullptr ? choice.loader : choice.format->loader;
}

// Refuses data that is too short. Loaders of rows accept partial data.
void countData(LoadPlan& plan) {
    const bool isWholeOrNothing = plan.decoder == Loader::palettised || plan.decoder == Loader::compressed;
    if (!isWholeOrNothing) {
        const std::uint64_t rows = plan.fileRowBytes == 0 ? plan.height : plan.bytesPresent / plan.fileRowBytes;
        plan.wholeRows = std::min<std::uint64_t>(rows, plan.height);
    } else if (plan.bytesPresent >= plan.bytesExpected) {
        plan.wholeRows = plan.height;
    } else if (plan.decoder == Loader::palettised) {
        refuse(plan, Refusal::paletteShort, noDataMessage);
    } else {
        const bool isCompleteWithoutLinearSize =
            plan.bytesPresent >= compressedBytes(plan.width, plan.height, blockBytesOf(plan.format), 0);
        refuse(plan, isCompleteWithoutLinearSize ? Refusal::linearSizeTooLarge : Refusal::dataShort, noDataMessage);
    }
}

void becomeBlack(LoadPlan& plan) {
    plan.width = plan.height = fallbackSide;
    plan.channels = 4;
    plan.bits = 8;
    plan.layout = BytesABGR;
    plan.wholeRows = 0;
}

}  // namespace

Choice chooseLoader(const DDS_HEADER& header) {
    const std::uint32_t flags = header.ddspf.dwFlags;
    const std::uint32_t code = header.ddspf.dwFourCC;
    if (code >= firstFloatCode && code <= lastFloatCode) {
        return {Loader::floatingPoint, findCode(code), Refusal::none, code};
    }
    if ((flags & (DDPF_RGB | DDPF_ALPHA)) != 0) {
        return {Loader::uncompressed, &findMasks(header.ddspf), Refusal::none, code};
    }
    if ((flags & DDPF_FOURCC) != 0) return chooseWithCode(header);
    return chooseWithoutCode(header.ddspf);
}

Choice chooseDxgi(const DDS_HEADER_DXT10& dx10Header) {
    if (dx10Header.dxgiFormat > largestDxgiFormat) return refused(Loader::none, Refusal::dxgiTooLarge, 0);
    const bool premultiplied = (dx10Header.miscFlags2 & alphaModeMask) == alphaModePremultiplied;
    const Format* row = premultiplied ? findPremultipliedDxgi(dx10Header.dxgiFormat) : nullptr;
    if (row == nullptr) row = findDxgi(dx10Header.dxgiFormat);
    if (row == nullptr) return refused(Loader::none, Refusal::dxgiRejected, 0);
    return {row->loader, row, Refusal::none, row->code};
}

void rewriteForDxgi(const Choice& choice, DDS_PIXELFORMAT& pixelFormat) {
    const Format& format = *choice.format;
    if (format.loader != Loader::uncompressed) {
        if (choice.code != 0) pixelFormat.dwFourCC = choice.code;
    } else if (format.channels == 1) {
        pixelFormat.dwFlags |= DDPF_ALPHA;
        pixelFormat.dwRGBBitCount = 8;
        if (pixelFormat.dwABitMask == 0) pixelFormat.dwABitMask = format.masks.a;
    } else {
        pixelFormat.dwFlags |= DDPF_ALPHAPIXELS;
        pixelFormat.dwRGBBitCount = 32;
        pixelFormat.dwRBitMask = format.masks.r;
        pixelFormat.dwGBitMask = format.masks.g;
        pixelFormat.dwBBitMask = format.masks.b;
        pixelFormat.dwABitMask = format.masks.a;
    }
}

const Format* formatFor(Loader loader, const DDS_PIXELFORMAT& pixelFormat, const DDS_HEADER_DXT10& dx10Header) {
    constexpr std::uint32_t dxgiR11G11B10 = 26, dxgiR9G9B9E5 = 67;
    switch (loader) {
        case Loader::uncompressed:
            return &findMasks(pixelFormat);
        case Loader::palettised:
            return &findPalette(pixelFormat.dwFlags);
        case Loader::r11g11b10:
            return findDxgi(dxgiR11G11B10);
        case Loader::r9g9b9e5:
            return findDxgi(dxgiR9G9B9E5);
        case Loader::floatingPoint: {
            const Format* row = findCode(pixelFormat.dwFourCC);
            return row != nullptr && row->loader == Loader::floatingPoint ? row : nullptr;
        }
        case Loader::d3dFormat:
            return chooseD3DFormat(pixelFormat.dwFourCC).format;
        case Loader::compressed: {
            const Format* row = findBlockCode(pixelFormat.dwFourCC);
            const bool isBC6H = row != nullptr && row->kernel == BlockKernel::bc6hUnsigned;
            return isBC6H && dx10Header.dxgiFormat == dxgiBC6HSigned ? findDxgi(dxgiBC6HSigned) : row;
        }
        case Loader::none:
        case Loader::dx10:
            break;
    }
    return nullptr;
}

LoadPlan planLoader(Loader loader, const Format* format, const DDS_HEADER& header) {
    LoadPlan plan{};
    plan.format = format;
    plan.loader = plan.decoder = loader;
    plan.width = header.dwWidth;
    plan.height = header.dwHeight;
    plan.pixelFormat = header.ddspf;
    plan.channels = maskedChannels(header.ddspf);
    plan.bits = 8;
    if (loader == Loader::compressed) {
        planCompressed(plan, format, header.dwPitchOrLinearSize);
    } else if (format == nullptr) {
        return plan;
    } else if (loader == Loader::uncompressed) {
        planUncompressed(plan, *format);
    } else if (loader == Loader::palettised) {
        planPalettised(plan, *format);
    } else if (loader == Loader::d3dFormat) {
        planD3DFormat(plan, *format);
    } else {
        planFloats(plan, *format);
    }
    return plan;
}

LoadPlan planLoad(const DDS_HEADER& header, const DDS_HEADER_DXT10& dx10Header, std::uint64_t bytesAfterHeader) {
    const FullChoice choice = chooseFully(header, dx10Header, bytesAfterHeader);
    DDS_HEADER rewritten = header;
    rewritten.ddspf = choice.pixelFormat;
    LoadPlan plan = planLoader(decoderOf(choice.last), choice.last.format, rewritten);
    plan.loader = choice.first.loader;
    const bool hasDx10Header = choice.first.loader == Loader::dx10 && !choice.isDx10Cut;
    plan.bytesPresent = bytesAfterHeader - (hasDx10Header ? sizeof dx10Header : 0);

    const bool isRead = plan.format != nullptr || plan.decoder == Loader::compressed;
    if (isRead && plan.refusal == Refusal::none) countData(plan);
    const Refusal chosen = choice.isDx10Cut ? Refusal::dx10HeaderCut : choice.last.refusal;
    if (chosen != Refusal::none) {
        plan.secondRefusal = plan.refusal;
        plan.refusal = chosen;
    }
    if (plan.refusal == Refusal::none) {
        const std::uint64_t bytes = channelRowsBytes(plan.width, plan.height, plan.channels, plan.bits);
        plan.rowBytes = std::max(plan.rowBytes, bytes);
        if (bytes > largestBlock) refuse(plan, Refusal::rowTooLarge);
    }
    if (plan.refusal != Refusal::none) becomeBlack(plan);
    plan.hasAlpha = (plan.pixelFormat.dwFlags & DDPF_ALPHAPIXELS) != 0;
    return plan;
}

}  // namespace kpx
