// Names the sites that the suite runs with when it is told none: next to the program, installed, in the
// sources.
#include <unistd.h>

#include <string>

#include "kiv/site/site.h"

namespace {

std::string beside_the_program() {
    char path[4096];
    const ssize_t size = readlink("/proc/self/exe", path, sizeof path);
    if (size <= 0 || size >= static_cast<ssize_t>(sizeof path)) return "";
    const std::string program(path, static_cast<size_t>(size));
    return program.substr(0, program.rfind('/')) + "/../share/prm_kiv/site/sim";
}

const bool named = [] {
    kiv::set_default_sites({beside_the_program(), KIV_SITE_INSTALLED, KIV_SITE_IN_SOURCES});
    return true;
}();

}  // namespace
