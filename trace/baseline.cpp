// The baseline of a folder as a text: see baseline.h.
#include "trace/baseline.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <fmt/ranges.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>

#include "trace/baseline_line.h"

namespace trace {
namespace {

constexpr std::string_view kCase = "case ", kAfter = "after ";
constexpr off_t kLargest = 256 << 20;

// "passed, 3 checks".
bool is_outcome(std::string_view text) {
    const size_t comma = text.find(", ");
    if (comma == 0 || comma == std::string_view::npos) return false;
    const std::string_view checks = text.substr(comma + 2);
    const size_t digits = std::min(checks.find_first_not_of("0123456789"), checks.size());
    return digits > 0 && (checks.substr(digits) == " checks" || checks.substr(digits) == " check");
}

bool is_call(std::string_view line, Baseline::Look look) {
    CallLine call;
    return look == Baseline::Look::EVERY_FIELD ? read_call_line(line, &call)
                                               : !operation_of(line).empty() && line.find(')') != line.npos;
}

// What is wrong with a line; null when it is well.
const char *add_line(std::string_view line, Baseline::Look look, std::vector<BaselineSection> *sections,
                     std::set<std::string, std::less<>> *cases) {
    if (line.starts_with("  ")) {
        if (sections->empty()) return "a call before the first case";
        if (!is_call(line.substr(2), look)) return "not a call: OPERATION(ARGUMENTS) = RESULT is wanted";
        sections->back().calls.push_back(line.substr(2));
        return nullptr;
    }
    BaselineSection section;
    if (line.starts_with(kCase)) {
        const size_t colon = line.rfind(": ");
        if (colon == std::string_view::npos || colon <= kCase.size() || !is_outcome(line.substr(colon + 2)))
            return "a case wants \"case NAME: VERDICT, N checks\"";
        section.name = line.substr(kCase.size(), colon - kCase.size());
        section.outcome = line.substr(colon + 2);
        if (!cases->insert(section.name).second) return "the case stands here twice";
    } else if (line == "set-up") {
        section.kind = SectionKind::SET_UP;
    } else if (line == "tear-down") {
        section.kind = SectionKind::TEAR_DOWN;
    } else {
        return "neither a call, indented by two blanks, nor \"set-up\", \"case NAME: ...\" or \"tear-down\"";
    }
    sections->push_back(std::move(section));
    return nullptr;
}

// "prm-kiv, acl".
const char *add_folders(std::string_view list, std::vector<std::string> *folders) {
    for (size_t at = 0; at <= list.size();) {
        const size_t end = std::min(list.find(", ", at), list.size());
        if (end == at) return "\"after\" wants folders: after FOLDER, FOLDER";
        folders->emplace_back(list.substr(at, end - at));
        at = end + 2;
    }
    return nullptr;
}

}  // namespace

std::string section_title(SectionKind kind, std::string_view name) {
    return kind == SectionKind::SET_UP      ? "set-up"
           : kind == SectionKind::TEAR_DOWN ? "tear-down"
                                            : fmt::format("{}{}", kCase, name);
}

std::string outcome_text(std::string_view verdict, uint64_t checks) {
    return fmt::format("{}, {} check{}", verdict, checks, checks == 1 ? "" : "s");
}

bool Baseline::read(std::string text, std::string_view path, std::string *error, Look look) {
    text_ = std::move(text);
    sections_.clear();
    after_.clear();
    size_t number = 0;
    std::set<std::string, std::less<>> cases;
    for (size_t at = 0; at < text_.size();) {
        ++number;
        const size_t end = std::min(text_.find('\n', at), text_.size());
        const std::string_view line = std::string_view(text_).substr(at, end - at);
        at = end + 1;
        if (line.empty() || line.front() == '#') continue;
        const bool is_after = line.starts_with(kAfter) && sections_.empty();
        const char *wrong = is_after ? add_folders(line.substr(kAfter.size()), &after_)
                                     : add_line(line, look, &sections_, &cases);
        if (end == text_.size()) wrong = "the file ends within this line";
        if (wrong == nullptr) continue;
        *error = fmt::format("{}:{}: {}", path, number, wrong);
        return false;
    }
    if (!sections_.empty()) return true;
    *error = fmt::format("{}:{}: no case", path, std::max<size_t>(number, 1));
    return false;
}

bool Baseline::read_file(const std::string &path, bool *exists, std::string *error, Look look) {
    *exists = true;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0 && (errno == ENOENT || errno == ENOTDIR)) {
        *exists = false;
        return true;
    }
    struct stat status = {};
    if (fd < 0 || fstat(fd, &status) != 0) {
        *error = path + ": " + strerror(errno);
    } else if (!S_ISREG(status.st_mode)) {
        *error = path + ": not a regular file";
    } else if (status.st_size > kLargest) {
        *error = path + ": too large for a baseline";
    }
    std::string text;
    if (error->empty()) {
        text.resize(static_cast<size_t>(status.st_size));
        size_t size = 0;
        ssize_t got = 0;
        while (size < text.size() && (got = ::read(fd, text.data() + size, text.size() - size)) > 0)
            size += static_cast<size_t>(got);
        if (got < 0) *error = path + ": " + strerror(errno);
        text.resize(size);
    }
    if (fd >= 0) close(fd);
    return error->empty() && read(std::move(text), path, error, look);
}

std::string baseline_path(std::string_view directory, std::string_view folder) {
    for (size_t at = 0; at <= folder.size();) {
        const size_t end = std::min(folder.find('/', at), folder.size());
        const std::string_view part = folder.substr(at, end - at);
        if (part.empty() || part == "." || part == "..") return "";
        at = end + 1;
    }
    return fmt::format("{}/{}.txt", directory, folder);
}

BaselineWriter::BaselineWriter(std::string_view folder, const std::vector<std::string> &after)
    : text_(
          "# What the cases of this folder send and get back. prm_kiv --update-baseline wrote it: review "
          "what "
          "changes.\n# ") {
    for (const char c : folder) text_ += c == '\n' ? ' ' : c;
    text_ += '\n';
    if (!after.empty()) text_ += fmt::format("{}{}\n", kAfter, fmt::join(after, ", "));
}

void BaselineWriter::begin() {
    calls_.clear();
}

void BaselineWriter::call(std::string_view line) {
    calls_ += "  ";
    calls_ += line;
    calls_ += '\n';
}

void BaselineWriter::end(SectionKind kind, std::string_view name, std::string_view outcome) {
    is_empty_ = false;
    text_ += '\n';
    text_ += section_title(kind, name);
    if (kind == SectionKind::CASE) {
        text_ += ": ";
        text_ += outcome;
    }
    text_ += '\n';
    text_ += calls_;
    calls_.clear();
}

}  // namespace trace
