// Reports of the host and its plug-ins: printed as lines on standard error, or gathered by the caller
// of a plug-in that wants to pass the causes on.
#pragma once

#include <string>
#include <vector>

namespace kpx::host {

struct Report {
    std::string text;  // the message alone
    std::string line;  // the message as it is printed, with its number and severity, ended by a newline
};

// While it lives, the reports made on its thread are gathered instead of printed. Those that nobody has
// taken when it ends are printed after all. Collectors nest: the innermost gathers.
class ReportCollector {
public:
    ReportCollector();
    ~ReportCollector();
    ReportCollector(const ReportCollector&) = delete;
    ReportCollector& operator=(const ReportCollector&) = delete;

    // Hands the gathered texts over, joined by "; ", or `otherwise` when there are none.
    std::string take(const std::string& otherwise);

    void add(Report report) { m_reports.push_back(std::move(report)); }

private:
    std::vector<Report> m_reports;
    ReportCollector* m_outer;
};

}  // namespace kpx::host
