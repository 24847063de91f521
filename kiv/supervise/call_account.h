// Tells which failed calls of a case nothing in the case accounts for.
#ifndef KIV_SUPERVISE_CALL_ACCOUNT_H
#define KIV_SUPERVISE_CALL_ACCOUNT_H

#include <cstdint>
#include <string>
#include <string_view>

#include "kiv/journal/journal.h"
#include "kiv/results.h"

namespace kiv {

// Whether a text shows a code: hexadecimal with or without 0x, or decimal, as signed number too. A code below
// 0x10000 counts only where the word before it says what it is: "rc = 22", "error :16", "status is 0x5".
bool shows_code(std::string_view text, uint32_t code);

// Follows one case or fixture: the calls that fail and what the case says after them. Takes a bounded memory
// whatever the case does.
class CallAccount {
  public:
    // Operations and codes told apart; calls beyond them are counted together, and only a line that tells of
    // a failure accounts for them.
    static constexpr size_t kKinds = 16;

    void restart();
    void failed(const FailedCall &call);
    // Whether there is a call to account for: else nothing below needs to be told.
    bool is_open() const { return !failures_.unnoticed.empty(); }

    // A check carried the status.
    void checked(uint32_t status);
    // A line told of a failure.
    void failure_told() { failures_.unnoticed.clear(); }
    // A print, or a piece of output that was cut anywhere.
    void text(std::string_view text);

    const CallFailures &failures() const { return failures_; }

  private:
    CallFailures failures_;
    std::string open_end_;  // of the last text: a number may go on
};

}  // namespace kiv

#endif
