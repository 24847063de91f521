// Looks up every operation in shared libraries: see library.h.
#include "card/boundary/library.h"

#include <dlfcn.h>

#include <vector>

#include "card/boundary/operation.h"

namespace card {
namespace {

void *find(const std::vector<void *> &libraries, const char *name) {
    for (void *const library : libraries)
        if (void *const found = dlsym(library, name)) return found;
    return nullptr;
}

template <class Function>
void take(const std::vector<void *> &libraries, const char *name, Function *into, std::string *missing) {
    void *const found = find(libraries, name);
    if (found != nullptr)
        *into = reinterpret_cast<Function>(found);
    else
        *missing += (missing->empty() ? "" : ", ") + std::string(name);
}

}  // namespace

bool open_libraries(const std::string &paths, Backend *backend, std::string *error) {
    std::vector<void *> libraries;
    std::string_view left = paths;
    do {
        const std::string path(column::take_item(&left));
        void *const library = path.empty() ? nullptr : dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) {
            *error = path.empty() ? "no library is named" : dlerror();
            return false;
        }
        libraries.push_back(library);
    } while (!left.empty());
    std::string missing;
#define OPERATION(family, result, name, parameters, arguments, directions, ...) \
    take(libraries, #name, &backend->name, &missing);
#include "card/operations.def"
    if (missing.empty()) return true;
    *error = paths + ": operations that are not there: " + missing;
    return false;
}

}  // namespace card
