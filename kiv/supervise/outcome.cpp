// Finds the lines by which a case reports its outcome in what it prints.
#include "kiv/supervise/outcome.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace kiv {

namespace {

constexpr size_t kJudged = 256;  // of a line

namespace texts {

using enum Outcome;
using enum Where;

constexpr std::string_view kFailure = "fail|error";

constexpr std::string_view kOutcome = "an outcome, told in these words everywhere";
constexpr std::string_view kWanted = "a negative case saw the failure that it wanted";
constexpr std::string_view kGaveUp = "a step failed, and the case may end without a check";
constexpr std::string_view kNoMemory = "a step got no memory";
constexpr std::string_view kWrongCall = "a step was called in a wrong way";
constexpr std::string_view kUnknown = "a handler was asked for what it does not know, and sent nothing";
constexpr std::string_view kDiffers = "what was read back is not what was programmed";
constexpr std::string_view kNoFile = "perror: a file of the flash could not be opened, and the case goes on";
constexpr std::string_view kEcho = "repeats a field of the site, whatever that says";

// clang-format off
constexpr OutcomeText kTable[] = {
    // They look like failures and are none.
    {begin, "SUCCESS: Tx Adj add . uidb get fail NH", "", success,
     "a kind of next hop is called so: an add that failed right before stays failed"},
    {begin, "kiv_util_", " returned error is ", none,
     "printed behind every mirror source, with the code of a success too"},
    {begin, " prm_srh_xid_del call 1 failed with rc=", "", none,
     "the removal of a pseudowire names a fixed next hop, which is not there on every card; its own line follows"},
    {after_name, "reached max tokens", "", none, "the line is full; nothing of it may be missing"},
    {begin, "This tc is not ",         "", none, "the card has nothing for the case, which says so and ends"},
    {begin, " token = ",               "", none, kEcho},
    {begin, "interface = ",            "", none, kEcho},

    {begin, "SUCCESS:",      kFailure, expected_failure, kWanted},
    {begin, "Success in",    kFailure, expected_failure, kWanted},
    {begin, "Success while", kFailure, expected_failure, kWanted},
    {begin, "SUCCESS:",      "", success, kOutcome},
    {begin, "Success in",    "", success, kOutcome},
    {begin, "Success while", "", success, kOutcome},

    {after_name, "ERROR:",     "", failure, kOutcome},
    {after_name, "FAIL:",      "", failure, kOutcome},
    {after_name, "Failure in", "", failure, kOutcome},

    {begin, "Failed to ",                "", failure, kGaveUp},
    {begin, "Failed in ",                "", failure, kGaveUp},
    {begin, "Can't ",                    "", failure, kGaveUp},
    {begin, "Error in ",                 "", failure, kGaveUp},
    {begin, "Error reading ",            "", failure, kGaveUp},
    {begin, "INVALID CARD TYPE",         "", failure, kGaveUp},
    {begin, "Could not ",                "", failure, kNoMemory},
    {begin, "Malloc Failed",             "", failure, kNoMemory},
    {begin, "Memory allocation failure", "", failure, kNoMemory},
    {begin, "Error!!! ",                 "", failure, kWrongCall},
    {begin, "kiv_util_", " invalid param passed", failure, kWrongCall},
    {begin, "Invalid Oper",              "", failure, kUnknown},
    {begin, "Invalid Event",             "", failure, kUnknown},
    {begin, "Unsupported Oper",          "", failure, kUnknown},
    {begin, "Unsupported operation",     "", failure, kUnknown},
    {begin, "unsupported OP type",       "", failure, kUnknown},
    {begin, "Unknown/Unsupported ",      "", failure, kUnknown},
    {begin, "Mismatch in ",              "", failure, kDiffers},
    {begin, "Strict Priority ", "is not configured", failure, kDiffers},
    {begin, "BWRR isn't ",               "", failure, kDiffers},
    {begin, "Got ",        " stats, asked for ", failure, "the card granted another number than was asked for"},
    {begin, "kiv_input_file: ",          "", failure, kNoFile},
    {begin, "kiv_tcs_input_file: ",      "", failure, kNoFile},
    {begin, "kiv_tcs_output_file: ",     "", failure, kNoFile},
    {begin, "kiv_tcs_cleanup_file: ",    "", failure, kNoFile},

    // "kiv_util_tx_adj_del call 1 failed with rc=0x16", "prm_srh_xid_add failed for AC bind",
    // "xid_handler for AC Delete failed"; but not "3 passed, 1 failed".
    {failed, " failed with rc=", "", failure, kGaveUp},
    {failed, " failed for ",     "", failure, kGaveUp},
    {failed, "# failed",         "", none, "a count of what failed, of nothing perhaps"},
    {failed, " failed$",         "", failure, kGaveUp},
};
// clang-format on

}  // namespace texts

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_of_name(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || is_digit(c) || c == '_';
}

// "tc_kiv_tcam_verify: Failure in ...", "tc_kiv_xconnect_add_l2p_x_pw:ERROR:...": what stands behind the
// name.
std::string_view behind_the_name(std::string_view text) {
    size_t at = 0;
    while (at < text.size() && is_of_name(text[at])) ++at;
    if (at == 0 || at == text.size() || text[at] != ':') return {};
    ++at;
    if (at < text.size() && text[at] == ' ') ++at;
    return text.substr(at);
}

bool begins(std::string_view line, std::string_view text) {
    return !line.empty() && line.front() == text.front() && line.starts_with(text);
}

// Whether one of the words, "fail|error", occurs, in whatever case.
bool has_one_of(std::string_view text, std::string_view words) {
    const auto same = [](char a, char b) { return tolower(static_cast<unsigned char>(a)) == b; };
    while (!words.empty()) {
        const std::string_view word = words.substr(0, words.find('|'));
        if (std::search(text.begin(), text.end(), word.begin(), word.end(), same) != text.end()) return true;
        words.remove_prefix(std::min(words.size(), word.size() + 1));
    }
    return false;
}

// A line on its way through the table: what several rows look at is found once.
class Line {
  public:
    Line(std::string_view text, bool cut) : text_(text), said_(behind_the_name(text)), cut_(cut) {
        text_ = text_.substr(0, text_.find_last_not_of(" \t\r") + 1);
        failed_ = text_.find("failed");
    }

    bool fits(const OutcomeText &row) const {
        switch (row.where) {
            case Where::begin:
                return begins(text_, row.text) &&
                       (row.then.empty() || has_one_of(text_.substr(row.text.size()), row.then));
            case Where::after_name:
                return begins(text_, row.text) || begins(said_, row.text);
            case Where::failed:
                for (size_t at = failed_; at != std::string_view::npos; at = text_.find("failed", at + 1))
                    if (stands_at(at, row.text)) return true;
                return false;
        }
        return false;
    }

  private:
    // Whether the text, which has "failed" in it, surrounds the one of the line.
    bool stands_at(size_t failed, std::string_view text) const {
        const size_t before = text.find("failed");
        if (before > failed) return false;
        const bool at_end = text.ends_with('$');
        if (at_end) text.remove_suffix(1);
        const std::string_view there = text_.substr(failed - before, text.size());
        if (there.size() < text.size() || (at_end && (cut_ || failed - before + text.size() < text_.size())))
            return false;
        for (size_t i = 0; i < text.size(); ++i)
            if (text[i] == '#' ? !is_digit(there[i]) : text[i] != there[i]) return false;
        return true;
    }

    std::string_view text_;  // without the blanks at its end
    std::string_view said_;  // behind a name; empty when there is none
    size_t failed_;
    bool cut_;
};

}  // namespace

std::span<const OutcomeText> outcome_texts() {
    return texts::kTable;
}

const OutcomeText *outcome_text_of(std::string_view text, bool cut) {
    if (text.empty()) return nullptr;
    const Line line(text, cut);
    for (const OutcomeText &row : texts::kTable)
        if (line.fits(row)) return &row;
    return nullptr;
}

Outcome outcome_of(std::string_view line, bool cut) {
    const OutcomeText *const row = outcome_text_of(line, cut);
    return row != nullptr ? row->outcome : Outcome::none;
}

void OutcomeScanner::restart() {
    failures_ = successes_ = told_failures_ = 0;
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
    const Outcome outcome = outcome_of(line.substr(0, kJudged), line.size() > kJudged);
    if (outcome == Outcome::none) return;
    last_ = outcome;
    if (outcome == Outcome::failure) {
        ++failures_;
        ++told_failures_;
        line_open_ = keep(line) && line.size() == rest.size();
        return;
    }
    ++successes_;
    line_open_ = false;
    if (outcome != Outcome::expected_failure) return;
    ++told_failures_;
    if (before != Outcome::failure) return;
    // The failure told just before is the one that the case wanted to see.
    --failures_;
    if (failures_ < lines_.size()) lines_.pop_back();
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
