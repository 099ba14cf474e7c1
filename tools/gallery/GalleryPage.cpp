// The page's parts are embedded; files are added as blocks of JSON.
#include "tools/gallery/GalleryPage.h"

#include <cerrno>
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

// Pictures come from where they are kept and nowhere else; of a page that is a file, "self" are files.
std::string policy(bool hasPictures) {
    const std::string pictures = hasPictures ? "data:" : "'self'";
    return "default-src 'none'; img-src " + pictures + "; script-src " + hashSource(gallery::scriptSha256) +
           "; style-src " + hashSource(gallery::styleSha256) + "; base-uri 'none'; form-action 'none'";
}

// Writes the template up to a mark and leaves what follows it.
void writeUpTo(std::ostream& stream, std::string_view& rest, std::string_view mark) {
    const std::size_t place = rest.find(mark);
    stream << rest.substr(0, place);
    rest.remove_prefix(place + mark.size());
}

constexpr std::string_view filesMark = "{{files}}";

void writeHead(std::ostream& stream, bool hasPictures) {
    std::string_view rest = gallery::page;
    writeUpTo(stream, rest, "{{policy}}");
    stream << policy(hasPictures);
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

GalleryPage::GalleryPage(const std::string& path, const std::vector<std::string>& places, KeepPicture keep)
    : m_stream(path, std::ios::binary), m_keep(std::move(keep)) {
    writeHead(m_stream, m_keep == nullptr);
    addBlock(R"(id="page")", {{"places", places}});
}

void GalleryPage::add(const Json& file, Json thumbnails, Json pictures) {
    const std::string number = std::to_string(m_count++);
    addBlock(R"(class="file")", file);
    for (const auto& [name, block] : {std::pair("thumbnails", &thumbnails), std::pair("pictures", &pictures)}) {
        if (block->is_null()) continue;
        placePictures(textOf(number, "-", name), *block);
        addBlock(textOf("id=\"", name, "-", number, '"'), *block);
    }
}

// The names of pictures are made of the keys that lead to them.
void GalleryPage::placePictures(const std::string& name, Json& value) {
    if (value.is_binary()) {
        value = urlOf(name + ".png", value.get_binary());
    } else if (value.is_structured()) {
        for (const auto& part : value.items()) placePictures(name + "-" + part.key(), part.value());
    }
}

std::string GalleryPage::urlOf(const std::string& name, std::span<const unsigned char> bytes) {
    if (m_keep == nullptr) {
        std::string url = "data:image/png;base64,";
        appendBase64(url, bytes);
        return url;
    }
    try {
        return m_keep(name, bytes);
    } catch (const OutputError& error) {
        if (m_failure.empty()) m_failure = error.what();
        return "";
    }
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
    if (!m_stream && m_failure.empty()) m_failure = std::string("cannot be written: ") + systemErrorText(errno);
}

void GalleryPage::finish() {
    writeTail(m_stream);
    m_stream.close();
    noteFailure();
    if (!m_failure.empty()) throw OutputError(m_failure);
}

}  // namespace kpx::tool
