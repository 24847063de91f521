// A site: the input files, the standard input and the plan of one place where the suite runs.
#ifndef KIV_SITE_SITE_H
#define KIV_SITE_SITE_H

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "kiv/registry.h"
#include "kiv/site/flash.h"

namespace kiv {

// Directories that a program names as its default sites, best first; the first that exists counts.
void set_default_sites(std::vector<std::string> directories);

// The site that --site, --no-site and the environment give: *directory stays empty when there is none, and on
// a card, that is where `card_flash` exists, there is one only when it is named. False, with *error set, when
// the one asked for does not exist.
bool find_site(const std::string &option, bool no_site, std::string *directory, std::string *error,
               const std::string &card_flash = kCardFlash);

// The input files that the run puts into the flash.
inline constexpr const char *kInputFiles[] = {"kiv_input_file", "kiv_tcs_input_file"};
inline constexpr size_t kInputFileCount = 2;

// What the site has for one case; empty where it has nothing.
struct CaseFiles {
    std::array<std::string, kInputFileCount> inputs;
    std::string standard_input;
    bool operator==(const CaseFiles &) const = default;
};

// Finds a case's files. The site's tree is read once.
class Site {
  public:
    explicit Site(std::string directory);
    const std::string &directory() const { return directory_; }
    std::string plan() const;  // path of the plan, empty when there is none

    // The files for cases of a folder that have none of their own.
    const CaseFiles &folder_files(const kiv_folder *folder);
    // For one case: its own directory (of "case#2", then of "case"), its folder's, the folders' above, disk0.
    const CaseFiles &case_files(const Case &test);

    // Directories below cases/ that belong to no folder or case of the suite: misspelt, most likely.
    std::vector<std::string> strangers(const kiv_context &context) const;

  private:
    void scan(const std::string &relative, int depth);
    bool overlay(const std::string &relative, CaseFiles *files) const;

    std::string directory_;
    std::set<std::string> directories_;  // below cases/
    std::set<std::string> files_;        // below cases/, the names that count
    std::map<const kiv_folder *, CaseFiles> folders_;
    std::map<const kiv_folder *, bool> has_case_directories_;
    CaseFiles own_;
};

// Puts a case's input files into the flash directory: only what differs from what is there.
class Stager {
  public:
    // `staged` has a bit for every input file that this run put there; it outlives the worker.
    Stager(std::string flash, uint32_t *staged) : flash_(std::move(flash)), staged_(staged) {}
    // False, with *error set, when a file cannot be copied.
    bool stage(const CaseFiles &files, std::string *error);

  private:
    bool put(size_t i, const std::string &source, std::string *error);

    std::string flash_;
    uint32_t *staged_;
    std::array<std::string, kInputFileCount> sources_;
    std::array<bool, kInputFileCount> known_{};
};

}  // namespace kiv

#endif
