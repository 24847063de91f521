// Runs the cases of a schedule, in order, on the calling thread.
#include "kiv/worker/case_runner.h"

#include "kiv/files.h"
#include "kiv/observers.h"
#include "kiv/worker/live.h"

namespace kiv {

namespace {

template <typename Tell>
void tell(unsigned interest, Tell tell) {
    for (Observer *observer : observers())
        if (observer->interests() & interest) tell(*observer);
}

}  // namespace

void CaseRunner::run(uint64_t from) {
    int pass = -1;
    bool group_open = false, go_on = true;
    for (uint64_t at = from; go_on && at < schedule_.size();) {
        const Schedule::Group group = schedule_.group_at(at);
        while (!open_.empty() && (group.pass != pass || !group.folder->is_below(open_.back())))
            close_folder();
        pass = group.pass;
        if (group_open) journal_.group_ended();
        journal_.group_begins(at, group.count);
        group_open = true;
        if (work_.site) prepare(work_.site->folder_files(group.folder));
        go_on = open_folders(group.folder);
        for (uint32_t i = 0; go_on && i < group.count; ++i) {
            run_case(at + i);
            go_on = !work_.asks_to_go_on || journal_.go_on();
        }
        at += group.count;
    }
    while (!open_.empty()) close_folder();
    if (group_open) journal_.group_ended();
}

bool CaseRunner::open_folders(const kiv_folder *folder) {
    std::vector<const kiv_folder *> chain;
    for (; folder != nullptr && (open_.empty() || folder != open_.back()); folder = folder->parent)
        chain.push_back(folder);
    for (; !chain.empty(); chain.pop_back()) {
        open_.push_back(chain.back());
        fixture(chain.back(), true);
        if (work_.asks_to_go_on && !journal_.go_on()) return false;
    }
    return true;
}

void CaseRunner::close_folder() {
    const kiv_folder *folder = open_.back();
    open_.pop_back();
    fixture(folder, false);
}

void CaseRunner::fixture(const kiv_folder *folder, bool set_up) {
    if (folder->fixtures.empty()) return;
    around_.counters = {};
    begin_item();
    journal_.make_room();
    const int64_t begin = now_ns();
    journal_.fixture_begins(folder->id, set_up, begin);
    tell(Observer::kFixtures, [&](Observer &observer) { observer.fixture_begins(folder->path, set_up); });
    if (set_up) {
        for (const Fixture &fixture : folder->fixtures)
            if (fixture.set_up) fixture.set_up();
    } else {
        for (auto fixture = folder->fixtures.rbegin(); fixture != folder->fixtures.rend(); ++fixture)
            if (fixture->tear_down) fixture->tear_down();
    }
    const int64_t end = now_ns();
    around_.capture.settle(end - begin);
    tell(Observer::kFixtures, [&](Observer &observer) { observer.fixture_ended(folder->path, set_up); });
    journal_.fixture_ended(end, around_.counters);
}

void CaseRunner::prepare(const CaseFiles &files) {
    problem_.clear();
    if (&files == prepared_ && files.standard_input.empty()) {
        // The folder's files are there already; what they are does not change while a run lasts.
        around_.capture.feed(files.standard_input);
        return;
    }
    if (around_.stager != nullptr && !around_.stager->stage(files, &problem_))
        problem_ = "ERROR: cannot stage the input files: " + problem_ + "\n";
    around_.capture.feed(files.standard_input);
    prepared_ = problem_.empty() ? &files : nullptr;
}

void CaseRunner::run_case(uint64_t position) {
    const Case &test = schedule_.case_at(position);
    if (work_.site != nullptr) {
        const CaseFiles &files = work_.site->case_files(test);
        prepare(files);
        if (&files != &work_.site->folder_files(test.folder)) prepared_ = nullptr;
    } else {
        around_.capture.feed({});
    }
    around_.counters = {};
    begin_item();
    journal_.make_room();
    const int64_t begin = now_ns();
    journal_.case_begins(position, begin);
    std::string name;
    if (!observers().empty()) {
        name = test.name();
        tell(Observer::kCases, [&](Observer &observer) { observer.case_begins(test.folder->path, name); });
    }
    if (!problem_.empty()) live_print(problem_);
    if (test.function != nullptr)
        test.function();
    else
        live_print("ERROR: the case was registered without a function\n");
    const int64_t end = now_ns();
    around_.capture.settle(end - begin);
    if (!observers().empty())
        tell(Observer::kCases, [&](Observer &observer) { observer.case_ended(test.folder->path, name); });
    journal_.case_ended(end, around_.counters);
}

}  // namespace kiv
