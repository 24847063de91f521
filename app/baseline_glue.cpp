// Holds the calls of a run against the site's baseline, or writes it anew.
//
// The recorder (trace_glue.cpp) sends the calls of every case and fixture out of the worker; here, in the
// supervising process, they become lines when the case has its verdict.
#include <fcntl.h>
#include <fmt/core.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/trace_glue.h"
#include "kiv/files.h"
#include "kiv/observer.h"
#include "trace/baseline.h"
#include "trace/baseline_compare.h"
#include "trace/text.h"
#include "trace/told.h"

namespace {

using trace::SectionKind;

constexpr size_t kMostReceived = size_t{64} << 20;  // of one case

// A folder of the run: what its baseline has, and how far the run follows it.
struct Folder {
    trace::Baseline baseline;
    bool exists = false;
    bool in_order = true;
    size_t next = 0;   // of the baseline's sections
    bool ran = false;  // all of it, in this worker
    bool begun = false;
    std::unique_ptr<trace::BaselineWriter> writer;
    bool can_be_written = true;
    size_t not_good = 0;  // cases, of those that are written
};

std::string_view top_of(std::string_view folder) {
    return folder.substr(0, folder.find('/'));
}

// "tc_x" of a folder at the top, "session/tc_x" of one below: what names of hand-outs say of their origin.
std::string place_of(std::string_view folder, std::string_view item) {
    std::string place;
    const std::string_view top = top_of(folder);
    if (top.size() < folder.size()) {
        trace::append_word(&place, folder.substr(top.size() + 1));
        place += '/';
    }
    trace::append_word(&place, item);
    return place;
}

bool has_ended(kiv::Verdict verdict) {
    return verdict != kiv::Verdict::aborted && verdict != kiv::Verdict::crashed &&
           verdict != kiv::Verdict::timed_out;
}

// False, with *error set. The file is there whole or as it was.
bool write_whole(const std::string &path, const std::string &text, std::string *error) {
    if (!kiv::make_directories(path.substr(0, path.rfind('/')), error)) return false;
    const std::string temporary = path + ".tmp";
    const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const bool written = fd >= 0 && kiv::write_all(fd, text);
    const bool closed = fd >= 0 && close(fd) == 0;
    if (written && closed && rename(temporary.c_str(), path.c_str()) == 0) return true;
    *error = path + ": " + strerror(errno);
    unlink(temporary.c_str());
    return false;
}

class BaselineGlue : public kiv::Observer {
  public:
    void add_options(CLI::App &app) override {
        const char *const group = "Baseline";
        named_ = app.add_option(
                        "--baseline", directory_,
                        "Directory with the calls that cases are known to make\n[SITE/baseline, if there is "
                        "one]")
                     ->type_name("DIR")
                     ->group(group);
        CLI::Option *const none =
            app.add_flag("--no-baseline", none_, "Do not compare calls")->group(group)->excludes(named_);
        app.add_flag("--update-baseline", update_,
                     "Write it anew, for folders whose cases of the plan all run")
            ->group(group)
            ->excludes(none);
        app.add_flag("--baseline-shape", shape_,
                     "Leave out values that a site chooses: the baseline is\nanother site's")
            ->group(group)
            ->excludes(none);
    }

    bool run_begins(kiv::RunInfo &info, std::string *error) override {
        if (none_ || !choose_directory(info, error)) return none_;
        if (directory_.empty()) return true;
        if (update_ && (info.repeat > 1 || info.seed != 0 || info.shard_count > 1)) {
            *error =
                "--update-baseline wants one pass in the plan's order: no --repeat, --shuffle or --shard";
            return false;
        }
        if (info.seed != 0) {
            info.remarks.emplace_back("Calls are not compared with the baseline: the cases are shuffled");
            return true;
        }
        for (const kiv::FolderInfo &folder : info.folders)
            if (!open_folder(folder.path, error)) return false;
        if (update_) find_what_can_be_written(info);
        active_ = true;
        app::want_every_call();
        return true;
    }

    void received(std::string_view entries) override {
        if (!active_) return;
        if (entries_.size() + entries.size() <= kMostReceived)
            entries_ += entries;
        else
            is_too_long_ = true;
    }

    void complete(kiv::CaseResult &result) override {
        if (!active_) return;
        if (result.verdict == kiv::Verdict::not_run) {
            if (Folder *const folder = folder_of(result.folder)) folder->can_be_written = false;
            return drop();
        }
        Item item{SectionKind::CASE, result.folder, result.name, ""};
        item.outcome = trace::outcome_text(kiv::verdict_text(result.verdict), result.checks);
        item.has_ended = has_ended(result.verdict);
        item.is_good = kiv::verdict_is_good(result.verdict);
        finish(item, &result.differences);
    }

    void complete(kiv::FixtureResult &fixture) override {
        if (!active_ || fixture.of_worker) return;
        if (!fixture.ran) return drop();
        Item item{fixture.set_up ? SectionKind::SET_UP : SectionKind::TEAR_DOWN, fixture.folder, "", ""};
        item.has_ended = has_ended(fixture.verdict);
        item.is_good = !fixture.failed();
        finish(item, &fixture.differences);
    }

    void run_ended(const kiv::Summary &) override {
        if (!active_) return;
        if (not_compared_ > 0)
            kiv::add_note(
                fmt::format("baseline: {} not compared: what the baseline has before them did not run "
                            "just so before them",
                            not_compared_ == 1 ? "1 case" : fmt::format("{} cases", not_compared_)));
        if (update_) write_folders();
    }

  private:
    struct Item {
        SectionKind kind;
        std::string_view folder, name;
        std::string outcome;
        bool has_ended = true, is_good = true;
    };

    bool choose_directory(const kiv::RunInfo &info, std::string *error) {
        const bool is_named = named_->count() > 0;
        if (!is_named && info.site.empty()) {
            if (!update_ && !shape_) return true;
            *error = "there is no site, and so no baseline: --baseline DIR names one";
            return false;
        }
        directory_ = is_named ? kiv::absolute_path(directory_) : info.site + "/baseline";
        struct stat status = {};
        const bool exists = stat(directory_.c_str(), &status) == 0;
        if (exists && !S_ISDIR(status.st_mode)) {
            *error = directory_ + ": not a directory";
            return false;
        }
        if (exists || update_) return true;
        if (!is_named && !shape_) {
            directory_.clear();
            return true;
        }
        *error = directory_ + ": there is no such baseline; --update-baseline writes one";
        return false;
    }

    // The folder and those above it, which may have fixtures.
    bool open_folder(const std::string &path, std::string *error) {
        for (size_t end = path.find('/');; end = path.find('/', end + 1)) {
            const std::string part = path.substr(0, end);
            auto &folder = folders_[part];
            if (folder == nullptr) {
                folder = std::make_unique<Folder>();
                const std::string file = trace::baseline_path(directory_, part);
                if (!file.empty() &&
                    !folder->baseline.read_file(file, &folder->exists, error, trace::Baseline::Look::FORM)) {
                    if (!update_) return false;
                    error->clear();  // of what is written anew
                }
                if (update_)
                    folder->writer = std::make_unique<trace::BaselineWriter>(part, folder->baseline.after());
                folder->can_be_written = !file.empty();
            }
            if (end == std::string::npos) return true;
        }
    }

    // A folder stands in its baseline with all that the plan has of it and below it.
    void find_what_can_be_written(const kiv::RunInfo &info) {
        std::map<std::string, size_t> selected;
        for (const kiv::FolderInfo &folder : info.folders) selected[folder.path] = folder.selected_cases;
        for (const kiv::FolderInfo &planned : info.planned) {
            if (selected[planned.path] == planned.selected_cases) continue;
            for (auto &[path, folder] : folders_)
                if (path == planned.path || planned.path.starts_with(path + "/"))
                    folder->can_be_written = false;
        }
    }

    Folder *folder_of(std::string_view path) {
        const auto at = folders_.find(path);
        return at == folders_.end() ? nullptr : at->second.get();
    }

    void drop() {
        entries_.clear();
        is_too_long_ = false;
    }

    void finish(const Item &item, kiv::Differences *differences) {
        Folder *const folder = folder_of(item.folder);
        const bool begins = item.kind == SectionKind::SET_UP && top_of(item.folder) == item.folder;
        if (begins || top_of(item.folder) != top_) names_.clear();
        top_.assign(top_of(item.folder));
        names_.enter(place_of(item.folder, item.kind == SectionKind::CASE
                                               ? item.name
                                               : trace::section_title(item.kind, item.name)));
        if (folder != nullptr && update_)
            write(item, *folder);
        else if (folder != nullptr)
            compare(item, *folder, differences);
        drop();
    }

    template <class Take>
    uint64_t for_each_line(Take take) {
        const trace::Calls found = trace::calls_in(entries_);
        for (const trace::Call &call : found.calls) {
            names_.learn(call);
            line_.clear();
            trace::append_line(&line_, call, names_);
            take(line_);
        }
        return found.left_out;
    }

    void write(const Item &item, Folder &folder) {
        if (!folder.begun && !comes_in_its_turn(item.folder, folder)) folder.can_be_written = false;
        folder.begun = true;
        folder.writer->begin();
        const uint64_t left_out = for_each_line([&](const std::string &line) { folder.writer->call(line); });
        if (!item.has_ended || is_too_long_ || left_out > 0) folder.can_be_written = false;
        if (!item.is_good) ++folder.not_good;
        folder.writer->end(item.kind, item.name, item.outcome);
    }

    // Whether the folders that must run before this one did, and none that must run after it.
    bool comes_in_its_turn(std::string_view path, const Folder &folder) const {
        const std::vector<std::string> &after = folder.baseline.after();
        for (const auto &[other_path, other] : folders_) {
            const std::vector<std::string> &of_other = other->baseline.after();
            if (other->begun && std::ranges::find(of_other, path) != of_other.end()) return false;
        }
        return std::ranges::all_of(after, [&](const std::string &other) {
            const auto before = folders_.find(other);
            return before != folders_.end() && (update_ ? before->second->begun : before->second->ran);
        });
    }

    // The section that the baseline has for the item; null when it has none, or has it in another order.
    const trace::BaselineSection *expected(const Item &item, Folder &folder) const {
        const auto &sections = folder.baseline.sections();
        if (!folder.begun && !comes_in_its_turn(item.folder, folder)) folder.in_order = false;
        folder.begun = true;
        folder.in_order = folder.in_order && folder.next < sections.size() &&
                          sections[folder.next].is(item.kind, item.name);
        if (!folder.in_order) return nullptr;
        const trace::BaselineSection *const section = &sections[folder.next++];
        if (folder.next == sections.size()) folder.ran = true;
        return section;
    }

    // A new worker has a new card, and the suite begins afresh.
    void forget_what_ran() {
        for (const auto &[path, folder] : folders_) folder->ran = false;
    }

    void compare(const Item &item, Folder &folder, kiv::Differences *differences) {
        const trace::BaselineSection *const section = expected(item, folder);
        if (section == nullptr) return tell_unknown(item, folder, differences);
        trace::SectionComparison comparison(shape_);
        comparison.begin(*section);
        uint64_t left_out = 0;
        if (item.has_ended && !is_too_long_)
            left_out = for_each_line([&](const std::string &line) { comparison.call(line); });
        const bool are_all_here = item.has_ended && !is_too_long_ && left_out == 0;
        const trace::Differences found =
            are_all_here ? comparison.end(item.outcome) : comparison.end_without_calls(item.outcome);
        differences->count += found.count;
        for (const trace::BaselineDifference &difference : found.told)
            differences->told.push_back(trace::difference_text(difference));
        if (item.has_ended && !are_all_here) {
            ++differences->count;
            differences->told.emplace_back("it made more calls than are kept, which are not compared");
        }
        if (!item.has_ended && item.kind == SectionKind::CASE) {
            folder.in_order = false;
            forget_what_ran();
        }
    }

    void tell_unknown(const Item &item, Folder &folder, kiv::Differences *differences) {
        for_each_line([](const std::string &) {});  // names go on
        if (item.kind != SectionKind::CASE) return;
        const auto &sections = folder.baseline.sections();
        const bool is_known = std::ranges::any_of(sections, [&](const trace::BaselineSection &section) {
            return section.is(item.kind, item.name);
        });
        if (is_known) {
            ++not_compared_;
            return;
        }
        ++differences->count;
        differences->told.emplace_back(folder.exists
                                           ? "the baseline does not have this case (--update-baseline)"
                                           : "the baseline does not have this folder (--update-baseline)");
    }

    void write_folders() {
        size_t written = 0, not_good = 0;
        std::string left;
        for (const auto &[path, folder] : folders_) {
            if (folder->writer->is_empty()) continue;
            if (!folder->can_be_written) {
                left += left.empty() ? path : ", " + path;
                continue;
            }
            std::string error;
            if (!write_whole(trace::baseline_path(directory_, path), folder->writer->text(), &error)) {
                kiv::add_note("baseline: not written: " + error);
                continue;
            }
            ++written;
            not_good += folder->not_good;
        }
        kiv::add_note(fmt::format("baseline: {} written in {}",
                                  written == 1 ? "1 folder" : fmt::format("{} folders", written),
                                  directory_));
        if (not_good > 0)
            kiv::add_note(
                fmt::format("baseline: {} of what was written did not do what it should", not_good));
        if (!left.empty())
            kiv::add_note("baseline: not written, because not all of it ran to its end, in its turn: " +
                          left);
    }

    CLI::Option *named_ = nullptr;
    std::string directory_;
    bool none_ = false, update_ = false, shape_ = false;

    // In the supervising process.
    bool active_ = false;
    std::map<std::string, std::unique_ptr<Folder>, std::less<>> folders_;
    std::string entries_;  // of the running case or fixture
    bool is_too_long_ = false;
    trace::Naming names_;
    std::string top_;  // the folder at the top that names_ is of
    std::string line_;
    size_t not_compared_ = 0;
};

const bool subscribed = [] {
    static BaselineGlue glue;
    kiv::subscribe(&glue);
    return true;
}();

}  // namespace
