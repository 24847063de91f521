// A site: the input files, the standard input and the plan of one place where the suite runs.
#include "kiv/site/site.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "kiv/files.h"

namespace kiv {

namespace {

std::vector<std::string> &default_sites() {
    static std::vector<std::string> directories;
    return directories;
}

}  // namespace

void set_default_sites(std::vector<std::string> directories) {
    default_sites() = std::move(directories);
}

namespace {
const SiteKnowledge *known_to_the_program = nullptr;
}

void set_site_knowledge(const SiteKnowledge *knowledge) {
    known_to_the_program = knowledge;
}

const SiteKnowledge *site_knowledge() {
    return known_to_the_program;
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

std::string Site::plan() const {
    const std::string path = directory() + "/plan";
    return is_file(path) ? path : std::string();
}

const Site::Folder &Site::known(const kiv_folder *folder) {
    const auto [known, is_new] = folders_.try_emplace(folder);
    if (is_new)
        known->second = {overlay_.folder_files(folder->path), overlay_.has_case_directories(folder->path)};
    return known->second;
}

const CaseFiles &Site::case_files(const Case &test) {
    const Folder &folder = known(test.folder);
    if (!folder.has_case_directories) return folder.files;
    own_ = folder.files;
    const bool found = overlay_.add_case_files(test.folder->path, test.bare_name(), test.ordinal, &own_);
    return found ? own_ : folder.files;
}

std::vector<std::string> Site::strangers(const kiv_context &context) const {
    if (overlay_.directories().empty()) return {};
    std::set<std::string> known;
    for (const kiv_folder &folder : context.folders) known.insert(folder.path);
    for (const Case &test : context.cases) {
        known.insert(test.selector());
        known.insert(test.folder->path + "/" + std::string(test.bare_name()));
    }
    std::vector<std::string> strangers;
    for (const std::string &directory : overlay_.directories())
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
    struct stat info;
    const bool is_ours = lstat(target.c_str(), &info) == 0 && S_ISREG(info.st_mode);
    if (is_ours && read_file(target, &present, &ignored) && present == wanted) return true;
    return put_file(target, wanted, error);
}

}  // namespace kiv
