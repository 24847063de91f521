// Finds the lines by which a case reports its outcome in what it prints.
#ifndef KIV_SUPERVISE_OUTCOME_H
#define KIV_SUPERVISE_OUTCOME_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kiv {

enum class Outcome { none, success, failure };

// What a line that begins like `text` says: "ERROR: ", "FAIL:", "Failure in" report a failure, "SUCCESS: ",
// "Success in", "Success while" a success. "name: Failure in" and "name:ERROR:" count as well.
Outcome outcome_of(std::string_view text);

// Whether a success line speaks of a failure, as a negative case does that saw what it expected: "SUCCESS:
// Reading invalid entry failed. Error 22". Right after a failing line it takes that line back.
bool tells_expected_failure(std::string_view text);

// Follows the prints of one case. A marker counts where a line begins and where a print begins: several
// prints often share a line.
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

    uint64_t failures() const { return failures_; }
    uint64_t successes() const { return successes_; }
    // The first failing lines, each from its marker to the end of its line.
    const std::vector<std::string> &failing_lines() const { return lines_; }

  private:
    void line_begins(std::string_view rest);
    bool keep(std::string_view text);  // false when there are enough
    void judge_partial();

    uint64_t failures_ = 0, successes_ = 0;
    std::vector<std::string> lines_;
    std::string partial_;           // begin of a line that came in pieces
    bool judging_ = true;           // the line that a piece goes on with has not been judged
    bool line_open_ = false;        // the last kept line goes on with the next print
    Outcome last_ = Outcome::none;  // of the last line that told one
};

}  // namespace kiv

#endif
