// ERR_report_cat, ERR_printf and the collector of reports.
#include "host/messages.h"

#include <cstdarg>
#include <cstdio>
#include <exception>

#include "host/kpxbase.h"

namespace kpx::host {
namespace {

thread_local ReportCollector* innermost = nullptr;

// Prints a line by one write, so that lines of several threads do not mix.
void printLine(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void deliver(Report report) {
    if (innermost != nullptr) {
        innermost->add(std::move(report));
    } else {
        printLine(report.line);
    }
}

// Returns the conversion specifiers of a printf format in order, as "%s%d". They determine its arguments.
std::string conversions(const std::string& format) {
    std::string found;
    for (size_t i = format.find('%'); i != std::string::npos && i + 1 < format.size(); i = format.find('%', i)) {
        const size_t end = format.find_first_not_of("0123456789.-+ #'", i + 1);
        if (end == std::string::npos) break;
        const size_t last = format.find_first_not_of("hlLqjzt", end);
        if (last == std::string::npos) break;
        if (format[last] != '%') found += '%' + format.substr(end, last - end + 1);
        i = last + 1;
    }
    return found;
}

// Returns the catalogue's text, or the format if the text requires other arguments than the caller passes.
const char* translated(nl_catd catalogue, int set, int number, const char* format) {
    if (catalogue == nullptr) return format;
    const char* text = catgets(catalogue, set, number, format);
    return conversions(text) == conversions(format) ? text : format;
}

std::string formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0) return format;
    std::string text(static_cast<size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

// Escapes the text to one line: file names may contain newlines and escape sequences.
std::string oneLine(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    }
    return text;
}

}  // namespace

ReportCollector::ReportCollector() : m_outer(innermost) {
    innermost = this;
}

ReportCollector::~ReportCollector() {
    innermost = m_outer;
    for (const Report& report : m_reports) printLine(report.line);
}

std::string ReportCollector::take(const std::string& otherwise) {
    std::string joined;
    for (const Report& report : m_reports) joined += (joined.empty() ? "" : "; ") + report.text;
    m_reports.clear();
    return joined.empty() ? otherwise : joined;
}

}  // namespace kpx::host

using namespace kpx::host;

void ERR_report_cat(nl_catd catalogue, int set, int number, int severity, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    try {
        const std::string text = oneLine(formatted(translated(catalogue, set, number, format), arguments));
        const std::string label = "message " + std::to_string(set) + "." + std::to_string(number);
        deliver({text, "KPX " + label + ", severity " + std::to_string(severity) + ": " + text + "\n"});
    } catch (const std::exception&) {
        std::fputs("KPX: no memory to report an error\n", stderr);
    }
    va_end(arguments);
}

void ERR_printf(int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    try {
        const std::string text = oneLine(formatted(format, arguments));
        deliver({text, "KPX, level " + std::to_string(level) + ": " + text + "\n"});
    } catch (const std::exception&) {
        std::fputs("KPX: no memory to report an error\n", stderr);
    }
    va_end(arguments);
}
