// Makes traces: see sample_trace.h.
#include "tests/kivctl/trace/sample_trace.h"

#include <gtest/gtest.h>

#include "prm_buddy_reserve.h"
#include "trace/capture.h"

namespace kivctl::test {
namespace {

template <class Record>
uint64_t address(const Record &record) {
    return reinterpret_cast<uint64_t>(&record);
}

}  // namespace

SampleTrace::SampleTrace(const std::string &path)
    : before_(trace::kLargestEntry), after_(trace::kLargestEntry) {
    std::string error;
    EXPECT_TRUE(writer_.create(path, 0, &error)) << error;
}

void SampleTrace::done() {
    writer_.flush();
}

void SampleTrace::mark(trace::EntryKind kind, const std::string &folder, const std::string &name) {
    trace::Mark mark;
    mark.kind = kind;
    mark.time = ++time_;
    mark.texts[0] = folder;
    mark.texts[1] = name;
    writer_.append(mark);
}

void SampleTrace::worker(uint64_t number) {
    trace::Mark mark;
    mark.kind = trace::EntryKind::worker;
    mark.number = number;
    writer_.append(mark);
}
void SampleTrace::set_up(const std::string &folder) {
    mark(trace::EntryKind::set_up_begins, folder);
}
void SampleTrace::begin_case(const std::string &folder, const std::string &name) {
    mark(trace::EntryKind::case_begins, folder, name);
}
void SampleTrace::end_case(const std::string &folder, const std::string &name) {
    mark(trace::EntryKind::case_ended, folder, name);
}
void SampleTrace::print(const std::string &text) {
    mark(trace::EntryKind::print, text);
}

void SampleTrace::check(bool passed, int line) {
    trace::Mark mark;
    mark.kind = trace::EntryKind::check;
    mark.passed = passed;
    mark.line = line;
    mark.status = passed ? 0 : 0x5ca25800;
    mark.texts[0] = "CERR_SUCCESS";
    mark.texts[1] = passed ? "" : "unknown bridge domain";
    mark.texts[3] = "prm/test/src/sample";
    mark.texts[4] = "tc_sample";
    writer_.append(mark);
}

void SampleTrace::call(card::OperationId operation, const std::vector<uint64_t> &arguments, uint32_t status,
                       const std::function<void()> &answer) {
    trace::Capture capture;
    const size_t size =
        capture.begins(operation, arguments.data(), {++sequence_, 0, ++time_}, before_.data());
    writer_.append({before_.data(), size});
    answer();
    const int64_t took = 1000 * static_cast<int64_t>(sequence_);
    writer_.append({after_.data(), capture.returns(status, took, before_.data(), after_.data())});
}

void SampleTrace::last_call(card::OperationId operation, const std::vector<uint64_t> &arguments) {
    trace::Capture capture;
    const size_t size =
        capture.begins(operation, arguments.data(), {++sequence_, 0, ++time_}, before_.data());
    writer_.append({before_.data(), size});
}

void SampleTrace::register_client(uint64_t client) {
    prm_handle_t out = nullptr;
    call(card::OperationId::prm_srh_register, {address(out), 1, 0, 0}, 0,
         [&] { out = reinterpret_cast<prm_handle_t>(client); });
}

void SampleTrace::add_bridge_domain(uint64_t client, uint32_t bd_id, uint32_t status) {
    prm_bd_request record{};
    record.kind = 10;
    record.bd_id = bd_id;
    call(card::OperationId::prm_srh_bd_add, {client, address(record)}, status);
}

void SampleTrace::reserve_next_hop(uint64_t client, uint32_t first) {
    prm_buddy_reserve record{};
    record.count = 1;
    call(card::OperationId::prm_srh_tx_adj_buddy_reserve, {client, address(record)}, 0,
         [&] { record.index = first; });
}

void SampleTrace::use_next_hop(uint64_t client, uint32_t next_hop) {
    prm_vxlan_ole_request record{};
    record.nh_id = next_hop;
    call(card::OperationId::prm_srh_vxlan_ole_add, {client, address(record)});
}

}  // namespace kivctl::test
