// The framework's registration calls for programs that link the suite without the framework: what is created
// is taken down, in order, and can be looked up and run.
#ifndef TESTS_STANDIN_REGISTRATION_H
#define TESTS_STANDIN_REGISTRATION_H

#include <deque>
#include <string>
#include <vector>

#include "kiv.h"

namespace standin {

struct Folder {
    std::string path;  // "span/session"
    std::string title;
    kiv_function_t set_up = nullptr, tear_down = nullptr;
};

struct Case {
    const Folder *folder;
    std::string name, description;
    kiv_function_t function;
    int mode;
};

struct Registration {
    enum class Step { create, folder, fixture, test_case, run, destroy };
    struct Event {
        Step step;
        const Folder *folder = nullptr;   // that was created, or given a fixture
        const Case *test_case = nullptr;  // that was created
    };

    std::vector<Event> events;
    std::deque<Folder> folders;
    std::deque<Case> cases;
    std::vector<std::string> arguments;  // that kiv_run got
    bool foreign_context = false;        // a call named another context than the one created

    std::vector<const Case *> cases_of(const std::string &folder) const;
    // The cases of that selector ("folder/case"), two where the name is registered twice.
    std::vector<const Case *> find(const std::string &selector) const;
};

// Lets the suite's main register everything and returns what it registered, which stays until the next call.
// kiv_run runs nothing and returns `run_result`; what main returned goes to *main_result.
const Registration &register_suite(int run_result = 0, int *main_result = nullptr);

}  // namespace standin

#endif
