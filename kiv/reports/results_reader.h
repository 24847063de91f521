// Reads an event stream (the JSON report) back: every event is told to a Reporter as the run told it.
#ifndef KIV_REPORTS_RESULTS_READER_H
#define KIV_REPORTS_RESULTS_READER_H

#include <string>
#include <string_view>

#include "kiv/results.h"

namespace kiv::reports {

struct ReadStatus {
    bool complete = false;  // the summary was read
    bool torn = false;      // the last line ends in the middle
    size_t lines = 0;
    std::string error;  // "NAME:LINE: FIELD: what is wrong"; empty when all of it could be read
};

// Reads the text of a stream from a file; "-" is standard input. False, with *error set, when it cannot be
// read or has a line that no run writes.
bool load_results(const std::string &path, std::string *text, std::string *error);

// Tells `reporter` what `text` holds; `name` is the file's name in messages. False when something other than
// a torn last line is broken: what came before it has been told then. A case that has begun and not ended is
// not told of; run_ended is told only when the stream holds the summary.
bool read_results(std::string_view text, const std::string &name, Reporter &reporter, ReadStatus *status);

}  // namespace kiv::reports

#endif
