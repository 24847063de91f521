// The baseline of a folder: the calls that its cases are known to make, a text that people review.
//
//   # what the file is
//   after prm-kiv, acl
//   set-up
//     prm_srh_register(-> client#1, 0, manager#1, set) = 0
//   case tc_kiv_bd_add: passed, 3 checks
//     prm_srh_bd_add(client#1@set-up, {bd_id 7, flags learn}) = 0
//   tear-down
//
// Sections stand in the order in which they ran. A case is followed by its verdict and how many checks it
// made. "after" names the folders that must have run before: what they leave in the suite or on the card
// shows in the calls of this one. People write that line; it is kept when the rest is written anew.
#ifndef TRACE_BASELINE_H
#define TRACE_BASELINE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace trace {

enum class SectionKind : uint8_t { SET_UP, CASE, TEAR_DOWN };

// "set-up", "tear-down", "case tc_x".
std::string section_title(SectionKind kind, std::string_view name);

// "passed, 3 checks".
std::string outcome_text(std::string_view verdict, uint64_t checks);

struct BaselineSection {
    SectionKind kind = SectionKind::CASE;
    std::string name;     // of a case
    std::string outcome;  // of a case: "passed, 3 checks"
    std::vector<std::string_view> calls;

    bool is(SectionKind other_kind, std::string_view other_name) const {
        return kind == other_kind && name == other_name;
    }
};

class Baseline {
  public:
    // How closely calls are looked at: as far as it takes to compare them, or whether each can be read.
    enum class Look : uint8_t { FORM, EVERY_FIELD };

    // Reads a text; `path` is for messages. False, with *error "PATH:LINE: what is wrong".
    bool read(std::string text, std::string_view path, std::string *error, Look look = Look::EVERY_FIELD);
    // The same from a file. *exists tells whether there is one.
    bool read_file(const std::string &path, bool *exists, std::string *error, Look look = Look::EVERY_FIELD);

    const std::vector<BaselineSection> &sections() const { return sections_; }
    const std::vector<std::string> &after() const { return after_; }

  private:
    std::string text_;  // that the calls are views of
    std::vector<BaselineSection> sections_;
    std::vector<std::string> after_;
};

// "DIRECTORY/span/session.txt"; empty for a folder whose name leads out of the directory.
std::string baseline_path(std::string_view directory, std::string_view folder);

// Makes the text of a baseline, section by section.
class BaselineWriter {
  public:
    BaselineWriter(std::string_view folder, const std::vector<std::string> &after);

    void begin();
    void call(std::string_view line);
    void end(SectionKind kind, std::string_view name, std::string_view outcome);

    bool is_empty() const { return is_empty_; }  // no section has ended
    const std::string &text() const { return text_; }

  private:
    std::string text_, calls_;
    bool is_empty_ = true;
};

}  // namespace trace

#endif
