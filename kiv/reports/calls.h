// The wording of calls that need a look: failed ones that nothing in their case accounts for, and those that
// differ from the baseline.
#ifndef KIV_REPORTS_CALLS_H
#define KIV_REPORTS_CALLS_H

#include <span>
#include <string>

#include "kiv/results.h"

namespace kiv::reports {

// "2 calls failed unnoticed: prm_srh_bd_add: unknown bridge domain, uidb_set_feature: 0x5ca00200"; empty when
// there are none.
std::string unnoticed_text(const CallFailures &calls);

// "2 calls failed unnoticed, in 1 case or fixture"; empty when there are none.
std::string unnoticed_text(const Summary &summary);

// "2 differences from the baseline: call 3: prm_srh_bd_add: flags: learn|flood, baseline learn, and 1 more";
// empty when there are none.
std::string differences_text(const Differences &differences);

// "3 differences from the baseline, in 2 cases and fixtures"; empty when there are none.
std::string differences_text(const Summary &summary);

// Of the calls that lead to something, those that are told beside it: the last ones.
std::span<const ToldCall> last_calls(std::span<const ToldCall> calls);

// "12 calls before these are not shown", of `before` a check; empty when there are none. `told` is all that
// is told of the case.
std::string earlier_calls_text(const CallsTold &told, std::span<const ToldCall> before);

}  // namespace kiv::reports

#endif
