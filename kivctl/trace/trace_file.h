// A trace as the commands read it: event by event, with where it happened and what its handles are called,
// and the choice of calls that the command line makes.
#ifndef KIVCTL_TRACE_TRACE_FILE_H
#define KIVCTL_TRACE_TRACE_FILE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kivctl/trace/trace_commands.h"
#include "trace/naming.h"
#include "trace/reader.h"
#include "trace/text.h"

namespace kivctl {

class TraceFile {
  public:
    // "-" is standard input. Says on standard error why it cannot be read.
    bool open(const std::string &path);
    // The next event; false at the end.
    bool next();

    const trace::Event &event() const { return event_; }
    const trace::Call &call() const { return event_.call; }
    // "FOLDER/CASE", "FOLDER/set-up", "FOLDER/tear-down"; empty before the first.
    const std::string &place() const { return place_; }
    // Whether the event is the begin of a place.
    bool is_begin() const;
    const trace::Naming &names() const { return names_; }
    const trace::Schema &schema() { return reader_.schema(); }
    // For texts of its calls.
    trace::TextOptions text(bool zeros = false) { return {.zeros = zeros, .schema = &schema_}; }
    // Handles stay numbers.
    void leave_unnamed() { named_ = false; }

    // At the end: false when the file has more than could be read, which is said on standard error.
    bool whole() const;

  private:
    void enter(std::string_view folder, std::string_view item);

    trace::Reader reader_;
    trace::Schema schema_;
    trace::Event event_;
    trace::Naming names_;
    std::string place_, top_;  // `top_`: the folder at the top that it is in
    bool named_ = true;
};

// Name or number of what a call returned: "0", "CARD_ERROR_TABLE_FULL", "?" of one that has not.
std::string result_text(const trace::Call &call, const trace::Naming &names, const trace::Schema &schema);

class CallFilter {
  public:
    // False, with the reason said on standard error, for what no call of such a schema can fit.
    bool prepare(const CallFilterOptions &options, const trace::Schema &schema);

    // Whether it chooses among the calls of a place, so that what happens between them tells little.
    bool chooses_calls() const { return !operation_.empty() || !where_.empty() || status_ != Status::any; }
    bool takes_place(const std::string &place) const;
    // Of a call in a place that is taken.
    bool takes(const TraceFile &file, const trace::TextOptions &text) const;

  private:
    enum class Status { any, failed, good, unreturned, code };
    struct Where {
        std::string field, value;
        std::optional<uint64_t> number;
        bool has_index = false;
    };

    bool add_where(const std::string &text, const trace::Schema &schema);
    bool set_status(const std::string &text, const trace::Schema &schema);
    bool fits(const trace::Call &call) const;

    std::string place_, operation_;
    std::vector<Where> where_;
    Status status_ = Status::any;
    uint32_t code_ = 0;
};

// Standard output in large pieces.
class Output {
  public:
    ~Output() { flush(); }
    std::string &text() { return text_; }
    // After each line.
    void line_done() {
        text_ += '\n';
        if (text_.size() > kLarge) flush();
    }
    void flush();

  private:
    static constexpr size_t kLarge = size_t{64} * 1024;
    std::string text_;
};

}  // namespace kivctl

#endif
