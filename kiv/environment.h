// What the surroundings of a run say: the Bazel test protocol, the terminal, the machine.
#ifndef KIV_ENVIRONMENT_H
#define KIV_ENVIRONMENT_H

#include <string>

#include "kiv/options.h"

namespace kiv {

// Takes over from the test environment what the command line leaves open: shard, filter, report file, output
// directory. False, with *error set, when a variable makes no sense.
bool apply_test_environment(Options *options, std::string *error);

// The shard that a job scheduler's variables tell of (--shard auto): Bazel's, GitLab's of parallel jobs,
// Slurm's of a job array. False, with *error set, when there are none or they make no sense.
bool shard_of_environment(Options *options, std::string *error);

// Whether the program is to end with 1 after a run that was not good: KIV_EXIT_STATUS says so, or is not set
// and the run is a test of Bazel or CTest, which look at nothing else.
bool exit_status_wanted();

// Tells a test environment that the run has begun: a run that is cut off must not look finished. When
// `good`, and only then, ended() takes the mark away: the program's exit status is 0 whatever happened.
class PrematureExitMark {
  public:
    void begun();
    void ended(bool good);

  private:
    std::string path_;
};

// Where the run leaves files.
std::string output_directory(const Options &options);

// What the summary is to carry (KIV_SUMMARY_MARK), so that whoever waits for it finds the run's own; taken
// out of the environment, so that no case meets it.
std::string take_summary_mark();

bool use_color(const std::string &when, int fd);
std::string host_name();
std::string utc_now();  // ISO 8601 with milliseconds

}  // namespace kiv

#endif
