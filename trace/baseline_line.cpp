// Reader of call lines: see baseline_line.h.
#include "trace/baseline_line.h"

#include <algorithm>
#include <cctype>

#include "card/boundary/operation.h"

namespace trace {
namespace {

constexpr size_t kDeepest = 8;

class Reader {
  public:
    Reader(std::string_view line, CallLine *call) : line_(line), call_(*call) {}

    bool read() {
        call_.operation = operation_of(line_);
        if (call_.operation.empty()) return false;
        at_ = call_.operation.size() + 1;
        const auto row = std::ranges::find(card::kOperations, call_.operation, &card::OperationRow::name);
        size_t argument = 0;
        for (bool first = true; !take(")"); first = false, ++argument) {
            if (!first && !take(", ")) return false;
            const bool is_known = row != std::end(card::kOperations) && argument < row->parameters.size();
            const std::string name = is_known ? std::string(row->parameters[argument].name)
                                              : "argument" + std::to_string(argument + 1);
            if (!value(name, false, 0)) return false;
        }
        if (at_ == line_.size()) return true;
        if (!take(" = ")) return false;
        call_.result = line_.substr(at_);
        return !call_.result.empty();
    }

  private:
    bool take(std::string_view text) {
        if (!line_.substr(at_).starts_with(text)) return false;
        at_ += text.size();
        return true;
    }

    // What stands for `path`: before and, behind an arrow, after.
    bool value(const std::string &path, bool answered, size_t depth) {
        if (depth > kDeepest) return false;
        if (take("-> ")) return one(path, true, depth);
        if (!one(path, answered, depth)) return false;
        return !take(" -> ") || one(path, true, depth);
    }

    bool one(const std::string &path, bool answered, size_t depth) {
        if (take("{")) return list(path, answered, depth);
        const size_t begin = at_;
        bool is_quoted = false;
        for (; at_ < line_.size(); ++at_) {
            const char c = line_[at_];
            if (c == '"') is_quoted = !is_quoted;
            if (!is_quoted &&
                (c == ',' || c == '}' || c == ')' || c == '{' || line_.substr(at_).starts_with(" -> ")))
                break;
        }
        if (is_quoted || at_ == begin) return false;
        call_.fields.push_back({(answered ? "-> " : "") + path, line_.substr(begin, at_ - begin)});
        return true;
    }

    bool list(const std::string &path, bool answered, size_t depth) {
        for (bool first = true; !take("}"); first = false) {
            if (!first && !take(", ")) return false;
            const size_t end = line_.find(' ', at_);
            if (end == std::string_view::npos) return false;
            const std::string_view name = line_.substr(at_, end - at_);
            if (name.empty() || name.find_first_of("{},()\"") != std::string_view::npos) return false;
            at_ = end + 1;
            std::string inner = path == "record" ? "" : path;
            if (!inner.empty() && name.front() != '[') inner += '.';
            inner += name;
            if (!value(inner, answered, depth + 1)) return false;
        }
        return true;
    }

    std::string_view line_;
    CallLine &call_;
    size_t at_ = 0;
};

}  // namespace

std::string_view operation_of(std::string_view line) {
    const size_t end = line.find('(');
    if (end == std::string_view::npos) return {};
    const std::string_view name = line.substr(0, end);
    const bool is_word = std::ranges::all_of(
        name, [](char c) { return isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; });
    return is_word ? name : std::string_view();
}

bool read_call_line(std::string_view line, CallLine *call) {
    *call = {};
    return Reader(line, call).read();
}

}  // namespace trace
