// The parts of the page are embedded; its policy lets it run its own script and show the pictures beside it, no more.
#include "tools/gallery/GalleryPage.h"

#include <glib.h>

#include <cerrno>
#include <memory>
#include <string_view>

#include "assets.h"
#include "tools/gallery/GalleryFolder.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

// Returns a script's or style's name in a Content-Security-Policy: its SHA-256 in base64.
std::string hashSource(std::string_view text) {
    const std::unique_ptr<GChecksum, void (*)(GChecksum*)> sum(g_checksum_new(G_CHECKSUM_SHA256), g_checksum_free);
    g_checksum_update(sum.get(), reinterpret_cast<const guchar*>(text.data()), static_cast<gssize>(text.size()));
    guint8 digest[32];
    gsize bytes = sizeof digest;
    g_checksum_get_digest(sum.get(), digest, &bytes);
    const std::unique_ptr<char, void (*)(void*)> base64(g_base64_encode(digest, bytes), g_free);
    return std::string("'sha256-") + base64.get() + "'";
}

// Of a page that is a file, 'self' are files.
std::string policy() {
    return "default-src 'none'; img-src 'self'; script-src " + hashSource(gallery::script) + "; style-src " +
           hashSource(gallery::style) + "; base-uri 'none'; form-action 'none'";
}

// Writes the template up to a mark and leaves what follows it.
void writeUpTo(std::ostream& stream, std::string_view& rest, std::string_view mark) {
    const std::size_t place = rest.find(mark);
    stream << rest.substr(0, place);
    rest.remove_prefix(place + mark.size());
}

constexpr std::string_view filesMark = "{{files}}";

}  // namespace

GalleryPage::GalleryPage(const std::string& path) : m_stream(path, std::ios::binary) {
    std::string_view rest = gallery::page;
    m_stream << galleryMark;
    writeUpTo(m_stream, rest, "{{policy}}");
    m_stream << policy();
    writeUpTo(m_stream, rest, "{{style}}");
    m_stream << gallery::style;
    writeUpTo(m_stream, rest, filesMark);
}

void GalleryPage::add(const Json& file) {
    m_stream << "<script type=\"application/json\" class=\"file\">";
    // File names need not be valid UTF-8; a page has to be.
    for (const char character : file.dump(-1, ' ', false, Json::error_handler_t::replace)) {
        // No text may end the block or open a comment in it.
        if (character == '<')
            m_stream << "\\u003C";
        else
            m_stream << character;
    }
    m_stream << "</script>\n";
}

void GalleryPage::finish() {
    std::string_view rest = gallery::page;
    rest.remove_prefix(rest.find(filesMark) + filesMark.size());
    writeUpTo(m_stream, rest, "{{script}}");
    m_stream << gallery::script << rest;
    m_stream.close();
    if (!m_stream) throw systemError<OutputError>("cannot be written", errno);
}

}  // namespace kpx::tool
