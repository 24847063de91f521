// The overlay rule of a site: of each kind of file a case gets the most specific one.
#ifndef KIV_SITE_OVERLAY_H
#define KIV_SITE_OVERLAY_H

#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

namespace kiv {

// The input files that the run puts into the flash, and what it feeds to standard input.
inline constexpr const char *kInputFiles[] = {"kiv_input_file", "kiv_tcs_input_file"};
inline constexpr size_t kInputFileCount = 2;
inline constexpr const char *kStandardInput = "stdin";

// What the site has for one case; empty where it has nothing.
struct CaseFiles {
    std::array<std::string, kInputFileCount> inputs;
    std::string standard_input;
    bool operator==(const CaseFiles &) const = default;
};

// A site's tree, read once. Folders and cases are named as the suite registers them.
class Overlay {
  public:
    explicit Overlay(std::string directory);
    const std::string &directory() const { return directory_; }

    // The files for cases of a folder that have none of their own: the folder's, those of the folders above,
    // of disk0.
    CaseFiles folder_files(std::string_view folder) const;
    // Puts a case's own over its folder's: those of "case", and over them of "case#2" for the second of that
    // name. False when it has no directory.
    bool add_case_files(std::string_view folder, std::string_view name, uint32_t ordinal,
                        CaseFiles *files) const;
    // Whether add_case_files may find something.
    bool has_case_directories(std::string_view folder) const;

    // Below cases/, as paths from there.
    const std::set<std::string> &directories() const { return directories_; }
    const std::set<std::string> &files() const { return files_; }    // of the names above
    const std::set<std::string> &others() const { return others_; }  // of other names: nobody reads them

  private:
    void scan(const std::string &relative, int depth);
    bool add(const std::string &place, CaseFiles *files) const;

    std::string directory_;
    CaseFiles of_the_card_;  // disk0's
    std::set<std::string> directories_, files_, others_;
};

}  // namespace kiv

#endif
