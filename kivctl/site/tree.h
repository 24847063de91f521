// A site's files, each read once, and which of them a case finds.
#ifndef KIVCTL_SITE_TREE_H
#define KIVCTL_SITE_TREE_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "kiv/site/overlay.h"
#include "kivctl/site/formats.h"
#include "kivctl/site/line.h"
#include "kivctl/site/problem.h"

namespace kivctl {

// Paths are those from the site's directory.
class Tree {
  public:
    Tree(const std::string &directory, Problems *problems) : overlay_(directory), problems_(problems) {}

    // What the runner would give to the case; empty when there is none.
    std::string input_file(const CaseFormat &format, size_t which) const;  // of kiv::kInputFiles
    std::string standard_input(const CaseFormat &format) const;

    // One that cannot be read is a problem, and empty.
    const std::string &text(const std::string &path);
    const std::vector<Line> &lines(const std::string &path);

    const kiv::Overlay &overlay() const { return overlay_; }
    size_t files_read() const { return texts_.size(); }

  private:
    kiv::CaseFiles files(const CaseFormat &format) const;
    std::string from_here(const std::string &path) const;

    kiv::Overlay overlay_;
    Problems *problems_;
    std::map<std::string, std::string> texts_;
    std::map<std::string, std::vector<Line>> lines_;
};

}  // namespace kivctl

#endif
