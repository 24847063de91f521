// Selectors from the event stream of an earlier run.
#include "kiv/select/rerun.h"

#include "kiv/reports/rerun_list.h"
#include "kiv/reports/results_reader.h"

namespace kiv {

bool read_failed(const std::string &path, std::vector<Selector> *selectors, std::string *error) {
    std::string text;
    reports::RecordedRun run;
    error->clear();
    if (!reports::load_results(path, &text, error) || !reports::read_run(text, path, &run, error))
        return false;
    for (const reports::RerunCase &test : reports::rerun_list(run, {})) {
        if (!test.again) continue;
        Selector selector;
        selector.text = test.selector;
        selectors->push_back(selector);
    }
    return true;
}

}  // namespace kiv
