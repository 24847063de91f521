// The report formats, and the reports that a command line asks for. Each report keeps one file up to date
// while a run goes on.
//
// Every file is complete and well-formed up to the last finished case at every moment, also when the process
// is killed (document.h says how). The file appears, or replaces an older one, when the run begins. A path
// that is not a regular file (a pipe, a terminal) is written from beginning to end instead.
#ifndef KIV_REPORTS_REPORT_LIST_H
#define KIV_REPORTS_REPORT_LIST_H

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "kiv/reports/document.h"
#include "kiv/results.h"

namespace kiv {

using MakeReport = std::unique_ptr<Reporter>(std::unique_ptr<reports::Sink> sink);

// A row of formats.def.
struct ReportFormat {
    const char *name;
    const char *help;
    const char *variable;  // or null
    bool lists_cases;
    MakeReport *make;
};

// make_junit_reporter and so on, of every row.
#define KIV_REPORT_FORMAT(name, ...) MakeReport make_##name##_reporter;
#include "kiv/reports/formats.def"
#undef KIV_REPORT_FORMAT

std::span<const ReportFormat> report_formats();

// A report that is written to a file. Null and *error (one line that names the path) when it cannot be.
std::unique_ptr<Reporter> open_report(MakeReport &make, const std::string &path, std::string *error);

// What a command line asks for.
struct ReportRequest {
    std::vector<std::string> files =
        std::vector<std::string>(report_formats().size());  // empty: not asked for

    // Whether one foretells the cases, and so needs them all by name.
    bool list_cases() const;
};

// Opens every report asked for; null entries never occur. On an error *error is set and nothing is returned.
std::vector<std::unique_ptr<Reporter>> open_reports(const ReportRequest &request, std::string *error);

}  // namespace kiv

#endif
