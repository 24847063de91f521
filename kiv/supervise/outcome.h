// Finds the lines by which a case reports its outcome in what it prints.
#ifndef KIV_SUPERVISE_OUTCOME_H
#define KIV_SUPERVISE_OUTCOME_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kiv {

enum class Outcome {
    none,
    success,
    failure,
    expected_failure,  // a success that speaks of a failure, as a negative case does that saw what it wanted
};

// Where a text stands in a line that it makes out.
enum class Where : uint8_t {
    begin,
    after_name,  // at the begin, or behind a function's name: "tc_kiv_tcam_verify: Failure in ..."
    failed,      // wherever the line says "failed": the text is what surrounds it; '#' is a digit, '$' the
                 // line's end, blanks aside
};

struct OutcomeText {
    Where where;
    std::string_view text;
    std::string_view then;  // what else stands behind it: one of several texts, parted by "|"
    Outcome outcome;
    std::string_view why;
};

// The texts that make out an outcome, and those that look as if they did. The first that fits a line counts.
std::span<const OutcomeText> outcome_texts();

// The row that a line fits, or null. A line that was cut has no end.
const OutcomeText *outcome_text_of(std::string_view line, bool cut = false);
Outcome outcome_of(std::string_view line, bool cut = false);

// Follows the prints of one case. A line counts where it begins and where a print begins: several prints
// often share a line.
class OutcomeScanner {
  public:
    static constexpr size_t kKeptLines = 20;
    static constexpr size_t kKeptLength = 400;

    void restart();
    // One print, whole.
    void print(std::string_view text);
    // Output that did not come print by print, cut anywhere: only its lines count.
    void piece(std::string_view text);
    void finish();  // the last line may have no end

    // Right after a failing line, a line of an expected failure takes it back.
    uint64_t failures() const { return failures_; }
    uint64_t successes() const { return successes_; }
    // Lines that told of a failure, expected ones and those that were taken back as well.
    uint64_t told_failures() const { return told_failures_; }
    // The first failing lines, each from its marker to the end of its line.
    const std::vector<std::string> &failing_lines() const { return lines_; }

  private:
    void line_begins(std::string_view rest);
    bool keep(std::string_view text);  // false when there are enough
    void judge_partial();

    uint64_t failures_ = 0, successes_ = 0, told_failures_ = 0;
    std::vector<std::string> lines_;
    std::string partial_;           // begin of a line that came in pieces
    bool judging_ = true;           // the line that a piece goes on with has not been judged
    bool line_open_ = false;        // the last kept line goes on with the next print
    Outcome last_ = Outcome::none;  // of the last line that told one
};

}  // namespace kiv

#endif
