// Selectors from the event stream of an earlier run.
#ifndef KIV_SELECT_RERUN_H
#define KIV_SELECT_RERUN_H

#include <string>
#include <vector>

#include "kiv/select/plan.h"

namespace kiv {

// Adds the cases that are to be run again (kiv/reports/rerun_list.h), in the order they ran. A stream that
// was cut off is read up to there. False, with *error set, when the file cannot be read or is no event
// stream.
bool read_failed(const std::string &path, std::vector<Selector> *selectors, std::string *error);

}  // namespace kiv

#endif
