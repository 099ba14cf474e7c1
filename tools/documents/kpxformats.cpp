// Writes docs/formats.md, the table of formats in words, to standard output.
#include <iostream>
#include <sstream>
#include <string>

#include "dds/formatTable.h"
#include "explain/names.h"

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
    std::ostringstream text;
    if (format.namedBy == NamedBy::masks) {
        text << std::hex << std::uppercase << "R 0x" << format.masks.r << " G 0x" << format.masks.g << " B 0x"
             << format.masks.b << " A 0x" << format.masks.a;
    } else if (format.namedBy == NamedBy::code && format.id > 0xFFFF) {
        for (int i = 0; i < 4; ++i) text << static_cast<char>(format.id >> (8 * i));
    } else {
        text << format.id;
    }
    return text.str();
}

std::string notesOf(const Format& format) {
    struct Note {
        Trait flag;
        const char* text;
    };
    constexpr Note notes[] = {
        {setsAlpha, "has alpha"},         {highBytes, "high byte of 16 bits"},
        {isSnorm, "signed-normalised"},   {isHalf, "16-bit floats"},
        {pixelPairs, "pairs of pixels"},  {linearSizeOnly, "with DDPF_FOURCC only where DDSD_LINEARSIZE is set"},
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
            text << "| " << idOf(format) << " | " << format.name << " | `" << loaderName(format.loader) << "` | ";
            if (format.blockBytes != 0) {
                text << int{format.blockBytes} << " a block";
            } else if (format.bytesPerPixel != 0) {
                text << int{format.bytesPerPixel};
            } else {
                text << "as the header says";
            }
            text << " | `" << layoutRow(format.layout).name << "` | ";
            text << channelCount(format);
            text << " | " << notesOf(format) << " |\n";
        }
    }
}

}  // namespace
}  // namespace kpx

int main() {
    kpx::writeFormats(std::cout);
    return std::cout.flush() ? 0 : 1;
}
