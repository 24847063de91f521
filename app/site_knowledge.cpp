// Tells the framework what the suite reads at a site: which cases read something, and what is wrong with a
// site's files.
#include <string>
#include <vector>

#include "kiv/site/site.h"
#include "kivctl/site/check.h"
#include "kivctl/site/formats.h"

namespace {

class SuiteSites : public kiv::SiteKnowledge {
  public:
    std::vector<std::string> problems(const std::string &site) const override {
        kivctl::SiteCheck check;
        kivctl::SiteUse use;
        use.simulated_card = true;
        use.reads_plan = false;      // the framework reads it, and knows the cases
        use.reads_baseline = false;  // so does who compares with it
        std::string error;
        if (!kivctl::check_site(site, &check, &error, use)) return {error};
        std::vector<std::string> problems;
        problems.reserve(check.problems.size());
        for (const kivctl::Problem &problem : check.problems)
            problems.push_back(site + "/" + problem.message());
        return problems;
    }

    bool case_reads(std::string_view folder, std::string_view name) const override {
        return kivctl::find_format(folder, name) != nullptr;
    }
};

const bool known = [] {
    static const SuiteSites sites;
    kiv::set_site_knowledge(&sites);
    return true;
}();

}  // namespace
