// The overlay rule of a site: of each kind of file a case gets the most specific one.
#include "kiv/site/overlay.h"

#include <dirent.h>

#include "kiv/files.h"

namespace kiv {

namespace {

constexpr int kDeepest = 16;

}  // namespace

Overlay::Overlay(std::string directory) : directory_(std::move(directory)) {
    for (size_t i = 0; i < kInputFileCount; ++i) {
        const std::string path = directory_ + "/disk0/" + kInputFiles[i];
        if (is_file(path)) of_the_card_.inputs[i] = path;
    }
    scan("", 0);
}

void Overlay::scan(const std::string &relative, int depth) {
    if (depth > kDeepest) return;
    DIR *listing = opendir((directory_ + "/cases/" + relative).c_str());
    if (listing == nullptr) return;
    while (const dirent *entry = readdir(listing)) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        std::string path = relative;
        if (!path.empty()) path += '/';
        path += name;
        if (name == kStandardInput || name == kInputFiles[0] || name == kInputFiles[1]) {
            files_.insert(path);
        } else if (entry->d_type == DT_DIR ||
                   (entry->d_type != DT_REG && is_directory(directory_ + "/cases/" + path))) {
            directories_.insert(path);
            scan(path, depth + 1);
        } else {
            others_.insert(path);
        }
    }
    closedir(listing);
}

bool Overlay::add(const std::string &place, CaseFiles *files) const {
    if (!directories_.contains(place)) return false;
    const std::string below = place + "/";
    const std::string root = directory_ + "/cases/";
    for (size_t i = 0; i < kInputFileCount; ++i)
        if (files_.contains(below + kInputFiles[i])) files->inputs[i] = root + below + kInputFiles[i];
    if (files_.contains(below + kStandardInput)) files->standard_input = root + below + kStandardInput;
    return true;
}

CaseFiles Overlay::folder_files(std::string_view folder) const {
    CaseFiles files = of_the_card_;
    for (size_t end = 0; end != std::string_view::npos;) {
        end = folder.find('/', end + 1);
        add(std::string(folder.substr(0, end)), &files);
    }
    return files;
}

bool Overlay::has_case_directories(std::string_view folder) const {
    const std::string place = std::string(folder) + "/";
    const auto below = directories_.lower_bound(place);
    return below != directories_.end() && below->starts_with(place);
}

bool Overlay::add_case_files(std::string_view folder, std::string_view name, uint32_t ordinal,
                             CaseFiles *files) const {
    std::string place = std::string(folder) + "/";
    place += name;
    bool found = add(place, files);
    if (ordinal > 1) found = add(place + "#" + std::to_string(ordinal), files) || found;
    return found;
}

}  // namespace kiv
