// Surfaces become files of their own, as "split" makes them.
#include "tools/gallery/surfaceStrip.h"

#include "explain/surfaces.h"
#include "explain/text.h"
#include "tools/files/PendingFile.h"
#include "tools/files/ddsCopy.h"
#include "tools/gallery/galleryPictures.h"
#include "tools/terminal/interrupts.h"

namespace kpx::tool {
namespace {

class Strip {
public:
    Strip(const host::Plugin& plugin, const std::string& path, const SurfaceLayout& layout, double exposure)
        : m_plugin(plugin), m_path(path), m_layout(layout), m_exposure(exposure) {}

    [[nodiscard]] Json entry(const Surface& surface) const {
        Json entry = {{"name", surfaceName(m_layout, surface)}, {"width", surface.width}, {"height", surface.height}};
        stopIfInterrupted();
        try {
            const ByteRange ranges[] = {{m_layout.headerBytes, m_layout.paletteBytes}, {surface.start, surface.bytes}};
            writeParts(m_path, ranges, headerBytes(factsOfSurface(m_layout, surface)), m_file.path());
            DdsSource source(openUntold(m_plugin, m_file.path()));
            if (!source.isBlack()) entry["picture"] = Json::binary(smallPng(source, m_exposure, stripSide));
        } catch (const std::exception&) {
            // The others can be shown all the same.
        }
        return entry;
    }

private:
    const host::Plugin& m_plugin;
    const std::string& m_path;
    const SurfaceLayout& m_layout;
    double m_exposure;
    TemporaryFile m_file;  // of one surface after the other
};

}  // namespace

Json surfaceStrip(const host::Plugin& plugin, const std::string& path, double exposure) {
    const FileFacts facts = readFacts(path);
    const Verdict verdict = judge(facts);
    const DDS_HEADER& header = facts.header.header;
    if (verdict.format == nullptr || header.dwWidth == 0 || header.dwHeight == 0) return nullptr;
    const SurfaceLayout layout = surfaceLayout(facts, verdict);
    if (layout.count < 2) return nullptr;

    const Strip strip(plugin, path, layout, exposure);
    Json surfaces = Json::array(), notes = Json::array();
    forEachWholeSurface(layout, [&](const Surface& surface) {
        surfaces.push_back(strip.entry(surface));
        return surfaces.size() < stripLength;
    });
    const std::uint64_t whole = wholeSurfaces(layout);
    if (whole < layout.count) {
        notes.push_back(textOf("The file is too short: of ", layout.count, " pictures ", whole,
                               whole == 1 ? " is whole." : " are whole."));
    }
    if (whole > stripLength) {
        notes.push_back(
            textOf("These are the first ", stripLength, " of ", whole, "; \"kpximage split\" makes files of all."));
    }
    return {{"title", textOf(layout.count, " pictures in the file")}, {"notes", notes}, {"surfaces", surfaces}};
}

}  // namespace kpx::tool
