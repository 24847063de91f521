// KTAP: folders as nested subtests, a plan line each, diagnostics before the result they belong to.
//
// The plans come from the selected cases. A file cut short shows in its unfulfilled plans; a folder that ends
// with cases left over reports those as skipped, whether or not the run tells of them later.
#include <set>

#include "kiv/reports/calls.h"
#include "kiv/reports/escape.h"
#include "kiv/reports/report_list.h"
#include "kiv/reports/wording.h"

namespace kiv {
namespace {

using namespace reports;

class TapReporter : public Reporter {
  public:
    explicit TapReporter(std::unique_ptr<Sink> sink) : file_(std::move(sink), LineFile::Padding::comment) {}

    void run_begins(const RunInfo &info) override {
        selected_ = info.selected;
        // Each pass of a shuffled run has an order of its own, which the plans cannot foresee.
        planned_ = info.repeat == 1 || info.seed == 0;
        std::string head = "KTAP version 1\n";
        if (planned_) {
            levels_.push_back({"", 0, selected_.size()});
            uint64_t items = 0;
            for (size_t at = 0; at < selected_.size(); at = item_end(levels_.back(), at)) ++items;
            levels_.back().items = items * static_cast<uint64_t>(info.repeat);
            head += "1.." + std::to_string(levels_.back().items) + "\n";
        } else {
            levels_.push_back({"", 0, 0});
        }
        head += "# " + one_line(info.program);
        for (const std::string &argument : info.arguments) head += " " + one_line(argument);
        head += "\n";
        if (!info.site.empty()) head += "# site " + one_line(info.site) + "\n";
        if (!info.card.empty()) head += "# card " + one_line(info.card) + "\n";
        for (const std::string &problem : info.site_problems)
            head += "# warning: " + one_line(problem) + "\n";
        site_problems_ = info.site_problems.size();
        file_.begin(head);
    }

    void folder_begins(const FolderInfo &folder) override {
        enter(folder.path, folder.selected_cases);
        file_.flush();
    }

    void fixture_ended(const FixtureResult &fixture) override {
        const bool bad = fixture.failed();
        if (fixture.ran && !bad && fixture.calls.unnoticed.empty()) return;
        Level *level = &levels_.back();  // a worker's folder is the one that it was in last
        for (Level &candidate : levels_)
            if (candidate.path == fixture.folder && !fixture.of_worker) level = &candidate;
        if (bad) level->bad = true;
        const std::string indent(4 * (levels_.size() - 1), ' ');
        diagnostics(indent,
                    fixture.name() + ": " + (fixture.ran ? verdict_text(fixture.verdict) : "not run"));
        diagnostics(indent, details(fixture));
        if (bad || !fixture.ran) diagnostics(indent, fixture.output);
        file_.flush();
    }

    void case_ended(const CaseResult &result) override {
        if (result.verdict == Verdict::not_run && left_over_.erase(result.selector()) != 0) return;
        enter(result.folder, 0);
        const std::string indent(4 * (levels_.size() - 1), ' ');
        Level &level = levels_.back();
        const bool bad = result.verdict != Verdict::not_run && !verdict_is_good(result.verdict);
        if (bad) {
            diagnostics(indent, verdict_text(result.verdict));
            diagnostics(indent, details(result));
        } else {
            diagnostics(indent, unnoticed_text(result.calls));
        }
        diagnostics(indent, result.output);
        std::string suffix;
        if (result.verdict == Verdict::not_run)
            suffix = " # SKIP " + one_line(result.reason.empty() ? "not run" : result.reason);
        else if (result.verdict == Verdict::unchecked)
            suffix = " # no check was recorded";
        result_line(level, bad, result.name, suffix);
        // The level's next planned item, if the run follows its plan.
        if (level.cursor < selected_.size() && sub_folder(level, selected_.selector(level.cursor)).empty())
            ++level.cursor;
        file_.flush();
    }

    void folder_ended(const FolderInfo &) override {}

    void run_ended(const Summary &summary) override {
        close_to(1);
        if (levels_.empty()) return;
        Level &top = levels_.back();
        if (!planned_) file_.add("1.." + std::to_string(top.done) + "\n");
        if (!summary.stopped_because.empty()) diagnostics("", "stopped: " + summary.stopped_because);
        for (const std::string &note : summary.notes) diagnostics("", note);
        diagnostics("", unnoticed_text(summary));
        diagnostics("", differences_text(summary));
        diagnostics("", site_problems_text(site_problems_));
        std::string totals = "# Totals:";
        for (size_t i = 0; i < std::size(summary.counts); ++i)
            if (summary.counts[i] != 0)
                totals += " " + std::string(verdict_text(static_cast<Verdict>(i))) + ":" +
                          std::to_string(summary.counts[i]);
        file_.add(totals + "\n");
        file_.finish();
    }

    std::string problem() const override { return file_.problem(); }

  private:
    // A test that is under way: the run itself, or a folder.
    struct Level {
        std::string path;
        size_t first;    // of selected_
        uint64_t items;  // planned: cases and sub-folders
        uint64_t done = 0;
        size_t cursor = 0;  // of selected_: the next item's first case, as far as planned
        bool bad = false;
    };

    static std::string one_line(std::string_view text) {
        std::string line(text);
        for (char &c : line)
            if (static_cast<uint8_t>(c) < 0x20) c = ' ';
        return line;
    }

    // A test's name ends before a directive.
    static std::string name_text(std::string_view name) {
        std::string text;
        for (const char c : one_line(name)) {
            if (c == '#' && !text.empty() && text.back() == ' ') text += '\\';
            text += c;
        }
        return text;
    }

    static bool is_under(std::string_view path, std::string_view folder) {
        return folder.empty() || (path.size() > folder.size() && path.substr(0, folder.size()) == folder &&
                                  path[folder.size()] == '/');
    }

    // The item of `level` that a selector belongs to: the sub-folder's path, or empty for a case.
    static std::string sub_folder(const Level &level, const std::string &selector) {
        const size_t start = level.path.empty() ? 0 : level.path.size() + 1;
        const size_t slash = selector.find('/', start);
        return slash == std::string::npos ? std::string() : selector.substr(0, slash);
    }

    // Where the item that begins at `at` ends among the selected cases of the level.
    size_t item_end(const Level &level, size_t at) const {
        const std::string folder = sub_folder(level, selected_.selector(at));
        if (folder.empty()) return at + 1;
        for (++at; at < selected_.size(); ++at) {
            const std::string selector = selected_.selector(at);
            if (!is_under(selector, level.path) || sub_folder(level, selector) != folder) break;
        }
        return at;
    }

    // Makes `path` the innermost level, closing and opening what lies between.
    void enter(const std::string &path, size_t cases) {
        if (levels_.empty()) levels_.push_back({"", 0, 0});
        size_t keep = 1;
        while (keep < levels_.size() && (levels_[keep].path == path || is_under(path, levels_[keep].path)) &&
               !(planned_ && levels_[keep].done >= levels_[keep].items))
            ++keep;
        close_to(keep);
        // What was closed may have been the last of its parent's plan: another pass begins.
        while (planned_ && levels_.size() > 1 && levels_.back().done >= levels_.back().items)
            close_to(levels_.size() - 1);
        while (levels_.back().path != path) {
            const std::string selector = path + "/";
            const std::string child = sub_folder(levels_.back(), selector);
            if (child.empty()) return;
            open_level(child, cases);
        }
    }

    void open_level(const std::string &path, size_t cases) {
        Level &parent = levels_.back();
        Level level{path, parent.cursor, cases};
        level.cursor = level.first;
        if (planned_) {
            // The parent's next item, if the run follows its plan; else the first place that fits.
            size_t at = parent.cursor;
            while (at < selected_.size() && !is_under(selected_.selector(at), path)) ++at;
            if (at == selected_.size())
                for (at = 0; at < selected_.size() && !is_under(selected_.selector(at), path);) ++at;
            level.first = level.cursor = at;
            level.items = 0;
            const size_t end = at < selected_.size() ? item_end(parent, at) : at;
            for (; at < end; at = item_end(level, at)) ++level.items;
            parent.cursor = end;
        }
        const std::string indent(4 * levels_.size(), ' ');
        file_.add(indent + "KTAP version 1\n");
        file_.add(indent + "# Subtest: " + one_line(path.substr(path.rfind('/') + 1)) + "\n");
        if (planned_) file_.add(indent + "1.." + std::to_string(level.items) + "\n");
        levels_.push_back(std::move(level));
    }

    void close_to(size_t keep) {
        while (levels_.size() > keep) {
            skip_rest();
            const std::string indent(4 * (levels_.size() - 1), ' ');
            if (!planned_) file_.add(indent + "1.." + std::to_string(levels_.back().done) + "\n");
            const Level level = std::move(levels_.back());
            levels_.pop_back();
            result_line(levels_.back(), level.bad, level.path.substr(level.path.rfind('/') + 1), "");
        }
    }

    void skip_rest() {
        Level &level = levels_.back();
        if (!planned_) return;
        while (level.done < level.items && level.cursor < selected_.size()) {
            const size_t at = level.cursor;
            level.cursor = item_end(level, at);
            for (size_t i = at; i < level.cursor; ++i) left_over_.insert(selected_.selector(i));
            const std::string selector = selected_.selector(at);
            const std::string folder = sub_folder(level, selector);
            const std::string &item = folder.empty() ? selector : folder;
            result_line(level, false, item.substr(item.rfind('/') + 1), " # SKIP not run");
        }
    }

    void result_line(Level &level, bool bad, std::string_view name, const std::string &suffix) {
        std::string line(4 * (levels_.size() - 1), ' ');
        line += bad ? "not ok " : "ok ";
        append_number(line, ++level.done);
        line += ' ';
        line += name_text(name);
        line += suffix;
        line += '\n';
        file_.add(line);
        if (bad) level.bad = true;
    }

    void diagnostics(const std::string &indent, std::string_view text) {
        while (!text.empty()) {
            const size_t end = std::min(text.find('\n'), text.size());
            file_.add(indent + "# " + one_line(text.substr(0, end)) + "\n");
            text.remove_prefix(std::min(end + 1, text.size()));
        }
    }

    LineFile file_;
    CaseList selected_;
    bool planned_ = true;
    std::vector<Level> levels_;  // the run first
    std::set<std::string> left_over_;
    size_t site_problems_ = 0;
};

}  // namespace

std::string tell_tap_nothing_run(const NothingRun &nothing) {
    std::string why = nothing.why;
    for (char &c : why)
        if (static_cast<uint8_t>(c) < 0x20) c = ' ';
    // Not as a plan of none: that is how a test says that it was skipped.
    return "KTAP version 1\n1..1\n# nothing was run: " + why + "\nnot ok 1 run\n";
}

std::unique_ptr<Reporter> make_tap_reporter(std::unique_ptr<Sink> sink) {
    return std::make_unique<TapReporter>(std::move(sink));
}

}  // namespace kiv
