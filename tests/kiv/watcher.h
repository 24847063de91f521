// An observer for the tests of who tells observers: one for the whole process, deaf unless a test asks.
#ifndef TESTS_KIV_WATCHER_H
#define TESTS_KIV_WATCHER_H

#include <functional>
#include <string>

#include "kiv/observer.h"

namespace kiv_test {

class Watcher : public kiv::Observer {
  public:
    // The one that is subscribed; as if it were new.
    static Watcher &fresh() {
        static Watcher *const watcher = [] {
            Watcher *const subscribed = new Watcher;
            kiv::subscribe(subscribed);
            return subscribed;
        }();
        *watcher = Watcher();
        return *watcher;
    }

    void worker_begins(int worker) override {
        tell("worker " + std::to_string(worker));
        if (on_worker_begins_) on_worker_begins_(worker);
    }
    unsigned interests() const override { return interests_; }
    void fixture_begins(std::string_view folder, bool set_up) override {
        tell((set_up ? "set-up " : "tear-down ") + std::string(folder));
    }
    void fixture_ended(std::string_view folder, bool set_up) override {
        tell((set_up ? "end of set-up " : "end of tear-down ") + std::string(folder));
    }
    void case_begins(std::string_view folder, std::string_view name) override {
        tell("case " + std::string(folder) + "/" + std::string(name));
    }
    void case_ended(std::string_view folder, std::string_view name) override {
        tell("end of " + std::string(folder) + "/" + std::string(name));
    }
    void check(const kiv::Check &check) override {
        tell((check.passed ? "passed " : "failed ") + check.expected_name + "|" + check.status_text + "|" +
             check.message + "|" + std::to_string(check.line));
    }
    void print(std::string_view text) override { tell("print " + std::string(text)); }
    void received(std::string_view bytes) override {
        tell("received " +
             (bytes.size() > 100 ? std::to_string(bytes.size()) + " bytes" : std::string(bytes)));
    }
    void complete(kiv::CaseResult &result) override {
        if (completes_) result.differences = {1, {"of " + result.selector()}};
    }
    void complete(kiv::FixtureResult &fixture) override {
        if (completes_) fixture.differences = {1, {"of " + fixture.name()}};
    }
    void worker_ends() override { tell("worker ends"); }
    const char *status_text(uint32_t status) override { return status == known_status_ ? "known" : nullptr; }

    std::string text_;
    unsigned interests_ = 0;
    bool completes_ = false;
    uint32_t known_status_ = 0;
    std::function<void(int)> on_worker_begins_;

  private:
    void tell(const std::string &line) { text_ += line + "\n"; }
};

}  // namespace kiv_test

#endif
