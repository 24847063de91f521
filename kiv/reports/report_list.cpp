// Opens the reports that a run was asked for.
#include "kiv/reports/report_list.h"

#include "kiv/reports/reports.h"

namespace kiv {

std::vector<std::string> report_formats() {
    return {"junit", "tap", "json", "html"};
}

std::vector<std::unique_ptr<Reporter>> open_reports(const ReportRequest &request, std::string *error) {
    struct Format {
        const std::string &path;
        std::unique_ptr<Reporter> (*make)(const std::string &path, std::string *error);
    };
    const Format formats[] = {{request.junit, make_junit_reporter},
                              {request.tap, make_tap_reporter},
                              {request.json, make_json_reporter},
                              {request.html, make_html_reporter}};
    std::vector<std::unique_ptr<Reporter>> reports;
    for (const Format &format : formats) {
        if (format.path.empty()) continue;
        std::unique_ptr<Reporter> report = format.make(format.path, error);
        if (report == nullptr) return {};
        reports.push_back(std::move(report));
    }
    return reports;
}

}  // namespace kiv
