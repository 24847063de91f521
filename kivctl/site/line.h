// The lines of an input file, taken apart as the suite's readers do it.
#ifndef KIVCTL_SITE_LINE_H
#define KIVCTL_SITE_LINE_H

#include <string>
#include <string_view>
#include <vector>

namespace kivctl {

struct Field {
    std::string name, value;
    bool has_value = false;
    bool extra = false;  // text after a second ':'
    bool last = false;   // of its line: the newline belongs to the value
};

struct Line {
    int number = 0;      // from 1
    std::string text;    // without its newline
    bool ended = false;  // by a newline
    std::vector<Field> fields;

    size_t bytes() const { return text.size() + (ended ? 1 : 0); }
    void take_apart();  // the text into fields
};

// Runs of a separator count as one, and separators at the ends as none, as strtok has it.
std::vector<std::string> split(std::string_view text, char separator);

std::vector<Line> read_lines(std::string_view text);

}  // namespace kivctl

#endif
