// The simulated card's state as a file: --card-state and --card-state-after.
//
// The card lives in the worker, so the worker writes: at its end, or after the case that was named. The file
// is there whole or not at all; what kept it from being there is a note of the run.
#include "card/state/state.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <fnmatch.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <new>
#include <string>

#include "card/sim/backend.h"
#include "kiv/files.h"
#include "kiv/observer.h"

namespace {

// What workers leave for the supervising process, whatever becomes of them.
struct Traces {
    std::atomic<int> workers = 0;     // that began
    std::atomic<int> written_by = 0;  // the last worker that wrote the file; 0: none did
    std::atomic<bool> failed = false;
};

class CardState : public kiv::Observer {
  public:
    void add_options(CLI::App &app) override {
        CLI::Option *const file =
            app.add_option("--card-state", path_,
                           "Write the whole state of the simulated card to FILE after the run, as JSON")
                ->group("Card")
                ->option_text("FILE");
        app.add_option("--card-state-after", after_,
                       "Write it after that case instead: FOLDER/CASE, a case's name, or a pattern")
            ->group("Card")
            ->option_text("CASE")
            ->needs(file);
    }

    bool run_begins(kiv::RunInfo &, std::string *error) override {
        if (path_.empty()) return true;
        path_ = kiv::absolute_path(path_);
        if (!make_way(error)) {
            *error = "--card-state " + *error;
            return false;
        }
        void *const shared =
            mmap(nullptr, sizeof(Traces), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (shared == MAP_FAILED) {
            *error = std::string("--card-state: no memory to share with the workers: ") + strerror(errno);
            return false;
        }
        traces_ = new (shared) Traces;
        return true;
    }

    void worker_begins(int worker) override {
        worker_ = worker;
        if (traces_ != nullptr) traces_->workers = worker;
    }

    unsigned interests() const override {
        return traces_ != nullptr && !after_.empty() ? unsigned{kCases} : 0;
    }

    void case_ended(std::string_view folder, std::string_view name) override {
        const std::string selector = fmt::format("{}/{}", folder, name);
        if (name == after_ || fnmatch(after_.c_str(), selector.c_str(), 0) == 0) write(selector);
    }

    void worker_ends() override {
        if (traces_ != nullptr && after_.empty()) write("");
    }

    void run_ended(const kiv::Summary &) override {
        if (traces_ == nullptr) return;
        unlink((path_ + ".tmp").c_str());  // of a worker that died while it wrote
        const int workers = traces_->workers, written_by = traces_->written_by;
        if (written_by != 0) {
            if (written_by > 1)
                kiv::add_note(
                    fmt::format("card state: {} is of the card of worker {}; the cards before it went "
                                "with their workers",
                                path_, written_by));
        } else if (!traces_->failed) {
            kiv::add_note(
                after_.empty()
                    ? fmt::format("card state: not written: worker {} died, and its card with it", workers)
                    : fmt::format("card state: not written: no case \"{}\" came to its end", after_));
        }
    }

  private:
    // An old state would pass for this run's.
    bool make_way(std::string *error) {
        struct stat status;
        if (stat(path_.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
            *error = path_ + ": not a regular file";
            return false;
        }
        const std::string temporary = path_ + ".tmp";
        const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
        const bool good = fd >= 0 && (unlink(path_.c_str()) == 0 || errno == ENOENT);
        if (!good) *error = path_ + ": " + strerror(errno);
        if (fd >= 0) close(fd);
        unlink(temporary.c_str());
        return good;
    }

    void write(const std::string &after) {
        const sim::Card *const card = sim::current_card();
        std::string error = "there is no simulated card";
        if (card != nullptr && card::write_state_file(*card, {worker_, after}, path_, &error)) {
            traces_->written_by = worker_;
            return;
        }
        traces_->failed = true;
        kiv::add_note("card state: not written: " + error);
    }

    std::string path_, after_;
    Traces *traces_ = nullptr;
    int worker_ = 1;
};

const bool subscribed = [] {
    static CardState state;
    kiv::subscribe(&state);
    return true;
}();

}  // namespace
