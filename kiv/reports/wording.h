// The wording that every format shares: of checks, of how a process ended, of why a case did not pass.
#ifndef KIV_REPORTS_WORDING_H
#define KIV_REPORTS_WORDING_H

#include <string>

#include "kiv/results.h"

namespace kiv::reports {

// "prm/test/src/prm_kiv_uidb:120: tc_kiv_x: expected CERR_SUCCESS (0x00000000), got 0x457c2a00 (text)".
std::string check_line(const Check &check);

// Where the check stands, from the root of the sources: "prm/test/src/prm_kiv_lag.cpp". What a check says of
// its file has no ending.
std::string source_path(const Check &check);

// "3 problems in the site's files"; empty when there is none.
std::string site_problems_text(size_t count);

// How a process ended: "ended by SIGSEGV (Segmentation fault)", "left the worker with exit code 3"; empty
// when no signal and no exit code is known.
std::string end_text(int signal, int exit_code);

// One line that says why the case did not pass: its first failed check, error line or reason, or the calls
// that failed unnoticed or differ from the baseline.
std::string headline(const CaseResult &result);
std::string headline(const FixtureResult &result);

// Everything known about it, a line each: description, reason, failed checks, error lines, where the output
// is.
std::string details(const CaseResult &result);
std::string details(const FixtureResult &result);

}  // namespace kiv::reports

#endif
