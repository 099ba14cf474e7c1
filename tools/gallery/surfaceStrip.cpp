// Surfaces become files of their own, as "split" makes them.
#include "tools/gallery/Gallery.h"

#include "explain/surfaces.h"
#include "explain/text.h"
#include "tools/files/PendingFile.h"
#include "tools/pictures/DdsSource.h"
#include "tools/repair/repairFile.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

constexpr int stripSide = 96;              // the largest width and height of a picture
constexpr std::uint64_t stripLength = 48;  // the most pictures

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
                  const GalleryFolder& folder, const std::string& prefix) {
    const Verdict verdict = judge(facts);
    if (!hasKnownPictures(facts, verdict)) return nullptr;
    const SurfaceLayout layout = surfaceLayout(facts, verdict);
    if (layout.count < 2) return nullptr;
    const std::uint64_t shown = stripCount(facts);
    const TemporaryFile copy;  // of one surface after the other
    Json surfaces = Json::array(), notes = Json::array();
    forEachWholeSurface(layout, [&](const Surface& surface) {
        if (surfaces.size() >= shown) return false;
        stopIfInterrupted();
        Json entry = {
            {"name", surfaceName(layout, surface).substr(1)}, {"width", surface.width}, {"height", surface.height}};
        try {
            writeSurface(file, layout, surface, copy.descriptor());
            auto source = std::make_unique<DdsSource>(plugin, OpenFile(copy.path()));
            if (!source->isBlack()) {
                const SmallPicture picture = smallPicture(*asShown(std::move(source), exposure), stripSide);
                entry["picture"] = folder.write(textOf(prefix, "strip-", surfaces.size()), picture);
            }
        } catch (const OutputError&) {
            throw;
        } catch (const std::exception&) {
            // The others are shown all the same.
        }
        surfaces.push_back(std::move(entry));
        return true;
    });
    const std::uint64_t whole = wholeSurfaces(layout);
    if (whole > shown)
        notes.push_back(textOf(shown, " of ", whole, " are shown. `kpximage split` writes all of them."));
    const std::string count = layout.count == UINT64_MAX ? "More than 2^64" : std::to_string(layout.count);
    return {{"title", count + " pictures in the file"}, {"notes", notes}, {"surfaces", surfaces}};
}

}  // namespace kpx::tool
