// Runs programs and keeps files for the tests of the companion command.
#ifndef TESTS_KIVCTL_RUN_H
#define TESTS_KIVCTL_RUN_H

#include <filesystem>
#include <string>

namespace kivctl::test {

struct Ran {
    int status = -1;
    std::string out, err;
};

// A shell command; KIVCTL stands for the program.
Ran shell(const std::string &command);
Ran kivctl(const std::string &arguments);

// A directory that goes away with the object.
class TemporaryDirectory {
  public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    std::string path(const std::string &name = "") const;
    // Writes a file, with the directories above it, and returns its path.
    std::string write(const std::string &name, const std::string &text) const;

  private:
    std::filesystem::path path_;
};

// The event stream of the sample run.
std::string sample_results();

}  // namespace kivctl::test

#endif
