// The report writers, by format. They live in kiv/reports; the runner knows no more of them than this.
#ifndef KIV_REPORTS_REPORT_LIST_H
#define KIV_REPORTS_REPORT_LIST_H

#include <memory>
#include <string>
#include <vector>

#include "kiv/results.h"

namespace kiv {

struct ReportRequest {
    std::string junit, tap, json, html;  // files, empty when not asked for
    // Whether one foretells the cases, and so needs them all by name.
    bool list_cases() const { return !(tap.empty() && json.empty() && html.empty()); }
};

// The formats, as option names ("junit").
std::vector<std::string> report_formats();

// Opens every report asked for; null entries never occur. On an error *error is set and nothing is returned.
std::vector<std::unique_ptr<Reporter>> open_reports(const ReportRequest &request, std::string *error);

}  // namespace kiv

#endif
