// Comparison with a baseline: see baseline_compare.h.
#include "trace/baseline_compare.h"

#include <fmt/core.h>

#include <algorithm>
#include <utility>

#include "trace/baseline_line.h"
#include "trace/shape.h"

namespace trace {
namespace {

using Kind = BaselineDifference::Kind;

constexpr size_t kAhead = 32;  // calls in which a missing or additional one is looked for

std::pair<std::string_view, std::string_view> halves(std::string_view outcome) {
    const size_t comma = std::min(outcome.find(", "), outcome.size());
    return {outcome.substr(0, comma), outcome.substr(std::min(comma + 2, outcome.size()))};
}

}  // namespace

std::string difference_text(const BaselineDifference &difference) {
    switch (difference.kind) {
        case Kind::FIELD:
            return fmt::format("call {}: {}: {}: {}, baseline {}", difference.call, difference.operation,
                               difference.field, difference.value, difference.baseline);
        case Kind::MISSING:
            return fmt::format("call {} of the baseline is missing: {}", difference.call,
                               difference.baseline);
        case Kind::ADDITIONAL:
            return fmt::format("call {} is additional: {}", difference.call, difference.value);
        case Kind::OUTCOME:
            return fmt::format("{}: {}, baseline {}", difference.field, difference.value,
                               difference.baseline);
    }
    return "";
}

void SectionComparison::begin(const BaselineSection &expected) {
    section_ = &expected;
    matched_ = calls_ = kept_bytes_ = 0;
    kept_.clear();
    differences_ = {};
}

std::string_view SectionComparison::expected(size_t i) const {
    return section_->calls[i];
}

bool SectionComparison::same(std::string_view line, std::string_view expected) const {
    return line == expected || (shape_ && shape_of(line) == shape_of(expected));
}

void SectionComparison::call(std::string_view line) {
    ++calls_;
    if (kept_.empty() && matched_ + 1 == calls_ && matched_ < section_->calls.size() &&
        same(line, expected(matched_))) {
        ++matched_;
    } else if (kept_.size() < kKeptLines && kept_bytes_ < kKeptBytes) {
        kept_.emplace_back(line);
        kept_bytes_ += line.size();
    }
}

Differences SectionComparison::end(std::string_view outcome) {
    compare_outcome(outcome);
    align();
    return std::exchange(differences_, {});
}

Differences SectionComparison::end_without_calls(std::string_view outcome) {
    compare_outcome(outcome);
    return std::exchange(differences_, {});
}

void SectionComparison::compare_outcome(std::string_view outcome) {
    if (section_->kind != SectionKind::CASE || outcome == section_->outcome) return;
    const auto [verdict, checks] = halves(outcome);
    const auto [known_verdict, known_checks] = halves(section_->outcome);
    if (verdict != known_verdict)
        tell({Kind::OUTCOME, 0, "", "verdict", std::string(verdict), std::string(known_verdict)});
    if (checks != known_checks)
        tell({Kind::OUTCOME, 0, "", "checks", std::string(checks), std::string(known_checks)});
}

// Both go side by side. Where two calls differ, one of the next may show that some are missing, or that there
// are more.
void SectionComparison::align() {
    size_t now = 0, then = matched_;
    const size_t end = section_->calls.size();
    const auto is_same = [&](size_t i, size_t j) {
        return i < kept_.size() && j < end && same(kept_[i], expected(j));
    };
    const auto is_alike = [&](size_t i, size_t j) {
        return i < kept_.size() && j < end && operation_of(kept_[i]) == operation_of(expected(j));
    };
    while (now < kept_.size() && then < end) {
        size_t missing = 0, additional = 0;
        const bool goes_on = is_same(now + 1, then + 1) || (now + 1 == kept_.size() && then + 1 == end);
        if (!is_same(now, then) && !(is_alike(now, then) && goes_on)) {
            for (size_t ahead = 1; ahead <= kAhead && missing + additional == 0; ++ahead) {
                if (is_same(now, then + ahead))
                    missing = ahead;
                else if (is_same(now + ahead, then))
                    additional = ahead;
            }
            for (size_t ahead = 1; ahead <= kAhead && missing + additional == 0 && !is_alike(now, then);
                 ++ahead) {
                if (is_alike(now, then + ahead))
                    missing = ahead;
                else if (is_alike(now + ahead, then))
                    additional = ahead;
            }
            if (missing + additional == 0 && !is_alike(now, then)) missing = additional = 1;
        }
        for (; missing > 0; --missing, ++then) tell_call(Kind::MISSING, then + 1, expected(then));
        for (; additional > 0; --additional, ++now)
            tell_call(Kind::ADDITIONAL, matched_ + now + 1, kept_[now]);
        if (now >= kept_.size() || then >= end || !is_alike(now, then)) continue;
        if (!is_same(now, then)) tell_fields(matched_ + now + 1, kept_[now], expected(then));
        ++now, ++then;
    }
    for (; now < kept_.size(); ++now) tell_call(Kind::ADDITIONAL, matched_ + now + 1, kept_[now]);
    const size_t not_kept = calls_ - matched_ - kept_.size();
    // What was not kept stands for as many calls of the baseline: enough was told before it.
    const size_t stands_for = std::min(end - then, not_kept);
    then += stands_for;
    differences_.count += not_kept - stands_for;
    for (; then < end; ++then) tell_call(Kind::MISSING, then + 1, expected(then));
}

void SectionComparison::tell(BaselineDifference difference) {
    ++differences_.count;
    if (differences_.told.size() < kTold) differences_.told.push_back(std::move(difference));
}

void SectionComparison::tell_call(Kind kind, uint64_t call, std::string_view line) {
    std::string operation(operation_of(line));
    if (kind == Kind::MISSING)
        tell({kind, call, std::move(operation), "", "", std::string(line)});
    else
        tell({kind, call, std::move(operation), "", std::string(line), ""});
}

void SectionComparison::tell_fields(uint64_t call, std::string_view line, std::string_view expected) {
    CallLine now, then;
    const std::string operation(operation_of(line));
    const uint64_t before = differences_.count;
    if (read_call_line(line, &now) && read_call_line(expected, &then)) {
        if (shape_) {
            drop_chosen_by_site(&now);
            drop_chosen_by_site(&then);
        }
        // A field that is 0 does not stand there. Of fields of one name the n-th belongs to the n-th.
        std::vector<bool> found(then.fields.size());
        for (const LineField &field : now.fields) {
            size_t at = 0;
            while (at < then.fields.size() && (found[at] || then.fields[at].path != field.path)) ++at;
            if (at < then.fields.size()) found[at] = true;
            const std::string_view known = at < then.fields.size() ? then.fields[at].value : "0";
            if (known != field.value)
                tell(
                    {Kind::FIELD, call, operation, field.path, std::string(field.value), std::string(known)});
        }
        for (size_t at = 0; at < then.fields.size(); ++at) {
            if (!found[at])
                tell({Kind::FIELD, call, operation, then.fields[at].path, "0",
                      std::string(then.fields[at].value)});
        }
        if (now.result != then.result)
            tell({Kind::FIELD, call, operation, "result", std::string(now.result), std::string(then.result)});
    }
    // The same fields in another order, or a line that cannot be read.
    if (differences_.count == before)
        tell({Kind::FIELD, call, operation, "call", std::string(line), std::string(expected)});
}

}  // namespace trace
