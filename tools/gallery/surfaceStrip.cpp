// Surfaces become files of their own, as "split" makes them.
#include "tools/gallery/surfaceStrip.h"

#include "explain/surfaces.h"
#include "explain/text.h"
#include "tools/files/PendingFile.h"
#include "tools/repair/ddsCopy.h"
#include "tools/terminal/errors.h"
#include "tools/terminal/interrupts.h"

namespace kpx::tool {
namespace {

class Strip {
public:
    Strip(const host::Plugin& plugin, const OpenFile& file, const SurfaceLayout& layout, double exposure,
          const KeepPicture& keep)
        : m_plugin(plugin), m_source(file), m_layout(layout), m_exposure(exposure), m_keep(keep) {}

    [[nodiscard]] Json entry(const Surface& surface, std::size_t number) const {
        Json entry = {
            {"name", surfaceName(m_layout, surface).substr(1)}, {"width", surface.width}, {"height", surface.height}};
        stopIfInterrupted();
        try {
            writeSurface(m_source, m_layout, surface, m_file.descriptor());
            DdsSource source(m_plugin, OpenFile(m_file.path()));
            if (!source.isBlack())
                entry["picture"] = m_keep(textOf("strip-", number), smallPng(source, m_exposure, stripSide));
        } catch (const OutputError&) {
            throw;
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
    const KeepPicture& m_keep;
    TemporaryFile m_file;  // of one surface after the other
};

bool hasKnownPictures(const FileFacts& facts, const Verdict& verdict) {
    const DDS_HEADER& header = facts.header.header;
    return verdict.format != nullptr && header.dwWidth != 0 && header.dwHeight != 0;
}

}  // namespace

std::uint64_t stripCount(const FileFacts& facts) {
    const Verdict verdict = judge(facts);
    if (!hasKnownPictures(facts, verdict)) return 0;
    std::uint64_t count = 0, bytes = 0;
    forEachWholeSurface(surfaceLayout(facts, verdict), [&](const Surface& surface) {
        bytes += surface.bytes;
        if (bytes > stripBytes) return false;
        return ++count < stripLength;
    });
    return count;
}

Json surfaceStrip(const host::Plugin& plugin, const OpenFile& file, const FileFacts& facts, double exposure,
                  const KeepPicture& keep) {
    const Verdict verdict = judge(facts);
    if (!hasKnownPictures(facts, verdict)) return nullptr;
    const SurfaceLayout layout = surfaceLayout(facts, verdict);
    const std::uint64_t shown = stripCount(facts);
    if (layout.count < 2) return nullptr;

    const Strip strip(plugin, file, layout, exposure, keep);
    Json surfaces = Json::array(), notes = Json::array();
    forEachWholeSurface(layout, [&](const Surface& surface) {
        if (surfaces.size() < shown) surfaces.push_back(strip.entry(surface, surfaces.size()));
        return surfaces.size() < shown;
    });
    const std::uint64_t whole = wholeSurfaces(layout);
    if (whole > shown)
        notes.push_back(textOf(shown, " of ", whole, " are shown. `kpximage split` writes all of them."));
    const std::string count = layout.count == UINT64_MAX ? "More than 2^64" : std::to_string(layout.count);
    return {{"title", count + " pictures in the file"}, {"notes", notes}, {"surfaces", surfaces}};
}

}  // namespace kpx::tool
