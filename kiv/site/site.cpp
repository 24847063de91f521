// A site: the input files, the standard input and the plan of one place where the suite runs.
#include "kiv/site/site.h"

#include <dirent.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "kiv/files.h"

namespace kiv {

namespace {

constexpr int kDeepest = 16;

std::vector<std::string> &default_sites() {
    static std::vector<std::string> directories;
    return directories;
}

}  // namespace

void set_default_sites(std::vector<std::string> directories) {
    default_sites() = std::move(directories);
}

bool find_site(const std::string &option, bool no_site, std::string *directory, std::string *error,
               const std::string &card_flash) {
    directory->clear();
    if (no_site) return true;
    const char *variable = getenv("KIV_SITE");
    const bool from_variable = option.empty() && variable != nullptr;
    if (!option.empty() || from_variable) {
        *directory = from_variable ? variable : option;
        if (directory->empty() || is_directory(*directory)) return true;
        *error = (from_variable ? "KIV_SITE: " : "--site: ") + *directory + " is not a directory";
        return false;
    }
    if (is_directory(card_flash)) return true;
    for (const std::string &candidate : default_sites()) {
        if (!is_directory(candidate)) continue;
        *directory = candidate;
        break;
    }
    return true;
}

Site::Site(std::string directory) : directory_(std::move(directory)) {
    scan("", 0);
}

std::string Site::plan() const {
    const std::string path = directory_ + "/plan";
    return is_file(path) ? path : std::string();
}

void Site::scan(const std::string &relative, int depth) {
    if (depth > kDeepest) return;
    DIR *listing = opendir((directory_ + "/cases/" + relative).c_str());
    if (listing == nullptr) return;
    while (const dirent *entry = readdir(listing)) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        const std::string path = relative.empty() ? name : relative + "/" + name;
        if (name == "stdin" || name == kInputFiles[0] || name == kInputFiles[1]) {
            files_.insert(path);
        } else if (entry->d_type == DT_DIR ||
                   (entry->d_type != DT_REG && is_directory(directory_ + "/cases/" + path))) {
            directories_.insert(path);
            scan(path, depth + 1);
        }
    }
    closedir(listing);
}

bool Site::overlay(const std::string &relative, CaseFiles *files) const {
    if (!directories_.contains(relative)) return false;
    for (size_t i = 0; i < kInputFileCount; ++i) {
        const std::string path = relative + "/" + kInputFiles[i];
        if (files_.contains(path)) files->inputs[i] = directory_ + "/cases/" + path;
    }
    if (files_.contains(relative + "/stdin"))
        files->standard_input = directory_ + "/cases/" + relative + "/stdin";
    return true;
}

const CaseFiles &Site::folder_files(const kiv_folder *folder) {
    const auto known = folders_.find(folder);
    if (known != folders_.end()) return known->second;
    CaseFiles files;
    if (folder->parent != nullptr) {
        files = folder_files(folder->parent);
    } else {
        for (size_t i = 0; i < kInputFileCount; ++i) {
            const std::string path = directory_ + "/disk0/" + kInputFiles[i];
            if (is_file(path)) files.inputs[i] = path;
        }
    }
    overlay(folder->path, &files);
    const auto below = directories_.lower_bound(folder->path + "/");
    has_case_directories_[folder] = below != directories_.end() && below->starts_with(folder->path + "/");
    return folders_[folder] = files;
}

const CaseFiles &Site::case_files(const Case &test) {
    const CaseFiles &files = folder_files(test.folder);
    if (!has_case_directories_[test.folder]) return files;
    own_ = files;
    const std::string place = test.folder->path + "/";
    bool found = overlay(place + std::string(test.bare_name()), &own_);
    if (test.ordinal > 1) found = overlay(place + test.name(), &own_) || found;
    return found ? own_ : files;
}

std::vector<std::string> Site::strangers(const kiv_context &context) const {
    if (directories_.empty()) return {};
    std::set<std::string> known;
    for (const kiv_folder &folder : context.folders) known.insert(folder.path);
    for (const Case &test : context.cases) {
        known.insert(test.selector());
        known.insert(test.folder->path + "/" + std::string(test.bare_name()));
    }
    std::vector<std::string> strangers;
    for (const std::string &directory : directories_)
        if (!known.contains(directory)) strangers.push_back(directory);
    return strangers;
}

bool Stager::stage(const CaseFiles &files, std::string *error) {
    for (size_t i = 0; i < kInputFileCount; ++i) {
        const std::string &source = files.inputs[i];
        if (known_[i] && sources_[i] == source) continue;
        known_[i] = false;  // until it is there
        if (!put(i, source, error)) return false;
        known_[i] = true;
        sources_[i] = source;
    }
    return true;
}

bool Stager::put(size_t i, const std::string &source, std::string *error) {
    const std::string target = flash_ + "/" + kInputFiles[i];
    const uint32_t bit = 1u << i;
    if (source.empty()) {
        // What is left of another case would be read by this one. A file of the user's own stays.
        if (*staged_ & bit) unlink(target.c_str());
        *staged_ &= ~bit;
        return true;
    }
    std::string wanted, present, ignored;
    if (!read_file(source, &wanted, error)) return false;
    *staged_ |= bit;
    return (read_file(target, &present, &ignored) && present == wanted) || write_file(target, wanted, error);
}

}  // namespace kiv
