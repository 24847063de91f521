// The table of the report formats, and the opening of reports.
#include "kiv/reports/report_list.h"

namespace kiv {
namespace {

constexpr ReportFormat kFormats[] = {
#define KIV_REPORT_FORMAT(name, help, variable, lists_cases) \
    {#name, help, variable, lists_cases, make_##name##_reporter},
#include "kiv/reports/formats.def"
#undef KIV_REPORT_FORMAT
};

}  // namespace

std::span<const ReportFormat> report_formats() {
    return kFormats;
}

std::unique_ptr<Reporter> open_report(MakeReport &make, const std::string &path, std::string *error) {
    auto sink = reports::open_file_sink(path, error);
    return sink == nullptr ? nullptr : make(std::move(sink));
}

bool ReportRequest::list_cases() const {
    for (size_t i = 0; i < files.size(); ++i)
        if (!files[i].empty() && kFormats[i].lists_cases) return true;
    return false;
}

std::vector<std::unique_ptr<Reporter>> open_reports(const ReportRequest &request, std::string *error) {
    std::vector<std::unique_ptr<Reporter>> reports;
    for (size_t i = 0; i < request.files.size(); ++i) {
        if (request.files[i].empty()) continue;
        std::unique_ptr<Reporter> report = open_report(*kFormats[i].make, request.files[i], error);
        if (report == nullptr) return {};
        reports.push_back(std::move(report));
    }
    return reports;
}

}  // namespace kiv
