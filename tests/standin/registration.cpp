#include "tests/standin/registration.h"

int prm_kiv_main(int argc, char **argv);  // the suite's main

namespace standin {
namespace {

Registration registration;
kiv_context_t *created_at;  // where main keeps its context
int result_of_run;

kiv_context_t the_context() {
    return reinterpret_cast<kiv_context_t>(&registration);
}
Folder *folder_of(kiv_folder_t handle) {
    return reinterpret_cast<Folder *>(handle);
}
void note(Registration::Step step, const Folder *folder = nullptr, const Case *test_case = nullptr) {
    registration.events.push_back({step, folder, test_case});
}
void expect_context(kiv_context_t context) {
    registration.foreign_context |= context != the_context();
}

}  // namespace

std::vector<const Case *> Registration::cases_of(const std::string &folder) const {
    std::vector<const Case *> result;
    for (const Case &each : cases)
        if (each.folder->path == folder) result.push_back(&each);
    return result;
}

std::vector<const Case *> Registration::find(const std::string &selector) const {
    std::vector<const Case *> result;
    for (const Case &each : cases)
        if (each.folder->path + "/" + each.name == selector) result.push_back(&each);
    return result;
}

const Registration &register_suite(int run_result, int *main_result) {
    registration = Registration();
    result_of_run = run_result;
    char program[] = "prm_kiv";
    char *arguments[] = {program, nullptr};
    const int result = prm_kiv_main(1, arguments);
    if (main_result != nullptr) *main_result = result;
    return registration;
}

}  // namespace standin

using namespace standin;

extern "C" {

void kiv_create(kiv_context_t *context) {
    created_at = context;
    *context = the_context();
    note(Registration::Step::create);
}

kiv_folder_t kiv_create_test_folder(kiv_context_t context, kiv_folder_t parent, const char *name,
                                    const char *title) {
    expect_context(context);
    const std::string above = parent != nullptr ? folder_of(parent)->path + "/" : "";
    Folder &folder = registration.folders.emplace_back(Folder{above + name, title});
    note(Registration::Step::folder, &folder);
    return reinterpret_cast<kiv_folder_t>(&folder);
}

void kiv_add_fixture(kiv_folder_t handle, kiv_function_t set_up, kiv_function_t tear_down) {
    Folder *const folder = folder_of(handle);
    folder->set_up = set_up;
    folder->tear_down = tear_down;
    note(Registration::Step::fixture, folder);
}

void kiv_create_test_case(kiv_context_t context, kiv_folder_t folder, const char *name,
                          const char *description, kiv_function_t function, int mode) {
    expect_context(context);
    note(Registration::Step::test_case, nullptr,
         &registration.cases.emplace_back(Case{folder_of(folder), name, description, function, mode}));
}

int kiv_run(int argc, char **argv, kiv_context_t context) {
    expect_context(context);
    registration.arguments.assign(argv, argv + argc);
    note(Registration::Step::run);
    return result_of_run;
}

void kiv_destroy(kiv_context_t *context) {
    registration.foreign_context |= context != created_at;
    note(Registration::Step::destroy);
}

}  // extern "C"
