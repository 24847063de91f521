// The scripts: what cases read on standard input, a `stdin` file for each.
#include "kivctl/site/scripts.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <span>

namespace kivctl {
namespace {

constexpr Token kVplagHead[] = {{"source VTEP", Kind::hexadecimal, 32},
                                {"vplag", Kind::decimal, 32},
                                {"number of paths", Kind::decimal, 32}};
constexpr Token kVplagLists[] = {{"next hops", Kind::decimal, 32}, {"remote VTEPs", Kind::hexadecimal, 32}};
constexpr uint64_t kMaxPaths = 16;

constexpr Token kMacByte{"MAC address", Kind::hexadecimal, 8};
constexpr size_t kMacBytes = 6;

constexpr Token kCount{"count", Kind::decimal, 32}, kHandle{"handle", Kind::existing_handle, 32},
    kDirection{"direction", Kind::decimal, 32}, kSession{"session", Kind::decimal, 31};
constexpr uint64_t kMaxSources = 400, kLastDirection = 2, kLastSession = 3;

using Texts = std::span<const std::string>;

class ScriptFile {
  public:
    ScriptFile(std::string path, std::vector<Line> lines, Values *values, Problems *problems)
        : path_(std::move(path)), lines_(std::move(lines)), values_(values), problems_(problems) {}

    void check(const Input &input) {
        const bool span = input.script == Script::handles || input.script == Script::counted_handles ||
                          input.script == Script::counted_sources;
        trim((span ? kSpanLineSize : kStdinLineSize) - 1);
        if (span)
            check_span(input);
        else
            check_records(input);
    }

  private:
    // Trailing white space is stripped by the record reader and ends a number for the others.
    void trim(size_t longest) {
        for (Line &line : lines_) {
            if (line.text.size() >= longest)
                problems_->add(at(line), "",
                               join(line.text.size() + 1, " characters with the newline: ", longest,
                                    " at most are read as one line"));
            while (!line.text.empty() && std::isspace(static_cast<unsigned char>(line.text.back())))
                line.text.pop_back();
        }
    }

    void check_records(const Input &input) {
        bool any = false;
        for (const Line &line : lines_) {
            if (line.text.empty()) continue;
            any = true;
            if (input.script == Script::vplags)
                check_vplag(line);
            else if (input.script == Script::macs)
                check_mac(line);
            else
                check_record(line, split(line.text, ','), input.fields);
        }
        if (!any) problems_->add({path_}, "", "no line: the case would do nothing");
    }

    void check_record(const Line &line, Texts values, std::span<const Token> fields) {
        for (size_t i = 0; i < fields.size(); ++i) {
            if (i < values.size())
                values_->check(at(line), fields[i], values[i]);
            else
                problems_->add(at(line), std::string(fields[i].name),
                               join("missing: ", values.size(), " of ", fields.size(), " fields are there"));
        }
        if (values.size() > fields.size())
            problems_->add(at(line), "", join(values.size(), " fields where ", fields.size(), " are read"));
    }

    // Fields with ";" between them, the last two of which are lists as long as the third says.
    void check_vplag(const Line &line) {
        constexpr size_t kHead = std::size(kVplagHead), kAll = kHead + std::size(kVplagLists);
        const std::vector<std::string> values = split(line.text, ';');
        check_record(line, Texts(values).first(std::min(kHead, values.size())), kVplagHead);
        if (values.size() < kHead) return;
        const Number paths = read_number(values[kHead - 1], 10);
        const std::string name(kVplagHead[kHead - 1].name);
        if (!paths.whole) return;
        if (paths.value > kMaxPaths) {
            problems_->add(at(line), name,
                           join(paths.value, " is more than ", kMaxPaths, ": the case aborts"));
            return;
        }
        if (paths.value == 0) {
            if (values.size() > kHead) problems_->add(at(line), name, "0: the lists behind it are not read");
            return;
        }
        for (size_t i = kHead; i < kAll; ++i)
            check_list(line, kVplagLists[i - kHead], i < values.size() ? values[i] : "", paths.value);
        if (values.size() > kAll)
            problems_->add(at(line), "", join(values.size(), " fields where ", kAll, " are read"));
    }

    void check_list(const Line &line, const Token &token, const std::string &text, uint64_t wanted) {
        const std::vector<std::string> items = split(text, ',');
        for (const std::string &item : items) values_->check(at(line), token, item);
        if (items.size() != wanted)
            problems_->add(at(line), std::string(token.name),
                           join(items.size(), " where the number of paths is ", wanted, ": the case aborts"));
    }

    void check_mac(const Line &line) {
        const std::vector<std::string> values = split(line.text, ',');
        const std::vector<std::string> bytes = split(values.empty() ? "" : values[0], ':');
        if (bytes.size() != kMacBytes)
            problems_->add(at(line), std::string(kMacByte.name),
                           join(bytes.size(), " bytes where ", kMacBytes, " belong"));
        for (const std::string &byte : bytes) values_->check(at(line), kMacByte, byte);
        const bool is_hexadecimal = values.size() > 2 && read_number(values[2], 10).value == 1;
        const Token fields[] = {{"bridge domain", Kind::decimal, 32},
                                {"type", Kind::decimal, 32},
                                {"FEC", is_hexadecimal ? Kind::hexadecimal : Kind::decimal, 32}};
        check_record(line, Texts(values).last(values.empty() ? 0 : values.size() - 1), fields);
    }

    void check_span(const Input &input) {
        uint64_t sets = static_cast<uint64_t>(input.count);
        if (input.script != Script::handles) {
            const std::optional<uint64_t> count = take(kCount);
            if (!count) return;
            if (*count < 1 || *count > kMaxSources) {
                problems_->add({path_, 1}, std::string(kCount.name),
                               join(*count, " is not between 1 and ", kMaxSources, ": the case aborts"));
                return;
            }
            sets = *count;
        }
        for (uint64_t i = 0; i < sets; ++i) {
            if (taken_ >= lines_.size()) {
                problems_->add(after_the_last(), std::string(kHandle.name),
                               join("missing: ", i, " of ", sets, " are there"));
                return;
            }
            take(kHandle);
            if (input.script == Script::counted_sources) check_source();
        }
        if (taken_ < lines_.size())
            problems_->add(
                at(lines_[taken_]), "",
                join("no reader gets here: ", taken_, taken_ == 1 ? " line is" : " lines are", " read"));
    }

    void check_source() {
        if (const auto direction = take(kDirection); direction && *direction > kLastDirection)
            problems_->add(at(lines_[taken_ - 1]), std::string(kDirection.name),
                           join(*direction, " is not 0, 1 or 2"));
        if (const auto session = take(kSession); session && *session > kLastSession)
            problems_->add(at(lines_[taken_ - 1]), std::string(kSession.name),
                           join(*session, " is no session: 0 to ", kLastSession, " are"));
    }

    // The next line's number, unless there is none on it.
    std::optional<uint64_t> take(const Token &token) {
        if (taken_ >= lines_.size()) {
            problems_->add(after_the_last(), std::string(token.name), "missing: the input ends before it");
            return std::nullopt;
        }
        const Line &line = lines_[taken_++];
        values_->check(at(line), token, line.text);
        const Number number = read_number(line.text, base_of(token.kind));
        return number.whole ? std::optional(number.value) : std::nullopt;
    }

    Place at(const Line &line) const { return {path_, line.number}; }
    Place after_the_last() const { return {path_, static_cast<int>(lines_.size()) + 1}; }

    std::string path_;
    std::vector<Line> lines_;
    Values *values_;
    Problems *problems_;
    size_t taken_ = 0;  // lines
};

}  // namespace

void check_scripts(Tree &tree, Values &values, Problems &problems) {
    for (const CaseFormat &format : case_formats()) {
        if (format.input.script == Script::none) continue;
        const std::string path = tree.standard_input(format);
        if (!path.empty() && tree.lines(path).empty()) continue;  // that it is empty was said
        if (path.empty())
            problems.add({join("cases/", format.folder, "/", format.name, "/", kiv::kStandardInput)}, "",
                         "missing: the case reads standard input, which an operator would type");
        else
            ScriptFile(path, tree.lines(path), &values, &problems).check(format.input);
    }
}

}  // namespace kivctl
