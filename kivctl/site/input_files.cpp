// The input files: each is read as the readers of the cases that find it read it.
#include "kivctl/site/input_files.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <set>

namespace kivctl {
namespace {

// One file, and who reads it.
class InputFile {
  public:
    explicit InputFile(std::string path) : path_(std::move(path)) {}

    void add_reader(const Reader *reader, std::string_view folder) {
        folder_ = folder;
        if (std::find(readers_.begin(), readers_.end(), reader) != readers_.end()) return;
        readers_.push_back(reader);
        most_lines_ = std::max(most_lines_, reader->lines);
        most_fields_ = std::max(most_fields_, static_cast<size_t>(reader->fields));
    }

    void check(const std::vector<Line> &lines, Values &values, Problems &problems) const {
        if (lines.empty()) return;  // that it is empty, or cannot be read, was said
        bool shifted = false;       // a line that is too long, or none of the format's, moves all that follow
        for (const Line &line : lines) {
            const Place place{path_, line.number};
            if (line.number > most_lines_) {
                problems.add(place, "",
                             join("no reader gets here: ", most_lines_,
                                  most_lines_ == 1 ? " line is read" : " lines are read"));
                break;
            }
            if (line.bytes() >= kLineSize) {
                problems.add(place, "",
                             join(line.bytes(), " characters with the newline: a reader takes ",
                                  kLineSize - 1, " at most, the rest becomes the next line"));
                shifted = true;
            }
            if (line.text.find('\0') != std::string::npos)
                problems.add(place, "", "a zero byte ends the line for every reader");
            if (is_comment(line)) {
                problems.add(place, "", "input files have no comments: the readers take this as fields");
                shifted = true;
                continue;
            }
            check_names(place, line, problems);
        }
        if (shifted) return;
        for (const Reader *const reader : readers_) check_as(*reader, lines, values, problems);
    }

  private:
    static bool is_comment(const Line &line) {
        return line.text.starts_with('#') || line.text.starts_with("//") || line.text.starts_with(';');
    }

    bool is_known(std::string_view name) const {
        return std::any_of(readers_.begin(), readers_.end(), [&](const Reader *reader) {
            return std::find(std::begin(reader->ignored), std::end(reader->ignored), name) !=
                       std::end(reader->ignored) ||
                   std::any_of(reader->tokens.begin(), reader->tokens.end(),
                               [&](const Token &token) { return token.name == name; });
        });
    }

    // What does not depend on which reader it is.
    void check_names(const Place &place, const Line &line, Problems &problems) const {
        if (line.text.ends_with(','))
            problems.add(place, "",
                         "a comma at the end of the line: the readers take its end as one more field");
        std::set<std::string_view> seen;
        for (size_t i = 0; i < line.fields.size(); ++i) {
            const std::string &name = line.fields[i].name;
            if (i >= most_fields_) {
                problems.add(place, name,
                             join("field ", i + 1, " of a line of which ", most_fields_, " are read"));
                break;
            }
            if (!is_known(name))
                problems.add(place, kivctl::quoted(name), why_unknown(name));
            else if (!seen.insert(name).second)
                problems.add(place, name, "is there twice in the line");
        }
    }

    std::string why_unknown(const std::string &name) const {
        std::string bare = name;
        std::erase_if(bare, [](unsigned char c) { return std::isspace(c) != 0; });
        if (is_known(bare)) {
            if (name.find('\t') != std::string::npos) return "a tab makes it another name";
            return name.starts_with(' ') ? "the blank before the name makes it another name"
                                         : "blanks make it another name";
        }
        std::string upper = bare;
        for (char &c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        if (is_known(upper)) return "the name is " + upper;
        return join("no reader of ", folder_, " knows this name: ", known_names());
    }

    std::string known_names() const {
        std::string names;
        std::set<std::string_view> listed;
        for (const Reader *const reader : readers_)
            for (const Token &token : reader->tokens)
                if (listed.insert(token.name).second) names += join(names.empty() ? "" : ", ", token.name);
        return names;
    }

    // As one reader takes it.
    void check_as(const Reader &reader, const std::vector<Line> &lines, Values &values,
                  Problems &problems) const {
        for (int i = static_cast<int>(lines.size()) + 1; i <= reader.lines; ++i)
            problems.add({path_, i}, "",
                         join("missing: ", reader.what, " reads ", reader.lines,
                              reader.lines == 1 ? " line" : " lines"));
        for (const Line &line : lines) {
            if (line.number > reader.lines) break;
            for (const Token &token : reader.tokens) check_token(reader, token, line, values, problems);
            check_uidb(reader, line, values);
        }
        check_distinct(reader, lines, problems);
    }

    // The value of a token on a line, as the reader finds it; empty when there is none.
    static std::string_view value_of(const Reader &reader, std::string_view token, const Line &line) {
        const size_t read = std::min(line.fields.size(), static_cast<size_t>(reader.fields));
        for (size_t i = 0; i < read; ++i)
            if (line.fields[i].name == token) return line.fields[i].value;
        return {};
    }

    void check_uidb(const Reader &reader, const Line &line, Values &values) const {
        const std::string_view handle = value_of(reader, "IFH", line), uidb = value_of(reader, "UIDB", line);
        if (!handle.empty() && !uidb.empty()) values.check_uidb({path_, line.number}, handle, uidb);
    }

    void check_distinct(const Reader &reader, const std::vector<Line> &lines, Problems &problems) const {
        std::map<uint64_t, int> first;  // line of each handle
        for (const Line &line : lines) {
            if (line.number > reader.lines) break;
            const Number handle = read_number(value_of(reader, reader.distinct, line), 16);
            if (!handle.whole) continue;
            const auto [before, is_new] = first.try_emplace(handle.value, line.number);
            if (!is_new)
                problems.add(
                    {path_, line.number}, std::string(reader.distinct),
                    join("0x", hexadecimal(handle.value), " stands in line ", before->second, " already"));
        }
    }

    void check_token(const Reader &reader, const Token &token, const Line &line, Values &values,
                     Problems &problems) const {
        const Place place{path_, line.number};
        const size_t read = std::min(line.fields.size(), static_cast<size_t>(reader.fields));
        bool there = false, beyond = false;
        for (size_t i = 0; i < line.fields.size(); ++i) {
            if (line.fields[i].name != token.name) continue;
            if (i < read) check_value(place, reader, token, line.fields[i], values, problems);
            (i < read ? there : beyond) = true;
        }
        if (there || !token.required) return;
        problems.add(place, std::string(token.name),
                     beyond
                         ? join(reader.what, " reads only the first ", reader.fields, " fields of the line")
                         : join("missing: ", reader.what, " wants it (", read, " of ", reader.tokens.size(),
                                " fields are there)"));
    }

    static void check_value(const Place &place, const Reader &reader, const Token &token, const Field &field,
                            Values &values, Problems &problems) {
        if (!field.has_value) {
            problems.add(place, field.name, "has no value: what an earlier line or case left stays");
            return;
        }
        if (field.extra) problems.add(place, field.name, "what follows the second \":\" is not read");
        if (token.kind != Kind::text) {
            values.check(place, token, field.value);
        } else if (field.value.size() + (field.last ? 1 : 0) > static_cast<size_t>(token.bits)) {
            problems.add(place, field.name,
                         join(field.value.size(), " characters", field.last ? " and the newline" : "", ": ",
                              reader.what, " holds ", token.bits));
        } else if (field.last) {
            problems.add(place, field.name,
                         "the newline becomes part of the name: put another field behind it");
        }
    }

    std::string path_;
    std::string_view folder_;
    std::vector<const Reader *> readers_;
    int most_lines_ = 0;
    size_t most_fields_ = 0;
};

}  // namespace

void add_made_handles(Tree &tree, Values &values) {
    for (const CaseFormat &format : case_formats())
        for (const Reader *const reader : format.readers) {
            const std::string path = tree.input_file(format, reader->file);
            if (path.empty()) continue;
            for (const Line &line : tree.lines(path))
                for (const Field &field : line.fields)
                    for (const Token &token : reader->tokens)
                        if (token.kind == Kind::made_handle && token.name == field.name)
                            values.add_handle(read_number(field.value, base_of(token.kind)).value);
        }
}

void check_input_files(Tree &tree, Values &values, Problems &problems) {
    std::map<std::string, InputFile> files;
    std::map<std::string, std::vector<std::string_view>> missing;  // the cases that would read it
    for (const CaseFormat &format : case_formats())
        for (const Reader *const reader : format.readers) {
            const std::string path = tree.input_file(format, reader->file);
            if (path.empty())
                missing[join("cases/", format.folder, "/", kiv::kInputFiles[reader->file])].push_back(
                    format.name);
            else
                files.try_emplace(path, path).first->second.add_reader(reader, format.folder);
        }
    for (const auto &[path, cases] : missing)
        problems.add({path}, "",
                     cases.size() == 1 ? join("missing: ", cases.front(), " reads it")
                                       : join("missing: ", cases.front(), " and ", cases.size() - 1,
                                              " more cases read it"));
    for (const auto &[path, file] : files) file.check(tree.lines(path), values, problems);
}

}  // namespace kivctl
