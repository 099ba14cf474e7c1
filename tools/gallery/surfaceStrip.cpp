// Surfaces become files of their own, as "split" makes them.
#include "tools/gallery/surfaceStrip.h"

#include "explain/surfaces.h"
#include "explain/text.h"
#include "tools/files/PendingFile.h"
#include "tools/gallery/galleryPictures.h"
#include "tools/repair/ddsCopy.h"
#include "tools/terminal/interrupts.h"

namespace kpx::tool {
namespace {

class Strip {
public:
    Strip(const host::Plugin& plugin, const OpenFile& file, const SurfaceLayout& layout, double exposure)
        : m_plugin(plugin), m_source(file), m_layout(layout), m_exposure(exposure) {}

    [[nodiscard]] Json entry(const Surface& surface) const {
        Json entry = {{"name", surfaceName(m_layout, surface)}, {"width", surface.width}, {"height", surface.height}};
        stopIfInterrupted();
        try {
            const ByteRange ranges[] = {{m_layout.headerBytes, m_layout.paletteBytes}, {surface.start, surface.bytes}};
            writeParts(m_source, ranges, headerBytes(factsOfSurface(m_layout, surface)), m_file.descriptor());
            DdsSource source(m_plugin, OpenFile(m_file.path()));
            if (!source.isBlack()) entry["picture"] = Json::binary(smallPng(source, m_exposure, stripSide));
        } catch (const std::exception&) {
            // The others can be shown all the same.
        }
        return entry;
    }

private:
    const host::Plugin& m_plugin;
    const OpenFile& m_source;
    const SurfaceLayout& m_layout;
    double m_exposure;
    TemporaryFile m_file;  // of one surface after the other
};

}  // namespace

std::uint64_t stripCount(const FileFacts& facts) {
    const Verdict verdict = judge(facts);
    const DDS_HEADER& header = facts.header.header;
    if (verdict.format == nullptr || header.dwWidth == 0 || header.dwHeight == 0) return 0;
    std::uint64_t count = 0, bytes = 0;
    forEachWholeSurface(surfaceLayout(facts, verdict), [&](const Surface& surface) {
        bytes += surface.bytes;
        if (bytes > stripBytes) return false;
        return ++count < stripLength;
    });
    return count;
}

Json surfaceStrip(const host::Plugin& plugin, const StripSource& source) {
    const Verdict verdict = judge(source.facts);
    const DDS_HEADER& header = source.facts.header.header;
    if (verdict.format == nullptr || header.dwWidth == 0 || header.dwHeight == 0) return nullptr;
    const SurfaceLayout layout = surfaceLayout(source.facts, verdict);
    if (layout.count < 2) return nullptr;

    const Strip strip(plugin, *source.file, layout, source.exposure);
    Json surfaces = Json::array(), notes = Json::array();
    const std::uint64_t shown = stripCount(source.facts);
    forEachWholeSurface(layout, [&](const Surface& surface) {
        if (surfaces.size() < shown) surfaces.push_back(strip.entry(surface));
        return surfaces.size() < shown;
    });
    const char* file = source.isMended ? "mended file" : "file";
    const std::uint64_t whole = wholeSurfaces(layout);
    if (whole < layout.count) {
        notes.push_back(textOf("The ", file, " is too short: of ", layout.count, " pictures ", whole,
                               whole == 1 ? " is whole." : " are whole."));
    }
    if (whole > shown) {
        const std::string which = shown == 0   ? "They are too large to be shown here"
                                  : shown == 1 ? textOf("This is the first of ", whole)
                                               : textOf("These are the first ", shown, " of ", whole);
        notes.push_back(textOf(which, "; \"kpximage split\" makes files of all",
                               source.isMended ? " that the mended file has." : "."));
    }
    return {{"title", textOf(layout.count, " pictures in the ", file)}, {"notes", notes}, {"surfaces", surfaces}};
}

}  // namespace kpx::tool
