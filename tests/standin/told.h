// The framework's prints and checks for programs that run the suite without the framework: what a case tells
// is kept for who listens, and dropped (formatted and counted all the same) when nobody does.
#ifndef TESTS_STANDIN_TOLD_H
#define TESTS_STANDIN_TOLD_H

#include <functional>
#include <string>
#include <vector>

#include "tests/standin/registration.h"

namespace standin {

struct Told {
    std::string name;     // of the case
    std::string printed;  // through kiv_printf
    int checks = 0;
    std::vector<std::string> failed_checks;  // "function:line: 0x457c2a00, not 0x0", or the condition's text
};

// Runs something of the suite and returns what it told. What it writes to standard output is not part of
// that.
Told told_by(const std::string &name, const std::function<void()> &function);
inline Told told_by(const Case &test_case) {
    return told_by(test_case.name, test_case.function);
}

// Runs a folder's cases, in registration order, between its set-up and its tear-down; what these two tell
// goes to *fixtures.
std::vector<Told> told_by_folder(const Registration &registration, const std::string &folder, Told *fixtures);

// Since the program's start.
struct CheckCounts {
    unsigned long all = 0, failed = 0;
};
CheckCounts check_counts();

}  // namespace standin

#endif
