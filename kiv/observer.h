// For who wants to follow a run from beside the framework, the way a trace gets its case marks: the events of
// the process that runs the cases, and a place in the command line.
//
// A run lives in two processes. The supervising one reads the command line, keeps the results and survives
// the cases; the worker, forked from it, runs them and is replaced when a case brings it down. With --no-fork
// both are one process, and the calls come in the same order.
#ifndef KIV_OBSERVER_H
#define KIV_OBSERVER_H

#include <cstdint>
#include <string>
#include <string_view>

#include "kiv/results.h"

namespace CLI {
class App;
}

namespace kiv {

class Observer {
  public:
    // What the worker tells: bits of interests(). What nobody asks for costs the run nothing.
    enum Interest : unsigned {
        kCases = 1,     // case_begins, case_ended
        kChecks = 2,    // check, for passed and failed ones
        kPrints = 4,    // print
        kFixtures = 8,  // fixture_begins, fixture_ended
    };

    virtual ~Observer() = default;

    // In the supervising process, before the command line is read. Put options into a group of your own
    // (`option->group("Card")`): --help lists them under that heading. The app outlives the run.
    virtual void add_options(CLI::App &) {}

    // In the supervising process, before the first worker starts and after the selection was found good; not
    // called when nothing is run (--list, --help, an unknown selector). `info` knows program, site and disk0;
    // fill in info.card. False with *error set: nothing is run and the message is printed.
    virtual bool run_begins(RunInfo &info, std::string *error) {
        (void)info, (void)error;
        return true;
    }

    // In every worker, before its first fixture or case. `worker` counts from 1: a worker after the first
    // goes on where a case ended the one before it, and starts with the memory the supervising process has.
    virtual void worker_begins(int worker) { (void)worker; }

    // Read after worker_begins; may differ from worker to worker.
    virtual unsigned interests() const { return 0; }

    // In the worker, as they happen. `name` is unique in its folder ("case#2"). Not called for what a dying
    // worker had no time for: a case that ends its worker has a case_begins only.
    virtual void fixture_begins(std::string_view folder, bool set_up) { (void)folder, (void)set_up; }
    virtual void fixture_ended(std::string_view folder, bool set_up) { (void)folder, (void)set_up; }
    virtual void case_begins(std::string_view folder, std::string_view name) { (void)folder, (void)name; }
    virtual void case_ended(std::string_view folder, std::string_view name) { (void)folder, (void)name; }
    virtual void check(const Check &) {}
    virtual void print(std::string_view) {}  // kiv_printf and what goes through stdout and stderr

    // In the worker, when it has run its last case and leaves in good order; flush here.
    virtual void worker_ends() {}

    // In the supervising process, during the case or fixture that sent them: the bytes of one send(), whole.
    virtual void received(std::string_view bytes) { (void)bytes; }
    // In the supervising process, when a case or fixture has its verdict and before any report is told of it;
    // of those that did not run, too. Fill in calls_told and differences.
    virtual void complete(CaseResult &result) { (void)result; }
    virtual void complete(FixtureResult &fixture) { (void)fixture; }

    // In the supervising process, after the last worker is gone and before the summary is printed.
    virtual void run_ended(const Summary &) {}

    // Text for a status ("invalid argument"), for failing checks; null when unknown. In the worker.
    virtual const char *status_text(uint32_t status) {
        (void)status;
        return nullptr;
    }
};

// Before kiv_run, typically from a constructor of a static object or from main. The observer is not owned and
// lives as long as the process. Observers are called in the order of their subscription.
void subscribe(Observer *observer);

// One line for the run's report (a fault rule that fired, a trace that dropped entries): printed with the
// summary and kept in Summary::notes. From an observer's call in either process.
void add_note(std::string_view text);

// In the supervising process, from a call of an observer: a line for who watches the run, shown where its
// text goes.
void show(std::string_view line);

// A call of the running case or fixture to what it tests returned a failure: from whatever sees the calls
// pass, in the worker, when the call returns. `code_name` ("CARD_ERROR_TABLE_FULL") may be empty; what the
// code means is asked of status_text. The run counts it, and tells of it when nothing in the case does. Calls
// in a child that a case forks are not counted.
void call_failed(std::string_view operation, uint32_t code, std::string_view code_name);

// From an observer in the worker to the observers in the supervising process, of whatever length: they arrive
// in order with what else the running case or fixture tells, also when the worker dies afterwards.
void send(std::string_view bytes);

// The checks of the running case or fixture so far, in the worker.
struct Tally {
    uint64_t checks = 0;
    uint64_t failed = 0;
};
Tally tally();

}  // namespace kiv

#endif
