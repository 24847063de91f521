// A suite with an observer that has an option, may refuse the run, and notes what it is told of.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "kiv.h"
#include "kiv/observer.h"

namespace {

class Watcher : public kiv::Observer {
  public:
    void add_options(CLI::App &app) override {
        app.add_option("--refuse", refusal_, "Why nothing is to be run")->group("Watcher");
    }
    bool run_begins(kiv::RunInfo &info, std::string *error) override {
        info.card = "of glass";
        *error = refusal_;
        return refusal_.empty();
    }
    void worker_begins(int worker) override { kiv::add_note("worker " + std::to_string(worker) + " begins"); }
    void worker_ends() override { kiv::add_note("the worker ends"); }
    void run_ended(const kiv::Summary &summary) override {
        kiv::add_note("the run of " + std::to_string(summary.selected) + " ends");
    }

  private:
    std::string refusal_;
};

int passes() {
    return kiv_jyx_check_cerrno_(0, 0, "CERR_SUCCESS", "tests/kiv/samples/watched", __func__, 38);
}

}  // namespace

int main(int argc, char **argv) {
    static Watcher watcher;
    kiv::subscribe(&watcher);
    kiv_context_t context = nullptr;
    kiv_create(&context);
    kiv_folder_t folder = kiv_create_test_folder(context, nullptr, "folder", "Folder");
    kiv_create_test_case(context, folder, "passes", "Passes", passes, KIV_MODE_AUTOMATIC);
    kiv_run(argc, argv, context);
    kiv_destroy(&context);
    return 0;
}
