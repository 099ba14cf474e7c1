// Reports of the host and its plug-ins. They are printed on standard error, or collected by a caller that passes them
// on.
#pragma once

#include <string>
#include <vector>

namespace kpx::host {

struct Report {
    std::string text;  // the message alone
    std::string line;  // the message as printed, with number, severity and newline
};

// Collects the reports of its thread instead of printing them. Its destructor prints those that were not taken.
// Collectors nest: the innermost one collects.
class ReportCollector {
public:
    ReportCollector();
    ~ReportCollector();
    ReportCollector(const ReportCollector&) = delete;
    ReportCollector& operator=(const ReportCollector&) = delete;

    // Returns the collected texts, joined by "; ", or `otherwise` if there are none, and removes them.
    std::string take(const std::string& otherwise);

    void add(Report report) { m_reports.push_back(std::move(report)); }

private:
    std::vector<Report> m_reports;
    ReportCollector* m_outer;
};

}  // namespace kpx::host
