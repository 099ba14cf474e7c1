// What a file is that is no DDS file, by the first bytes of other formats.
#include <algorithm>
#include <cstring>
#include <string_view>

#include "explain/text.h"
#include "explain/verdict.h"

namespace kpx {
namespace {

using namespace std::string_view_literals;

constexpr const char* convertIt = "`kpximage convert` turns it into a DDS file";
constexpr const char* saveAsPng = "save it as PNG, which `kpximage convert` turns into a DDS file";
constexpr const char* exportAsDds = "export it as DDS from the program that made it";
constexpr const char* unpackIt = "unpack it first";
constexpr const char* fetchIt = "download the file itself";

// The published first bytes of other formats.
struct Signature {
    std::size_t place;  // of the bytes in the file
    std::string_view bytes;
    const char* what;
    const char* advice;
};
constexpr Signature signatures[] = {
    {0, "\x89PNG\r\n\x1A\n"sv, "a PNG picture", convertIt},
    {0, "\xFF\xD8\xFF"sv, "a JPEG picture", saveAsPng},
    {0, "GIF8"sv, "a GIF picture", saveAsPng},
    {0, "II*\0"sv, "a TIFF picture", saveAsPng},
    {0, "MM\0*"sv, "a TIFF picture", saveAsPng},
    {0, "8BPS"sv, "a layered picture (PSD)", saveAsPng},
    {8, "WEBPVP8"sv, "a WebP picture", saveAsPng},
    {0, "\x76\x2F\x31\x01"sv, "an OpenEXR picture", exportAsDds},
    {0, "#?RADIANCE"sv, "a Radiance picture", exportAsDds},
    {0, "\xABKTX 11\xBB\r\n\x1A\n"sv, "a KTX texture", exportAsDds},
    {0, "\xABKTX 20\xBB\r\n\x1A\n"sv, "a KTX2 texture", exportAsDds},
    {0, "PVR\3"sv, "a PVR texture", exportAsDds},
    {0, "\3RVP"sv, "a PVR texture", exportAsDds},
    {44, "PVR!"sv, "a PVR texture", exportAsDds},
    {0, "\x13\xAB\xA1\x5C"sv, "an ASTC texture", exportAsDds},
    {0, "VTF\0"sv, "a VTF texture", exportAsDds},
    {0, "PK\3\4"sv, "a ZIP archive", unpackIt},
    {0, "\x1F\x8B\x08"sv, "compressed with gzip", unpackIt},
    {0, "<!DOCTYPE"sv, "a web page", fetchIt},
    {0, "<html"sv, "a web page", fetchIt},
    {0, "version https://git-lfs."sv, "a Git LFS pointer", fetchIt},
};

// Returns as much of the file's start as the facts hold.
std::string startOf(const FileFacts& facts) {
    std::string start(factBytes, '\0');
    std::memcpy(start.data(), &facts.header, sizeof facts.header);
    std::memcpy(start.data() + sizeof facts.header, &facts.dx10Header, sizeof facts.dx10Header);
    start.resize(static_cast<std::size_t>(std::min<std::uint64_t>(facts.fileBytes, factBytes)));
    return start;
}

}  // namespace

bool startsAsDds(const FileFacts& facts) {
    return facts.fileBytes >= sizeof facts.header.magic && std::memcmp(&facts.header.magic, "DDS", 3) == 0;
}

std::string otherFileText(const FileFacts& facts) {
    if (facts.fileBytes == 0) return "is empty";
    if (startsAsDds(facts)) return {};
    const std::string start = startOf(facts);
    for (const Signature& row : signatures) {
        if (start.size() >= row.place && std::string_view(start).substr(row.place).starts_with(row.bytes))
            return textOf("is ", row.what, "; ", row.advice);
    }
    // The magic and the size of the header, which is always the same.
    const std::size_t place = start.find("DDS \x7C\0\0\0"sv);
    if (place == start.npos) return {};
    return textOf("has a DDS header at byte ", place, " instead of at its start; remove the bytes before it");
}

std::string notDdsText(const FileFacts& facts) {
    const std::string other = otherFileText(facts);
    return other.empty() && !startsAsDds(facts) ? "is not a DDS file: it does not start with \"DDS\"" : other;
}

}  // namespace kpx
