// What the suite reads at a site: for each case the readers of its input files, and the lines that it takes
// from standard input.
#ifndef KIVCTL_SITE_FORMATS_H
#define KIVCTL_SITE_FORMATS_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace kivctl {

inline constexpr size_t kLineSize = 200;  // of an input file's line buffer: newline and end included
inline constexpr int kMaxFields = 10;     // of a line, whoever reads it
inline constexpr size_t kSpanLineSize = 100, kStdinLineSize = 500;  // of standard input's

enum class Kind {
    decimal,
    hexadecimal,
    text,
    existing_handle,  // of an interface that must be there: of the inventory, or made by a case
    made_handle,      // of an interface that the case makes
    port,             // of the network processor
    vlan,             // decimal, 0 for none
};

struct Token {
    std::string_view name;
    Kind kind;
    int bits;  // of what the value goes to; of a text, its longest length
    bool required = true;
};

// One function of the suite that reads a file.
struct Reader {
    std::string_view what;  // "the rewrite reader"
    size_t file;            // of kiv::kInputFiles
    int lines, fields;      // that it reads
    std::span<const Token> tokens;
    std::span<const std::string_view> ignored = {};  // on the line, though this reader has no use for them
    std::string_view distinct = {};  // token of a handle that is another one on every line; empty: none
};

// Lines of standard input.
enum class Script {
    none,
    records,          // lines of fields until the end of input
    vplags,           // the same, with lists
    macs,             // the same, beginning with a MAC address
    handles,          // `count` lines of one handle
    counted_handles,  // a count, then that many handles
    counted_sources,  // a count, then that many handles with direction and session
};

struct Input {
    Script script = Script::none;
    int count = 0;
    std::span<const Token> fields = {};  // of a record
};

struct CaseFormat {
    std::string_view folder, name;  // no case that reads something is registered twice
    std::span<const Reader *const> readers;
    Input input;
};

// Every case that reads something.
const std::vector<CaseFormat> &case_formats();

// Null when the case reads nothing.
const CaseFormat *find_format(std::string_view folder, std::string_view name);

// Folders of the suite.
std::span<const std::string_view> suite_folders();

}  // namespace kivctl

#endif
