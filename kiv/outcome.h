// Finds the lines by which a case reports its outcome in what it prints.
#ifndef KIV_OUTCOME_H
#define KIV_OUTCOME_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kiv {

enum class Outcome { none, success, failure };

// What a line that begins like `text` says: "ERROR: ", "FAIL:", "Failure in" report a failure, "SUCCESS: ",
// "Success in", "Success while" a success. "name: Failure in" counts as well.
Outcome outcome_of(std::string_view text);

// Follows the prints of one case. A marker counts where a line begins and where a print begins: several
// prints often share a line.
class OutcomeScanner {
  public:
    static constexpr size_t kKeptLines = 20;
    static constexpr size_t kKeptLength = 400;

    void restart();
    // One print, whole. Output that did not come print by print (a child's) is `continuing`: only its lines
    // count.
    void print(std::string_view text, bool continuing = false);

    void finish();  // what came last may have been cut in the middle of a marker

    uint64_t failures() const { return failures_; }
    uint64_t successes() const { return successes_; }
    // The first failing lines, each from its marker to the end of its line.
    const std::vector<std::string> &failing_lines() const { return lines_; }

  private:
    void line_begins(std::string_view rest);
    void keep(std::string_view text);

    uint64_t failures_ = 0, successes_ = 0;
    std::vector<std::string> lines_;
    std::string partial_;  // a line begin, short, that a later continuing print goes on with
    bool at_line_begin_ = true;
    bool line_open_ = false;  // the last kept line goes on with the next print
};

}  // namespace kiv

#endif
