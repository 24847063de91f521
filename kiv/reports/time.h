// Points in time and durations, as text.
#ifndef KIV_REPORTS_TIME_H
#define KIV_REPORTS_TIME_H

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace kiv::reports {

// Seconds as a decimal number without loss: "0.000001234", "2".
void append_seconds(std::string &to, std::chrono::nanoseconds time);

// For people: "35 ns", "1.5 ms", "2 min 5 s"; three digits at most.
std::string duration_text(std::chrono::nanoseconds duration);

// Nanoseconds since 1970 of "2026-11-21T04:00:00.123456789Z" (fraction optional, up to nine digits); false
// when the text is no such time.
bool parse_time(std::string_view text, int64_t *nanoseconds);

// Writes points in time as such texts. The text of one second is kept.
class Clock {
  public:
    // From RunInfo::started_at; a text that cannot be read counts as 1970.
    void start(std::string_view started_at);
    void append(std::string &to, std::chrono::nanoseconds since_start);
    // "2026-11-21T04:00:00", without a zone.
    void append_to_second(std::string &to, std::chrono::nanoseconds since_start);

  private:
    void prepare(int64_t second);

    int64_t start_ns_ = 0;  // since 1970
    int64_t second_ = INT64_MIN;
    char text_[20] = {};  // of that second
};

}  // namespace kiv::reports

#endif
