// One run, from the command line to the summary.
#ifndef KIV_RUN_H
#define KIV_RUN_H

#include <memory>
#include <optional>
#include <string>

#include "kiv/options.h"
#include "kiv/registry.h"
#include "kiv/select/schedule.h"
#include "kiv/site/site.h"
#include "kiv/supervise/recorder.h"

namespace kiv {

class Run {
  public:
    Run(kiv_context &context, Options options) : context_(context), options_(std::move(options)) {}
    // 0 when everything that was selected is good.
    int execute();

  private:
    bool select(std::vector<uint32_t> *selected, std::string *error);
    bool prepare_flash(std::string *error);
    RunInfo describe(const std::vector<uint32_t> &selected) const;
    int fail(const std::string &message) const;
    void run_in_place(Recorder &recorder);

    kiv_context &context_;
    Options options_;
    std::optional<Site> site_;
    std::string out_, flash_;
    std::unique_ptr<Schedule> schedule_;
};

}  // namespace kiv

#endif
