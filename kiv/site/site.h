// A site: the input files, the standard input and the plan of one place where the suite runs.
#ifndef KIV_SITE_SITE_H
#define KIV_SITE_SITE_H

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "kiv/registry.h"
#include "kiv/site/flash.h"
#include "kiv/site/overlay.h"

namespace kiv {

// Directories that a program names as its default sites, best first; the first that exists counts.
void set_default_sites(std::vector<std::string> directories);

// What a program knows of the files that its cases read.
class SiteKnowledge {
  public:
    virtual ~SiteKnowledge() = default;
    // What is wrong with a site's files, one line each: "SITE/FILE:LINE: FIELD: TEXT".
    virtual std::vector<std::string> problems(const std::string &site) const = 0;
    // Whether a case reads what a site has for it.
    virtual bool case_reads(std::string_view folder, std::string_view name) const = 0;
};
void set_site_knowledge(const SiteKnowledge *knowledge);
const SiteKnowledge *site_knowledge();  // null when the program has none

// The site that --site, --no-site and the environment give: *directory stays empty when there is none, and on
// a card, that is where `card_flash` exists, there is one only when it is named. False, with *error set, when
// the one asked for does not exist.
bool find_site(const std::string &option, bool no_site, std::string *directory, std::string *error,
               const std::string &card_flash = kCardFlash);

// Finds a case's files. The site's tree is read once.
class Site {
  public:
    explicit Site(std::string directory) : overlay_(std::move(directory)) {}
    const std::string &directory() const { return overlay_.directory(); }
    std::string plan() const;  // path of the plan, empty when there is none

    // The files for cases of a folder that have none of their own.
    const CaseFiles &folder_files(const kiv_folder *folder) { return known(folder).files; }
    // For one case: its own or its folder's.
    const CaseFiles &case_files(const Case &test);

    // Directories below cases/ that belong to no folder or case of the suite: misspelt, most likely.
    std::vector<std::string> strangers(const kiv_context &context) const;

  private:
    struct Folder {
        CaseFiles files;
        bool has_case_directories = false;
    };
    const Folder &known(const kiv_folder *folder);

    Overlay overlay_;
    std::map<const kiv_folder *, Folder> folders_;
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
