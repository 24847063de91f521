// What is wrong with a site's input files: each is read as the suite's readers read it.
#include "kivctl/site/check.h"

#include <dirent.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <sstream>

#include "kivctl/site/formats.h"

#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>

namespace kivctl {

namespace fs = std::filesystem;

std::string Problem::message() const {
    return file + (line != 0 ? fmt::format(":{}", line) : "") + ": " + (field.empty() ? "" : field + ": ") +
           text;
}

namespace {

struct Field {
    std::string name, value;
    bool has_value = false;
    bool extra = false;  // text after a second ':'
    bool last = false;   // of its line: the newline belongs to the value
};

struct Line {
    int number = 0;
    std::string text;
    std::vector<Field> fields;
};

// Runs of a separator count as one, and separators at the ends as none, as strtok has it.
std::vector<std::string> split(const std::string &text, char separator) {
    std::vector<std::string> parts;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find(separator, at), text.size());
        if (end > at) parts.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

// What strtoul takes of a text: the number, and whether anything was left over or nothing was there.
struct Number {
    bool is_number = false, whole = false, overflow = false;
    uint64_t value = 0;
};

Number read_number(std::string_view text, int base) {
    Number number;
    if (base == 16 && (text.starts_with("0x") || text.starts_with("0X"))) text.remove_prefix(2);
    for (const char c : text) {
        const int digit = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : 99;
        if (digit >= base) return number;
        number.is_number = true;
        if (number.value >> 58 != 0) number.overflow = true;
        number.value = number.value * static_cast<uint64_t>(base) + static_cast<uint64_t>(digit);
    }
    number.whole = number.is_number;
    return number;
}

std::string shown(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < 0x20)
            result += fmt::format("\\x{:02x}", static_cast<unsigned>(c));
        else
            result += c;
    }
    return result + "\"";
}

class Checker {
  public:
    Checker(std::string directory, SiteCheck *check) : directory_(std::move(directory)), check_(check) {}

    void run() {
        read_inventory();
        scan("cases", 0);
        collect_made_handles();
        check_->cases = case_formats().size();
        check_input_files();
        check_scripts();
        check_strangers();
        check_->files = files_seen_.size();
        std::stable_sort(check_->problems.begin(), check_->problems.end(),
                         [](const Problem &a, const Problem &b) {
                             return std::tie(a.file, a.line) < std::tie(b.file, b.line);
                         });
    }

  private:
    void problem(const std::string &file, int line, std::string field, std::string text) {
        Problem found{file, line, std::move(field), std::move(text)};
        if (std::find(check_->problems.begin(), check_->problems.end(), found) == check_->problems.end())
            check_->problems.push_back(std::move(found));
    }

    // --- What is there ---

    bool is_file(const std::string &path) const {
        std::error_code error;
        return fs::is_regular_file(directory_ + "/" + path, error);
    }

    const std::string &content(const std::string &path) {
        const auto [found, is_new] = contents_.try_emplace(path);
        if (is_new) {
            files_seen_.insert(path);
            std::ifstream file(directory_ + "/" + path, std::ios::binary);
            std::ostringstream text;
            text << file.rdbuf();
            if (!file) problem(path, 0, "", "cannot be read");
            found->second = text.str();
        }
        return found->second;
    }

    void scan(const std::string &relative, int depth) {
        std::error_code error;
        for (const auto &entry : fs::directory_iterator(directory_ + "/" + relative, error)) {
            const std::string path = relative + "/" + entry.path().filename().string();
            if (entry.is_directory(error) && depth < 8) {
                directories_.insert(path);
                scan(path, depth + 1);
            } else {
                files_.insert(path);
            }
        }
    }

    void read_inventory() {
        if (!is_file("card.toml")) return;
        const toml::parse_result parsed = toml::parse(content("card.toml"));
        if (!parsed) {
            problem("card.toml", static_cast<int>(parsed.error().source().begin.line), "",
                    std::string(parsed.error().description()));
            return;
        }
        has_inventory_ = true;
        const toml::table &root = parsed.table();
        if (const auto ports = root["card"]["ports"].value<int64_t>()) ports_ = static_cast<uint64_t>(*ports);
        const toml::array *const interfaces = root["interface"].as_array();
        for (size_t i = 0; interfaces != nullptr && i < interfaces->size(); ++i) {
            const toml::table *const table = (*interfaces)[i].as_table();
            const auto handle = table != nullptr ? (*table)["handle"].value<int64_t>() : std::nullopt;
            if (handle)
                handles_.insert(static_cast<uint64_t>(*handle));
            else
                problem("card.toml", static_cast<int>((*interfaces)[i].source().begin.line),
                        fmt::format("interface[{}].handle", i), "missing");
        }
    }

    // The file that a case finds in the flash: its own, its folder's, a folder's above, the card's; empty
    // when there is none.
    std::string resolve(std::string_view folder, std::string_view name, std::string_view file) const {
        std::string place = fmt::format("cases/{}/{}", folder, name);
        while (place.size() > 5) {
            const std::string path = fmt::format("{}/{}", place, file);
            if (files_.contains(path)) return path;
            place.resize(place.rfind('/'));
        }
        const std::string path = fmt::format("disk0/{}", file);
        return is_file(path) ? path : "";
    }

    std::vector<Line> lines(const std::string &path) {
        std::vector<Line> result;
        const std::string &text = content(path);
        int number = 0;
        for (size_t at = 0; at < text.size();) {
            const size_t newline = text.find('\n', at);
            const size_t end = std::min(newline, text.size());
            Line line;
            line.number = ++number;
            line.text = text.substr(at, end - at);
            const std::vector<std::string> parts = split(line.text, ',');
            for (const std::string &part : parts) {
                Field field;
                const std::vector<std::string> halves = split(part, ':');
                if (!halves.empty()) field.name = halves[0];
                field.has_value = halves.size() > 1;
                if (field.has_value) field.value = halves[1];
                field.extra = halves.size() > 2;
                field.last = &part == &parts.back() && newline != std::string::npos;
                line.fields.push_back(std::move(field));
            }
            result.push_back(std::move(line));
            at = end + 1;
        }
        return result;
    }

    // Handles of interfaces that cases make: those exist for other cases too.
    void collect_made_handles() {
        for (const CaseFormat &format : case_formats())
            for (const Reader *const reader : format.readers) {
                const std::string path = resolve(format.folder, format.name, reader->file);
                if (path.empty()) continue;
                for (const Line &line : lines(path))
                    for (const Field &field : line.fields)
                        for (const Token &token : reader->tokens)
                            if (token.kind == Kind::made_handle && token.name == field.name)
                                handles_.insert(read_number(field.value, 16).value);
            }
    }

    // --- Input files ---

    struct Use {
        std::vector<const Reader *> readers;
        std::string folder;
        std::vector<std::string> cases;
    };

    void check_input_files() {
        std::map<std::string, Use> uses;  // by file
        std::map<std::pair<std::string, std::string_view>, std::vector<std::string>> missing;
        for (const CaseFormat &format : case_formats())
            for (const Reader *const reader : format.readers) {
                const std::string path = resolve(format.folder, format.name, reader->file);
                if (path.empty()) {
                    missing[{std::string(format.folder), reader->file}].emplace_back(format.name);
                    continue;
                }
                Use &use = uses[path];
                if (std::find(use.readers.begin(), use.readers.end(), reader) == use.readers.end())
                    use.readers.push_back(reader);
                use.folder = format.folder;
                use.cases.emplace_back(format.name);
            }
        for (const auto &[where, cases] : missing)
            problem(fmt::format("cases/{}/{}", where.first, where.second), 0, "",
                    fmt::format("missing: {}{} read{} it", cases.front(),
                                cases.size() > 1 ? fmt::format(" and {} more cases", cases.size() - 1) : "",
                                cases.size() > 1 ? "" : "s"));
        for (const auto &[path, use] : uses) check_input_file(path, use);
    }

    static bool knows(const Reader &reader, std::string_view name) {
        for (const std::string_view ignored : reader.ignored)
            if (!ignored.empty() && ignored == name) return true;
        return std::any_of(reader.tokens.begin(), reader.tokens.end(),
                           [&](const Token &token) { return token.name == name; });
    }

    void check_input_file(const std::string &path, const Use &use) {
        const std::vector<Line> all = lines(path);
        int most_lines = 0, most_fields = 0;
        for (const Reader *const reader : use.readers) {
            most_lines = std::max(most_lines, reader->lines);
            most_fields = std::max(most_fields, reader->fields);
        }
        bool ends_with_newline = !content(path).empty() && content(path).back() == '\n';
        bool shifted = false;  // a line that is too long moves all that follow
        for (const Line &line : all) {
            const size_t bytes = line.text.size() + (&line != &all.back() || ends_with_newline ? 1 : 0);
            if (line.number > most_lines) {
                problem(path, line.number, "",
                        fmt::format("no reader gets here: {} line{} read", most_lines,
                                    most_lines == 1 ? " is" : "s are"));
                break;
            }
            if (bytes >= kLineSize) {
                problem(path, line.number, "",
                        fmt::format(
                            "{} characters with the newline: a reader takes {} at most, the rest becomes the "
                            "next line",
                            bytes, kLineSize - 1));
                shifted = true;
            }
            if (line.text.find('\0') != std::string::npos)
                problem(path, line.number, "", "a zero byte ends the line for every reader");
            check_names(path, use, line, most_fields);
        }
        if (shifted) return;
        for (const Reader *const reader : use.readers) check_as(path, *reader, all);
    }

    // What does not depend on which reader it is.
    void check_names(const std::string &path, const Use &use, const Line &line, int most_fields) {
        if (line.text.starts_with('#') || line.text.starts_with("//"))
            problem(path, line.number, "", "input files have no comments: the readers take this as fields");
        std::set<std::string> seen;
        for (size_t i = 0; i < line.fields.size(); ++i) {
            const Field &field = line.fields[i];
            if (static_cast<int>(i) >= most_fields) {
                problem(path, line.number, field.name,
                        fmt::format("field {} of a line of which {} are read", i + 1, most_fields));
                break;
            }
            const auto known = [&](std::string_view name) {
                return std::any_of(use.readers.begin(), use.readers.end(),
                                   [&](const Reader *reader) { return knows(*reader, name); });
            };
            if (!known(field.name)) {
                std::string bare = field.name;
                std::erase_if(bare, [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; });
                std::string upper = bare;
                for (char &c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
                if (known(bare) && field.name.starts_with(' '))
                    problem(path, line.number, shown(field.name),
                            "the blank before the name makes it another name");
                else if (known(bare))
                    problem(path, line.number, shown(field.name), "blanks make it another name");
                else if (known(upper))
                    problem(path, line.number, shown(field.name), fmt::format("the name is {}", upper));
                else
                    problem(path, line.number, shown(field.name),
                            fmt::format("no reader of {} knows this name: {}", use.folder, names_of(use)));
            } else if (!seen.insert(field.name).second) {
                problem(path, line.number, field.name, "is there twice in the line");
            }
        }
    }

    static std::string names_of(const Use &use) {
        std::string names;
        std::set<std::string_view> listed;
        for (const Reader *const reader : use.readers)
            for (const Token &token : reader->tokens)
                if (listed.insert(token.name).second)
                    names += (names.empty() ? "" : ", ") + std::string(token.name);
        return names;
    }

    // As one reader takes it.
    void check_as(const std::string &path, const Reader &reader, const std::vector<Line> &all) {
        for (int i = static_cast<int>(all.size()) + 1; i <= reader.lines; ++i)
            problem(path, i, "",
                    fmt::format("missing: {} reads {} line{}", reader.what, reader.lines,
                                reader.lines == 1 ? "" : "s"));
        for (const Line &line : all) {
            if (line.number > reader.lines) break;
            const size_t fields = std::min(line.fields.size(), static_cast<size_t>(reader.fields));
            for (const Token &token : reader.tokens) {
                bool there = false, beyond = false;
                for (size_t i = 0; i < line.fields.size(); ++i) {
                    if (line.fields[i].name != token.name) continue;
                    if (i >= fields) {
                        beyond = true;
                        continue;
                    }
                    there = true;
                    check_value(path, line.number, reader, token, line.fields[i]);
                }
                if (there || !token.required) continue;
                const std::string name(token.name);
                if (beyond)
                    problem(path, line.number, name,
                            fmt::format("{} reads only the first {} fields of the line", reader.what,
                                        reader.fields));
                else
                    problem(path, line.number, name,
                            fmt::format("missing: {} wants it ({} of {} fields are there)", reader.what,
                                        fields, reader.tokens.size()));
            }
        }
    }

    void check_value(const std::string &path, int line, const Reader &reader, const Token &token,
                     const Field &field) {
        if (!field.has_value || field.value.empty()) {
            problem(path, line, field.name, "has no value: what an earlier line or case left stays");
            return;
        }
        if (field.extra) problem(path, line, field.name, "what follows the second \":\" is not read");
        if (token.kind == Kind::text) {
            if (static_cast<int>(field.value.size()) + (field.last ? 1 : 0) > token.bits)
                problem(path, line, field.name,
                        fmt::format("{} characters{}: {} holds {}", field.value.size(),
                                    field.last ? " and the newline" : "", reader.what, token.bits));
            else if (field.last)
                problem(path, line, field.name,
                        "the newline becomes part of the name: put another field behind it");
            return;
        }
        check_number(path, line, field.name, token, field.value);
    }

    void check_number(const std::string &path, int line, const std::string &name, const Token &token,
                      const std::string &value) {
        const int base = token.kind == Kind::decimal || token.kind == Kind::port ? 10 : 16;
        const Number number = read_number(value, base);
        const char *const words = base == 10 ? "decimal" : "hexadecimal";
        if (!number.is_number) {
            problem(path, line, name,
                    fmt::format("{} is not a {} number and is read as 0", shown(value), words));
            return;
        }
        if (!number.whole) {
            problem(path, line, name,
                    fmt::format("{} is not a {} number: it is read up to the first other character",
                                shown(value), words));
            return;
        }
        if (number.overflow || (token.bits < 64 && number.value >> token.bits != 0)) {
            const uint64_t mask = (uint64_t{1} << token.bits) - 1;
            problem(path, line, name,
                    number.overflow ? fmt::format("{} is too large for {} bits", value, token.bits)
                                    : fmt::format("{} does not fit {} bit{}: it is cut to {}", value,
                                                  token.bits, token.bits == 1 ? "" : "s",
                                                  base == 10 ? fmt::format("{}", number.value & mask)
                                                             : fmt::format("{:x}", number.value & mask)));
            return;
        }
        if (token.kind == Kind::port && has_inventory_ && number.value >= ports_)
            problem(path, line, name,
                    fmt::format("{} is no port of the card: it has 0 to {}", value, ports_ - 1));
        if (token.kind == Kind::existing_handle && has_inventory_ && !handles_.contains(number.value))
            problem(path, line, name,
                    fmt::format("{:#x} is neither in the inventory (card.toml) nor made by a case",
                                number.value));
    }

    // --- Standard input ---

    void check_scripts() {
        for (const CaseFormat &format : case_formats()) {
            if (format.input.script == Script::none) continue;
            const std::string path = fmt::format("cases/{}/{}/stdin", format.folder, format.name);
            if (files_.contains(path))
                check_script(path, format.input);
            else
                problem(path, 0, "", "missing: the case reads standard input, which an operator would type");
        }
    }

    void check_script(const std::string &path, const Input &input) {
        const bool span = input.script == Script::handles || input.script == Script::counted_handles ||
                          input.script == Script::counted_sources;
        std::vector<Line> all = lines(path);
        const size_t longest = (span ? kSpanLineSize : kStdinLineSize) - 1;
        for (Line &line : all) {
            if (line.text.size() >= longest)
                problem(path, line.number, "",
                        fmt::format("{} characters with the newline: {} at most are read as one line",
                                    line.text.size() + 1, longest));
            // Trailing white space is stripped by the record reader and ends a number for the others.
            while (!line.text.empty() && std::isspace(static_cast<unsigned char>(line.text.back())))
                line.text.pop_back();
        }
        if (span) return check_span(path, input, all);
        size_t records = 0;
        for (const Line &line : all) {
            if (line.text.empty()) continue;
            ++records;
            if (input.script == Script::vplags)
                check_vplag(path, line);
            else if (input.script == Script::macs)
                check_mac(path, line);
            else
                check_record(path, line.number, split(line.text, ','), input.fields);
        }
        if (records == 0) problem(path, 0, "", "no line: the case would do nothing");
    }

    void check_record(const std::string &path, int line, const std::vector<std::string> &values,
                      std::span<const Token> fields) {
        for (size_t i = 0; i < fields.size(); ++i) {
            const std::string name(fields[i].name);
            if (i >= values.size())
                problem(path, line, name,
                        fmt::format("missing: {} of {} fields are there", values.size(), fields.size()));
            else
                check_number(path, line, name, fields[i], values[i]);
        }
        if (values.size() > fields.size())
            problem(path, line, "", fmt::format("{} fields where {} are read", values.size(), fields.size()));
    }

    void check_vplag(const std::string &path, const Line &line) {
        static constexpr Token kHead[] = {{"source VTEP", Kind::hexadecimal, 32},
                                          {"vplag", Kind::decimal, 32},
                                          {"number of paths", Kind::decimal, 32}};
        static constexpr Token kNextHop{"next hops", Kind::decimal, 32},
            kVtep{"remote VTEPs", Kind::hexadecimal, 32};
        static constexpr uint64_t kMaxPaths = 16;
        std::vector<std::string> values = split(line.text, ';');
        const std::vector<std::string> head(
            values.begin(), values.begin() + static_cast<long>(std::min<size_t>(3, values.size())));
        check_record(path, line.number, head, kHead);
        if (values.size() < 3) return;
        const Number paths = read_number(values[2], 10);
        if (!paths.whole) return;
        if (paths.value > kMaxPaths) {
            problem(path, line.number, "number of paths",
                    fmt::format("{} is more than {}: the case aborts", paths.value, kMaxPaths));
            return;
        }
        if (paths.value == 0) {
            if (values.size() > 3)
                problem(path, line.number, "number of paths", "0: the lists behind it are not read");
            return;
        }
        for (size_t i = 3; i < 5; ++i) {
            const Token &token = i == 3 ? kNextHop : kVtep;
            const std::vector<std::string> items =
                i < values.size() ? split(values[i], ',') : std::vector<std::string>();
            for (const std::string &item : items)
                check_number(path, line.number, std::string(token.name), token, item);
            if (items.size() != paths.value)
                problem(path, line.number, std::string(token.name),
                        fmt::format("{} where the number of paths is {}: the case aborts", items.size(),
                                    paths.value));
        }
        if (values.size() > 5)
            problem(path, line.number, "", fmt::format("{} fields where 5 are read", values.size()));
    }

    void check_mac(const std::string &path, const Line &line) {
        static constexpr Token kByte{"MAC address", Kind::hexadecimal, 8};
        const std::vector<std::string> values = split(line.text, ',');
        const std::vector<std::string> bytes = values.empty() ? values : split(values[0], ':');
        if (bytes.size() != 6)
            problem(path, line.number, "MAC address", fmt::format("{} bytes where 6 belong", bytes.size()));
        for (const std::string &byte : bytes) check_number(path, line.number, "MAC address", kByte, byte);
        const bool hexadecimal = values.size() > 2 && read_number(values[2], 10).value == 1;
        const Token fields[] = {{"bridge domain", Kind::decimal, 32},
                                {"type", Kind::decimal, 32},
                                {"FEC", hexadecimal ? Kind::hexadecimal : Kind::decimal, 32}};
        check_record(path, line.number,
                     values.empty() ? values : std::vector<std::string>(values.begin() + 1, values.end()),
                     fields);
    }

    void check_span(const std::string &path, const Input &input, const std::vector<Line> &all) {
        static constexpr Token kCount{"count", Kind::decimal, 32},
            kHandle{"handle", Kind::existing_handle, 32}, kDirection{"direction", Kind::decimal, 32},
            kSession{"session", Kind::decimal, 31};
        size_t at = 0;
        const auto next = [&](const Token &token) -> std::optional<uint64_t> {
            const std::string name(token.name);
            if (at >= all.size()) {
                problem(path, static_cast<int>(at) + 1, name, "missing: the input ends before it");
                return std::nullopt;
            }
            const Line &line = all[at++];
            check_number(path, line.number, name, token, line.text);
            const Number number = read_number(line.text, token.kind == Kind::existing_handle ? 16 : 10);
            return number.whole ? std::optional(number.value) : std::nullopt;
        };
        uint64_t sets = static_cast<uint64_t>(input.count);
        if (input.script != Script::handles) {
            const auto count = next(kCount);
            if (!count) return;
            if (*count < 1 || *count > 400) {
                problem(path, 1, "count",
                        fmt::format("{} is not between 1 and 400: the case aborts", *count));
                return;
            }
            sets = *count;
        }
        for (uint64_t i = 0; i < sets; ++i) {
            if (at >= all.size()) {
                problem(path, static_cast<int>(at) + 1, "handle",
                        fmt::format("missing: {} of {} are there", i, sets));
                return;
            }
            next(kHandle);
            if (input.script != Script::counted_sources) continue;
            if (const auto direction = next(kDirection); direction && *direction > 2)
                problem(path, static_cast<int>(at), "direction",
                        fmt::format("{} is not 0, 1 or 2", *direction));
            if (const auto session = next(kSession); session && *session > 3)
                problem(path, static_cast<int>(at), "session",
                        fmt::format("{} is no session: 0 to 3 are", *session));
        }
        if (at < all.size())
            problem(path, all[at].number, "",
                    fmt::format("no reader gets here: {} line{} read", at, at == 1 ? " is" : "s are"));
    }

    // --- What nobody reads ---

    void check_strangers() {
        const auto folder_exists = [](std::string_view path) {
            const auto folders = suite_folders();
            return std::find(folders.begin(), folders.end(), path) != folders.end();
        };
        for (const std::string &directory : directories_) {
            const std::string path = directory.substr(6);  // behind "cases/"
            if (folder_exists(path)) continue;
            const size_t slash = path.rfind('/');
            const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash);
            if (folder.empty())
                problem(directory, 0, "", "no folder of the suite has this name");
            else if (!folder_exists(folder))
                continue;  // said of its parent
            else if (std::string name = path.substr(slash + 1); true) {
                name.resize(std::min(name.find('#'), name.size()));
                if (find_format(folder, name) == nullptr)
                    problem(directory, 0, "",
                            fmt::format("no case of {} that reads anything has this name", folder));
            }
        }
        for (const std::string &path : files_) {
            const std::string name = path.substr(path.rfind('/') + 1);
            const std::string place = path.substr(0, path.rfind('/'));
            if (name == "kiv_input_file" || name == "kiv_tcs_input_file") continue;
            if (name != "stdin") {
                problem(path, 0, "",
                        "nothing reads a file of this name: kiv_input_file, kiv_tcs_input_file, stdin");
                continue;
            }
            const std::string case_path = place.size() > 6 ? place.substr(6) : "";
            const size_t slash = case_path.rfind('/');
            std::string case_name = slash == std::string::npos ? "" : case_path.substr(slash + 1);
            case_name.resize(std::min(case_name.find('#'), case_name.size()));
            const CaseFormat *const format =
                slash == std::string::npos ? nullptr : find_format(case_path.substr(0, slash), case_name);
            if (format == nullptr || format->input.script == Script::none)
                problem(path, 0, "", "no case reads this as its standard input");
        }
    }

    const std::string directory_;
    SiteCheck *const check_;
    std::set<std::string> files_, directories_;  // below cases/
    std::set<std::string> files_seen_;
    std::map<std::string, std::string> contents_;
    bool has_inventory_ = false;
    uint64_t ports_ = 64;
    std::set<uint64_t> handles_;
};

}  // namespace

bool check_site(const std::string &directory, SiteCheck *check, std::string *error) {
    *check = {};
    struct stat status;
    if (stat(directory.c_str(), &status) != 0) {
        *error = directory + ": " + std::strerror(errno);
        return false;
    }
    std::error_code ignored;
    if (!S_ISDIR(status.st_mode) ||
        (!fs::exists(directory + "/disk0", ignored) && !fs::exists(directory + "/cases", ignored) &&
         !fs::exists(directory + "/card.toml", ignored))) {
        *error = directory + ": not a site: none of card.toml, disk0 and cases is there";
        return false;
    }
    Checker(directory, check).run();
    return true;
}

}  // namespace kivctl
