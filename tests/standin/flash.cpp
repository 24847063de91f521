#include "tests/standin/flash.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <stdexcept>

extern "C" {
FILE *__real_fopen(const char *path, const char *mode);
FILE *__wrap_fopen(const char *path, const char *mode);
}

namespace standin {
namespace {

struct Flash {
    std::string directory;  // empty: not made yet
    std::set<std::string> unopenable;
};

Flash &flash() {
    static Flash the_flash;
    return the_flash;
}

std::string host_path(const std::string &name) {
    std::string &directory = flash().directory;
    if (directory.empty()) {
        char pattern[] = "/tmp/kiv-flash-XXXXXX";
        if (mkdtemp(pattern) == nullptr) throw std::runtime_error("no directory for the flash");
        directory = pattern;
    }
    return directory + "/" + name;
}

FILE *open(const std::string &name, const char *mode) {
    return __real_fopen(host_path(name).c_str(), mode);
}

}  // namespace

void flash_file(const std::string &name, const std::string &content) {
    FILE *const file = open(name, "w");
    if (file == nullptr) throw std::runtime_error("cannot write the flash file " + name);
    fwrite(content.data(), 1, content.size(), file);
    fclose(file);
}

bool flash_has(const std::string &name) {
    return std::filesystem::exists(host_path(name));
}

std::string flash_text(const std::string &name) {
    FILE *const file = open(name, "r");
    if (file == nullptr) return "";
    std::string text;
    char buffer[4096];
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, file)) > 0;) text.append(buffer, n);
    fclose(file);
    return text;
}

void flash_unopenable(const std::string &name) {
    flash().unopenable.insert(name);
}

void clear_flash() {
    Flash &the_flash = flash();
    if (!the_flash.directory.empty()) std::filesystem::remove_all(the_flash.directory);
    the_flash.directory.clear();
    the_flash.unopenable.clear();
}

}  // namespace standin

extern "C" FILE *__wrap_fopen(const char *path, const char *mode) {
    static const char kFlash[] = "/disk0:/";
    if (std::strncmp(path, kFlash, sizeof kFlash - 1) != 0) return __real_fopen(path, mode);
    const std::string name = path + sizeof kFlash - 1;
    if (standin::flash().unopenable.count(name) != 0) {
        errno = EACCES;
        return nullptr;
    }
    return standin::open(name, mode);
}
