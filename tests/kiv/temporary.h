// A directory of its own for one test, and what is read back from it.
#ifndef TESTS_KIV_TEMPORARY_H
#define TESTS_KIV_TEMPORARY_H

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace kiv_test {

// Gone with the object.
class TemporaryDirectory {
  public:
    TemporaryDirectory() {
        char path[] = "/tmp/kiv-test-XXXXXX";
        if (mkdtemp(path) == nullptr) throw std::runtime_error("no temporary directory");
        path_ = path;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;

    const std::string &path() const { return path_; }
    std::string path(const std::string &name) const { return path_ + "/" + name; }
    std::string file(const std::string &name) const { return path(name); }

    // Writes a file, creating the directories on the way, and returns its path.
    std::string write(const std::string &name, const std::string &text) const {
        const std::string path = file(name);
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

  private:
    std::string path_;
};

// All of a file; nothing when there is none.
inline std::string read_text(const std::string &path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

}  // namespace kiv_test

#endif
