// Writes docs/formats.md, the table of formats in words, to standard output.
#include <iostream>
#include <string>

#include "dds/formatTable.h"
#include "explain/names.h"
#include "explain/text.h"

namespace kpx {
namespace {

struct Section {
    NamedBy namedBy;
    const char* title;
};
constexpr Section sections[] = {
    {NamedBy::code, "Codes of dwFourCC"},
    {NamedBy::dxgi, "DXGI formats of the DX10 header"},
    {NamedBy::masks, "Bit masks"},
    {NamedBy::palette, "Palettes"},
};

std::string idOf(const Format& format) {
    const Masks& masks = format.masks;
    if (format.namedBy == NamedBy::masks)
        return textOf("R ", hex(masks.r), " G ", hex(masks.g), " B ", hex(masks.b), " A ", hex(masks.a));
    return format.namedBy == NamedBy::code ? codeText(format.id) : std::to_string(format.id);
}

std::string bytesOf(const Format& format) {
    if (format.blockBytes != 0) return textOf(int{format.blockBytes}, " per block");
    return format.bytesPerPixel == 0 ? "as the header says" : std::to_string(format.bytesPerPixel);
}

std::string notesOf(const Format& format) {
    struct Note {
        Trait flag;
        const char* text;
    };
    constexpr Note notes[] = {
        {setsAlpha, "has alpha"},         {highBytes, "high byte of 16 bits"},
        {isSnorm, "signed-normalised"},   {isHalf, "16-bit floats"},
        {pixelPairs, "pairs of pixels"},  {linearSizeOnly, "with DDPF_FOURCC only if DDSD_LINEARSIZE is set"},
        {nibbleIndices, "4-bit indices"}, {smallPalette, "16 entries"},
    };
    std::string text;
    for (const Note& note : notes) {
        if (format.has(note.flag)) text += (text.empty() ? "" : ", ") + std::string(note.text);
    }
    return text;
}

void writeFormats(std::ostream& text) {
    text << "# Formats\n\nEvery row of the table of formats (`dds/formatTable.cpp`), made from it.\n";
    for (const Section& section : sections) {
        text << "\n## " << section.title
             << "\n\n| | name | loader | bytes | layout | channels | notes |\n|---|---|---|---|---|---|---|\n";
        for (const Format& format : formatTable()) {
            if (format.namedBy != section.namedBy) continue;
            text << "| " << idOf(format) << " | " << format.name << " | `" << loaderName(format.loader) << "` | "
                 << bytesOf(format) << " | `" << layoutRow(format.layout).name << "` | " << channelCount(format)
                 << " | " << notesOf(format) << " |\n";
        }
    }
}

}  // namespace
}  // namespace kpx

int main() {
    kpx::writeFormats(std::cout);
    return std::cout.flush() ? 0 : 1;
}
