// One run, from the command line to the summary.
#ifndef KIV_RUN_H
#define KIV_RUN_H

#include <optional>
#include <string>
#include <vector>

#include "kiv/options.h"
#include "kiv/registry.h"
#include "kiv/select/schedule.h"
#include "kiv/select/selection.h"
#include "kiv/site/hold.h"
#include "kiv/site/site.h"
#include "kiv/supervise/recorder.h"

namespace kiv {

// How a run ended. What the program ends with is another matter: see kiv_run.
enum RunStatus { kGood = 0, kNotGood = 1, kNothingRun = 2, kReportLost = 3 };

// Behind a message that ends a run before it has begun.
inline constexpr const char *kNothingWasRun = "\nNothing was run.";

class Run {
  public:
    Run(kiv_context &context, Options options) : context_(context), options_(std::move(options)) {}
    // A RunStatus.
    int execute();
    // Why nothing was run; one line.
    const std::string &why() const { return why_; }

  private:
    // The steps, in their order. False: *error says what is wrong, and nothing is run.
    bool choose_site(std::string *error);
    bool select(std::string *error);
    int list() const;
    void make_schedule();
    bool prepare_flash(std::string *error);
    RunInfo describe() const;
    std::string without_a_site() const;
    bool tell_observers(RunInfo &info, std::string *error) const;
    void begin(const RunInfo &info, Recorder &recorder);
    void run_cases(Recorder &recorder);
    const Summary &finish(Recorder &recorder) const;

    void heed_needs(const SelectionRequest &request);
    bool add_other_selectors(SelectionRequest *request, std::string *error) const;
    bool check_site(std::string *error);
    std::string problem_of_the_plan() const;
    int fail(const std::string &message);

    kiv_context &context_;
    Options options_;
    std::optional<Site> site_;
    std::vector<uint32_t> selected_;
    std::vector<uint32_t> plan_;  // the cases of the site's plan, where there is one
    std::string out_, flash_;
    Hold hold_;
    std::vector<std::string> remarks_;
    std::string needs_;  // what selected cases build on that does not run before them
    std::vector<std::string> site_problems_;
    bool problems_shown_ = false;
    std::string why_;
    std::optional<Schedule> schedule_;
};

}  // namespace kiv

#endif
