// A site's files, each read once, and which of them a case finds.
#include "kivctl/site/tree.h"

#include "kiv/files.h"

namespace kivctl {

kiv::CaseFiles Tree::files(const CaseFormat &format) const {
    kiv::CaseFiles files = overlay_.folder_files(format.folder);
    overlay_.add_case_files(format.folder, format.name, 1, &files);
    return files;
}

std::string Tree::from_here(const std::string &path) const {
    return path.empty() ? path : path.substr(overlay_.directory().size() + 1);
}

std::string Tree::input_file(const CaseFormat &format, size_t which) const {
    return from_here(files(format).inputs[which]);
}

std::string Tree::standard_input(const CaseFormat &format) const {
    return from_here(files(format).standard_input);
}

const std::string &Tree::text(const std::string &path) {
    const auto [text, is_new] = texts_.try_emplace(path);
    std::string error;
    if (is_new && !kiv::read_file(overlay_.directory() + "/" + path, &text->second, &error)) {
        text->second.clear();
        problems_->add({path}, "", "cannot be read");
    } else if (is_new && text->second.empty()) {
        problems_->add({path}, "", "the file is empty");
    }
    return text->second;
}

const std::vector<Line> &Tree::lines(const std::string &path) {
    const auto [lines, is_new] = lines_.try_emplace(path);
    if (!is_new) return lines->second;
    std::string_view content = text(path);
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    if (content.starts_with(kMark)) {
        problems_->add({path}, "",
                       "a byte-order mark: it becomes part of the first name; write the file without it");
        content.remove_prefix(kMark.size());
    }
    lines->second = read_lines(content);
    size_t returns = 0;
    for (Line &line : lines->second) {
        if (!line.text.ends_with('\r')) continue;
        ++returns;
        line.text.pop_back();
        line.take_apart();
    }
    // On standard input the readers take it for a blank.
    if (returns != 0 && !path.ends_with(kiv::kStandardInput))
        problems_->add({path}, "",
                       join("CRLF: ", returns, returns == 1 ? " line ends" : " lines end",
                            " with a carriage return, which becomes part of the last value"));
    return lines->second;
}

}  // namespace kivctl
