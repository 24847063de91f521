// Traces made call by call, for the tests of the commands that read them.
#ifndef TESTS_KIVCTL_TRACE_SAMPLE_TRACE_H
#define TESTS_KIVCTL_TRACE_SAMPLE_TRACE_H

#include <functional>
#include <string>
#include <vector>

#include "card/boundary/operation.h"
#include "prm_srh_l2.h"
#include "trace/file_writer.h"

namespace kivctl::test {

class SampleTrace {
  public:
    explicit SampleTrace(const std::string &path);

    void worker(uint64_t number);
    void set_up(const std::string &folder);
    void begin_case(const std::string &folder, const std::string &name);
    void end_case(const std::string &folder, const std::string &name);
    void check(bool passed, int line);
    void print(const std::string &text);
    // `answer` is what the operation does to the memory that it was given.
    void call(
        card::OperationId operation, const std::vector<uint64_t> &arguments, uint32_t status = 0,
        const std::function<void()> &answer = [] {});
    // A call that never returns.
    void last_call(card::OperationId operation, const std::vector<uint64_t> &arguments);

    // prm_srh_register, which hands out that client.
    void register_client(uint64_t client);
    void add_bridge_domain(uint64_t client, uint32_t bd_id, uint32_t status = 0);
    // Hands out a next hop, and uses one.
    void reserve_next_hop(uint64_t client, uint32_t first);
    void use_next_hop(uint64_t client, uint32_t next_hop);

    // Writes what was told; the file can be read then.
    void done();

  private:
    void mark(trace::EntryKind kind, const std::string &folder = "", const std::string &name = "");

    trace::FileWriter writer_;
    std::vector<uint8_t> before_, after_;
    uint64_t sequence_ = 0;
    int64_t time_ = 1'700'000'000'000'000'000;
};

}  // namespace kivctl::test

#endif
