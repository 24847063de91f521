// Runs programs and keeps files.
#include "tests/kivctl/run.h"

#include <stdlib.h>
#include <sys/wait.h>

#include <fstream>

#include "tests/kiv/reports/report_test.h"

namespace kivctl::test {

Ran shell(const std::string &command) {
    const TemporaryDirectory directory;
    Ran ran;
    const int status = std::system(
        ("{ " + command + "\n} >" + directory.path("out") + " 2>" + directory.path("err") + " </dev/null")
            .c_str());
    ran.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    ran.out = kiv::test::read_file(directory.path("out"));
    ran.err = kiv::test::read_file(directory.path("err"));
    return ran;
}

Ran kivctl(const std::string &arguments) {
    return shell(KIVCTL " " + arguments);
}

TemporaryDirectory::TemporaryDirectory() {
    char name[] = "/tmp/kivctl_test_XXXXXX";
    path_ = mkdtemp(name);
}

TemporaryDirectory::~TemporaryDirectory() {
    std::filesystem::remove_all(path_);
}

std::string TemporaryDirectory::path(const std::string &name) const {
    return path_ / name;
}

std::string TemporaryDirectory::write(const std::string &name, const std::string &text) const {
    const std::filesystem::path path = path_ / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

std::string sample_results() {
    std::string content;
    auto reporter = kiv::make_json_reporter(std::make_unique<kiv::test::MemorySink>(&content));
    kiv::test::play_sample_run(*reporter);
    return content;
}

}  // namespace kivctl::test
