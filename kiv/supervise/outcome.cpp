// Finds the lines by which a case reports its outcome in what it prints.
#include "kiv/supervise/outcome.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace kiv {

namespace {

struct Marker {
    std::string_view text;
    Outcome outcome;
};

constexpr Marker kMarkers[] = {
    {"ERROR: ", Outcome::failure},   {"FAIL:", Outcome::failure},      {"Failure in", Outcome::failure},
    {"SUCCESS: ", Outcome::success}, {"Success in", Outcome::success}, {"Success while", Outcome::success},
};

// "tc_kiv_tcam_verify: Failure in ...", "tc_kiv_xconnect_add_l2p_x_pw:ERROR:...": a function says its own
// name first.
std::string_view after_name(std::string_view text) {
    size_t at = 0;
    while (at < text.size() && (isalnum(static_cast<unsigned char>(text[at])) || text[at] == '_')) ++at;
    if (at == 0 || at == text.size() || text[at] != ':') return {};
    ++at;
    if (at < text.size() && text[at] == ' ') ++at;
    return text.substr(at);
}

}  // namespace

Outcome outcome_of(std::string_view text) {
    if (text.empty()) return Outcome::none;
    for (const Marker &marker : kMarkers)
        if (text.starts_with(marker.text)) return marker.outcome;
    const std::string_view said = after_name(text);
    if (said.starts_with("Failure in") || said.starts_with("ERROR:")) return Outcome::failure;
    return Outcome::none;
}

bool tells_expected_failure(std::string_view text) {
    static constexpr std::string_view kWords[] = {"fail", "error"};
    const auto same = [](char a, char b) { return tolower(static_cast<unsigned char>(a)) == b; };
    for (const std::string_view word : kWords)
        if (std::search(text.begin(), text.end(), word.begin(), word.end(), same) != text.end()) return true;
    return false;
}

void OutcomeScanner::restart() {
    failures_ = successes_ = 0;
    if (!lines_.empty()) lines_.clear();
    partial_.clear();
    judging_ = true;
    line_open_ = false;
    last_ = Outcome::none;
}

bool OutcomeScanner::keep(std::string_view text) {
    if (lines_.size() >= kKeptLines) return false;
    lines_.emplace_back(text.substr(0, kKeptLength));
    return true;
}

void OutcomeScanner::line_begins(std::string_view rest) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    const Outcome before = last_;
    const Outcome outcome = outcome_of(line.substr(0, 256));
    if (outcome != Outcome::none) last_ = outcome;
    switch (outcome) {
        case Outcome::failure:
            ++failures_;
            line_open_ = keep(line) && line.size() == rest.size();
            break;
        case Outcome::success:
            ++successes_;
            line_open_ = false;
            if (before == Outcome::failure && tells_expected_failure(line.substr(0, 256))) {
                // The failure told just before is the one that the case wanted to see.
                --failures_;
                if (failures_ < lines_.size()) lines_.pop_back();
            }
            break;
        case Outcome::none:
            break;
    }
}

void OutcomeScanner::judge_partial() {
    const std::string line = std::move(partial_);
    partial_.clear();
    judging_ = false;
    line_begins(line);
    line_open_ = false;
}

void OutcomeScanner::finish() {
    if (!partial_.empty()) judge_partial();
}

void OutcomeScanner::piece(std::string_view text) {
    while (!text.empty()) {
        const size_t end = text.find('\n');
        if (judging_) {
            partial_ += text.substr(0, std::min(end, kKeptLength - partial_.size()));
            if (end != std::string_view::npos || partial_.size() >= kKeptLength) judge_partial();
        }
        if (end == std::string_view::npos) return;
        judging_ = true;
        text.remove_prefix(end + 1);
    }
}

void OutcomeScanner::print(std::string_view text) {
    if (text.empty()) return;
    finish();
    const uint64_t failures_before = failures_;
    line_begins(text);
    if (line_open_ && failures_ == failures_before && !lines_.empty()) {
        // The line of an earlier print goes on.
        std::string &line = lines_.back();
        if (line.size() < kKeptLength)
            line += text.substr(0, std::min(text.find('\n'), kKeptLength - line.size()));
    }
    const char *at = text.data();
    const char *const end = at + text.size();
    while (const char *newline = static_cast<const char *>(memchr(at, '\n', static_cast<size_t>(end - at)))) {
        line_open_ = false;
        at = newline + 1;
        if (at == end) break;
        line_begins({at, static_cast<size_t>(end - at)});
    }
    judging_ = text.back() == '\n';
}

}  // namespace kiv
