// The wording of failed calls that nothing in their case accounts for.
#ifndef KIV_REPORTS_CALLS_H
#define KIV_REPORTS_CALLS_H

#include <string>

#include "kiv/results.h"

namespace kiv::reports {

// "2 calls failed unnoticed: prm_srh_bd_add: unknown bridge domain, uidb_set_feature: 0x5ca00200"; empty when
// there are none.
std::string unnoticed_text(const CallFailures &calls);

// "2 calls failed unnoticed, in 1 case or fixture"; empty when there are none.
std::string unnoticed_text(const Summary &summary);

}  // namespace kiv::reports

#endif
