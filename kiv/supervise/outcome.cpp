// Finds the lines by which a case reports its outcome in what it prints.
#include "kiv/supervise/outcome.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

namespace kiv {

namespace {

constexpr size_t kJudged = 256;  // of a line

namespace texts {

using enum Outcome;
using enum Where;

constexpr std::string_view kFailure = "fail|Fail|FAIL|error|Error|ERROR";

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
    {begin, " kiv_util_tx_adj_del call 1 failed with rc=0x5ca01000", "", none,
     "the simulated card has no such adjacency: delete-all meets one that its own case has deleted"},
    {begin, " prm_srh_xid_del call 1 failed with rc=0x5ca01000", "", none,
     "the simulated card has no such adjacency: a run of part of the plan reserved another next hop"},
    {begin, " prm_srh_xid_del call 1 failed with rc=0x5ca01200", "", none,
     "in use on the simulated card: the removal's first call comes before the pseudowire is gone"},
    {begin, " prm_srh_xid_del call 1 failed with rc=0x5ca", "", failure, kGaveUp},
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
    {begin, "kiv_util_", " Invalid param passed", failure, kWrongCall},
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

constexpr auto &kTable = texts::kTable;

// The rows that a line may fit by its first two letters, as bits: most lines are done with when these are
// looked up.
class Index {
  public:
    constexpr Index() {
        static_assert(std::size(kTable) <= 64);
        for (size_t i = 0; i < std::size(kTable); ++i) {
            const uint64_t bit = uint64_t{1} << i;
            first_[letter(kTable[i].text, 0)] |= bit;
            second_[letter(kTable[i].text, 1)] |= bit;
            of_[static_cast<size_t>(kTable[i].where)] |= bit;
        }
    }
    uint64_t of(Where where) const { return of_[static_cast<size_t>(where)]; }
    uint64_t beginning_like(std::string_view line) const {
        return line.size() < 2 ? 0 : first_[letter(line, 0)] & second_[letter(line, 1)];
    }

  private:
    static constexpr unsigned char letter(std::string_view text, size_t i) {
        return static_cast<unsigned char>(text[i]);
    }

    uint64_t first_[256] = {}, second_[256] = {};
    uint64_t of_[3] = {};
};

constexpr Index kIndex;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_of_name(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || is_digit(c) || c == '_';
}

// What stands behind the first colon, and a blank.
std::string_view behind_colon(std::string_view line) {
    const size_t colon = line.find(':');
    if (colon == std::string_view::npos) return {};
    line.remove_prefix(colon + 1);
    if (line.starts_with(' ')) line.remove_prefix(1);
    return line;
}

// "tc_kiv_tcam_verify: Failure in ...", "tc_kiv_xconnect_add_l2p_x_pw:ERROR:...".
bool begins_with_name(std::string_view line) {
    const size_t colon = line.find(':');
    return colon > 0 && std::all_of(line.begin(), line.begin() + colon, is_of_name);
}

bool has_one_of(std::string_view text, std::string_view others) {
    while (!others.empty()) {
        const std::string_view other = others.substr(0, others.find('|'));
        if (text.find(other) != std::string_view::npos) return true;
        others.remove_prefix(std::min(others.size(), other.size() + 1));
    }
    return false;
}

// Whether `text`, which has "failed" in it, surrounds the one that the line has at `failed`.
bool surrounds(std::string_view line, bool cut, size_t failed, std::string_view text) {
    const size_t before = text.find("failed");
    if (before > failed) return false;
    line.remove_prefix(failed - before);
    if (text.ends_with('$')) {
        text.remove_suffix(1);
        if (cut || line.find_last_not_of(" \t\r") + 1 != text.size()) return false;
    }
    if (line.size() < text.size()) return false;
    for (size_t i = 0; i < text.size(); ++i)
        if (text[i] == '#' ? !is_digit(line[i]) : text[i] != line[i]) return false;
    return true;
}

}  // namespace

std::span<const OutcomeText> outcome_texts() {
    return kTable;
}

const OutcomeText *outcome_text_of(std::string_view line, bool cut) {
    const uint64_t anywhere = kIndex.of(Where::failed);
    uint64_t rows = kIndex.beginning_like(line) & ~anywhere;
    const std::string_view said = behind_colon(line);
    const uint64_t said_rows = kIndex.beginning_like(said) & kIndex.of(Where::after_name);
    const bool named = said_rows != 0 && begins_with_name(line);
    if (named) rows |= said_rows;
    const size_t first_failed = line.find("failed");
    if (first_failed != std::string_view::npos) rows |= anywhere;

    const auto fits = [&](const OutcomeText &row) {
        switch (row.where) {
            case Where::begin:
                return line.starts_with(row.text) &&
                       (row.then.empty() || has_one_of(line.substr(row.text.size()), row.then));
            case Where::after_name:
                return line.starts_with(row.text) || (named && said.starts_with(row.text));
            case Where::failed:
                for (size_t at = first_failed; at != std::string_view::npos; at = line.find("failed", at + 1))
                    if (surrounds(line, cut, at, row.text)) return true;
                return false;
        }
        return false;
    };
    for (; rows != 0; rows &= rows - 1) {
        const OutcomeText &row = kTable[std::countr_zero(rows)];
        if (fits(row)) return &row;
    }
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
