// kivctl trace summary and stats: how many calls of each operation there are, how they ended and what time
// they took.
#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "kiv/reports/escape.h"
#include "kiv/reports/time.h"
#include "kivctl/commands.h"
#include "kivctl/trace/trace_commands.h"
#include "kivctl/trace/trace_file.h"

namespace kivctl {
namespace {

constexpr size_t kNameWidth = 40;

// How many calls took less than 2, 4, 8, ... nanoseconds.
using Histogram = std::array<uint64_t, 64>;

size_t class_of(int64_t took) {
    return took <= 1 ? 0 : static_cast<size_t>(std::bit_width(static_cast<uint64_t>(took)) - 1);
}

struct Account {
    uint64_t calls = 0, failed = 0, unreturned = 0;
    int64_t total = 0, longest = 0;
    Histogram durations{};

    void take(const trace::Call &call) {
        ++calls;
        if (!call.returned) {
            ++unreturned;
            return;
        }
        const int64_t took = std::max<int64_t>(call.took, 0);
        if (call.failed()) ++failed;
        total += took;
        longest = std::max(longest, took);
        ++durations[class_of(took)];
    }
    uint64_t returned() const { return calls - unreturned; }
};

struct SlowCall {
    int64_t took;
    uint64_t sequence;
    std::string operation, place;
};

std::string duration(int64_t nanoseconds) {
    return kiv::reports::duration_text(std::chrono::nanoseconds(nanoseconds));
}

class Sums {
  public:
    explicit Sums(const TraceSummaryOptions &options) : options_(options) {}

    // kUnusable, or what the trace is worth.
    int read() {
        CallFilter filter;
        if (!file_.open(options_.file) || !filter.prepare(options_.filter, file_.schema())) return kUnusable;
        bool takes = filter.takes_place("");
        while (file_.next()) {
            if (!file_.event().is_call) {
                takes = filter.takes_place(file_.place());
                if (takes) mark();
            } else if (takes && filter.takes(file_, file_.text())) {
                call();
            }
        }
        return file_.whole() ? kGood : kBad;
    }

    void print_summary() const {
        fmt::print("{} in {}, {} failed, {} never returned, in {}\n", counted(all_.calls, "call"),
                   counted(cases_, "case"), all_.failed, all_.unreturned, duration(all_.total));
        if (checks_ > 0) fmt::print("{}, {} failed\n", counted(checks_, "check"), failed_checks_);
        if (all_.calls == 0) return;
        fmt::print("\n{:<{}} {:>9} {:>8} {:>10} {:>10} {:>10}\n", "operation", kNameWidth, "calls", "failed",
                   "time", "mean", "longest");
        for (const auto &[name, account] : by_time())
            fmt::print(
                "{:<{}} {:>9} {:>8} {:>10} {:>10} {:>10}{}\n", *name, kNameWidth, account->calls,
                account->failed, duration(account->total), mean(*account), duration(account->longest),
                account->unreturned == 0 ? "" : fmt::format("  {} never returned", account->unreturned));
        if (slowest_.empty()) return;
        fmt::print("\nslowest\n");
        for (const SlowCall &slow : slowest_)
            fmt::print("{:>10}  #{} {}  {}\n", duration(slow.took), slow.sequence, slow.operation,
                       kiv::reports::visible(slow.place));
    }

    void print_statistics() const {
        const char *before = "";
        for (const auto &[name, account] : by_time()) {
            fmt::print("{}{}: {}, mean {}\n", before, *name, counted(account->calls, "call"), mean(*account));
            before = "\n";
            print_histogram(account->durations);
        }
    }

  private:
    using Accounts = std::map<std::string, Account, std::less<>>;
    using ByTime = std::vector<std::pair<const std::string *, const Account *>>;

    static std::string counted(uint64_t count, const char *what) {
        return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
    }

    static std::string mean(const Account &account) {
        return account.returned() == 0 ? "-"
                                       : duration(account.total / static_cast<int64_t>(account.returned()));
    }

    static void print_histogram(const Histogram &durations) {
        constexpr uint64_t kWidest = 50;
        const uint64_t most = std::ranges::max(durations);
        const auto used = [](uint64_t count) { return count > 0; };
        const auto first = std::ranges::find_if(durations, used) - durations.begin();
        const auto last = std::find_if(durations.rbegin(), durations.rend(), used).base() - durations.begin();
        for (auto i = first; i < last; ++i) {
            const uint64_t count = durations[static_cast<size_t>(i)];
            // One call is a mark, too.
            const uint64_t length = count == 0 ? 0 : std::max<uint64_t>(1, count * kWidest / most);
            fmt::print("  < {:>8} {:>9} {}\n", i + 1 < 63 ? duration(int64_t{1} << (i + 1)) : "ever", count,
                       std::string(length, '#'));
        }
    }

    void mark() {
        const trace::Mark &mark = file_.event().mark;
        if (mark.kind == trace::EntryKind::case_begins) ++cases_;
        if (mark.kind != trace::EntryKind::check) return;
        ++checks_;
        if (!mark.passed) ++failed_checks_;
    }

    void call() {
        const trace::Call &call = file_.call();
        all_.take(call);
        auto at = accounts_.find(call.operation->row.name);
        if (at == accounts_.end()) at = accounts_.emplace(call.operation->row.name, Account()).first;
        at->second.take(call);
        if (!call.returned || options_.slowest == 0) return;
        const bool full = slowest_.size() == options_.slowest;
        if (full && slowest_.back().took >= call.took) return;
        if (full) slowest_.pop_back();
        const auto before =
            std::ranges::find_if(slowest_, [&](const SlowCall &slow) { return slow.took < call.took; });
        slowest_.insert(before,
                        {call.took, call.sequence, std::string(call.operation->row.name), file_.place()});
    }

    ByTime by_time() const {
        ByTime sorted;
        for (const auto &[name, account] : accounts_) sorted.emplace_back(&name, &account);
        std::ranges::stable_sort(
            sorted, [](const auto &a, const auto &b) { return a.second->total > b.second->total; });
        return sorted;
    }

    const TraceSummaryOptions &options_;
    TraceFile file_;
    Account all_;
    Accounts accounts_;
    uint64_t cases_ = 0, checks_ = 0, failed_checks_ = 0;
    std::vector<SlowCall> slowest_;  // slowest first
};

}  // namespace

int summarize_trace(const TraceSummaryOptions &options) {
    Sums sums(options);
    const int status = sums.read();
    if (status != kUnusable) sums.print_summary();
    return status;
}

int trace_statistics(const TraceSummaryOptions &options) {
    Sums sums(options);
    const int status = sums.read();
    if (status != kUnusable) sums.print_statistics();
    return status;
}

}  // namespace kivctl
