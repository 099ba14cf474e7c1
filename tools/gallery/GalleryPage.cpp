// The page's parts are embedded; files are added as blocks of JSON.
#include "tools/gallery/GalleryPage.h"

#include <cerrno>
#include <cstring>
#include <string_view>

#include "assets.h"
#include "explain/text.h"
#include "tools/gallery/base64.h"
#include "tools/terminal/errors.h"

namespace kpx::tool {
namespace {

// What Content-Security-Policy calls a script or style of this SHA-256, given in hexadecimal.
std::string hashSource(std::string_view sha256) {
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i < sha256.size(); i += 2) {
        bytes.push_back(static_cast<unsigned char>(std::stoi(std::string(sha256.substr(i, 2)), nullptr, 16)));
    }
    std::string source = "'sha256-";
    appendBase64(source, bytes);
    return source + "'";
}

std::string policy() {
    return "default-src 'none'; img-src data:; script-src " + hashSource(gallery::scriptSha256) + "; style-src " +
           hashSource(gallery::styleSha256) + "; base-uri 'none'; form-action 'none'";
}

// Writes the template up to a mark and leaves what follows it.
void writeUpTo(std::ostream& stream, std::string_view& rest, std::string_view mark) {
    const std::size_t place = rest.find(mark);
    stream << rest.substr(0, place);
    rest.remove_prefix(place + mark.size());
}

constexpr std::string_view filesMark = "{{files}}";

void writeHead(std::ostream& stream) {
    std::string_view rest = gallery::page;
    writeUpTo(stream, rest, "{{policy}}");
    stream << policy();
    writeUpTo(stream, rest, "{{style}}");
    stream << gallery::style;
    writeUpTo(stream, rest, filesMark);
}

void writeTail(std::ostream& stream) {
    std::string_view rest = gallery::page;
    rest.remove_prefix(rest.find(filesMark) + filesMark.size());
    writeUpTo(stream, rest, "{{script}}");
    stream << gallery::script << rest;
}

}  // namespace

GalleryPage::GalleryPage(const std::string& path, const std::vector<std::string>& places)
    : m_stream(path, std::ios::binary) {
    writeHead(m_stream);
    addBlock(R"(id="page")", {{"places", places}});
}

void GalleryPage::add(const Json& file, const Json& pictures) {
    addBlock(R"(class="file")", file);
    if (!pictures.is_null()) addBlock(textOf(R"(id="pictures-)", m_count, '"'), pictures);
    ++m_count;
}

void GalleryPage::addBlock(const std::string& attributes, const Json& object) {
    m_stream << "<script type=\"application/json\" " << attributes << ">";
    // File names need not be valid UTF-8; a page has to be.
    const std::string text = object.dump(-1, ' ', false, Json::error_handler_t::replace);
    // No text may end the block or open a comment in it.
    std::string_view rest = text;
    for (std::size_t place = rest.find('<'); place != rest.npos; place = rest.find('<')) {
        m_stream << rest.substr(0, place) << "\\u003C";
        rest.remove_prefix(place + 1);
    }
    m_stream << rest << "</script>\n";
    noteFailure();
}

void GalleryPage::noteFailure() {
    if (!m_stream && m_cause == 0) m_cause = errno;
}

void GalleryPage::finish() {
    writeTail(m_stream);
    m_stream.close();
    noteFailure();
    if (!m_stream) throw OutputError(std::string("cannot be written: ") + std::strerror(m_cause));
}

}  // namespace kpx::tool
