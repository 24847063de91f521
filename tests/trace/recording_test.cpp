// From a call to its entries and back: what was handed over, what it changed, and what cannot be read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "card/boundary/layers.h"
#include "prm_buddy_reserve.h"
#include "prm_srh_l2.h"
#include "trace/reader.h"
#include "trace/recorder.h"
#include "trace/text.h"
#include "trace/told.h"
#include "uidb.h"
#include "wyk_hal_records.h"
#include "zor_vop_prm_tcam.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

uint64_t checks_made = 0;
std::string sent;

// What answers: some operations do something worth seeing.
const card::Backend &answering() {
    static const card::Backend backend = [] {
        card::Backend made = card::kNothingSupported;
        made.event_manager_create = [](u32, u32, u32, u32) { return reinterpret_cast<prm_handle_t>(0x1234); };
        made.event_manager_destroy = [](prm_handle_t *manager) { *manager = nullptr; };
        made.prm_srh_bd_add = [](prm_handle_t, prm_bd_request *) -> prm_status_t { return CERR_SUCCESS; };
        made.prm_srh_tx_adj_buddy_reserve = [](prm_handle_t, prm_buddy_reserve *record) -> prm_status_t {
            reinterpret_cast<u8 *>(record)[sizeof *record - 1] = 0x77;
            return CERR_SUCCESS;
        };
        made.prm_srh_set_name = [](prm_handle_t, const char *) -> prm_status_t { return CERR_SUCCESS; };
        made.zor_vop_prm_tcam_vmr_insert = [](prm_handle_t, prm_info *) -> prm_status_t {
            return CERR_SUCCESS;
        };
        made.uidb_create_interface_batch = [](uintptr_t, uidb_create_msg *, u32) -> prm_status_t {
            return CERR_SUCCESS;
        };
        made.wyk_hal_wrapper_get_stats = [](void *, void *) -> prm_status_t { return CERR_SUCCESS; };
        made.wyk_hal_wrapper_engine_op = [](u32, void *, void *) -> prm_status_t {
            return PRM_ERROR_INVALID_ARG;
        };
        made.prm_mgr_close = [](prm_handle_t) -> prm_status_t { abort(); };
        return made;
    }();
    return backend;
}

class RecordingTest : public testing::Test {
  protected:
    RecordingTest() {
        checks_made = 0;
        sent.clear();
        std::string error;
        EXPECT_TRUE(recorder_.create(
            {[] { return checks_made; }, [](std::string_view entries) { sent += entries; }}, &error))
            << error;
        recorder_.worker_begins(1);
        recorder_.item_begins(trace::EntryKind::case_begins, "f", "c");
    }
    ~RecordingTest() override {
        trace::watch_calls(nullptr);
        unlink(path_.c_str());
        unlink((path_ + ".1").c_str());
    }
    void open_file(uint64_t limit = 0) {
        std::string error;
        ASSERT_TRUE(recorder_.file().create(path_, limit, &error)) << error;
        recorder_.worker_begins(1);
        recorder_.item_begins(trace::EntryKind::case_begins, "f", "c");
    }
    // The calls that the memory holds; its bytes stay until the next.
    const std::vector<trace::Call> &calls() {
        entries_.clear();
        recorder_.append_left(&entries_);
        calls_ = trace::calls_in(entries_);
        return calls_.calls;
    }
    trace::Memory memory(size_t at = 0) {
        const auto &all = calls();
        if (all.empty() || all.back().memory.size() <= at) return {};
        return all.back().memory[at];
    }
    // What a file says, an event a line.
    std::vector<std::string> events(const std::string &path, std::string *problem = nullptr) {
        trace::Reader reader;
        std::string error;
        std::vector<std::string> lines;
        if (!reader.open(path, &error)) return {error};
        trace::Naming names;
        for (trace::Event event; reader.next(&event);) {
            std::string line;
            if (event.is_call) {
                names.learn(event.call);
                trace::append_line(&line, event.call, names, {.schema = &reader.schema()});
            } else {
                line = "mark " + std::to_string(static_cast<int>(event.mark.kind)) + " " +
                       std::string(event.mark.texts[0]) + "/" + std::string(event.mark.texts[1]);
            }
            lines.push_back(line);
        }
        if (problem != nullptr) *problem = reader.problem();
        return lines;
    }

    const card::Backend &backend_ = trace::recording_in_front_of(answering());
    trace::Recorder recorder_;
    std::string entries_;
    trace::Calls calls_;
    const std::string path_ = testing::TempDir() + "recording_test." + std::to_string(getpid()) + ".pcap";
};

TEST_F(RecordingTest, CallHasItsArgumentsRecordResultAndPlaceAmongChecks) {
    checks_made = 3;
    prm_bd_request record{};
    record.bd_id = 7;
    EXPECT_EQ(backend_.prm_srh_bd_add(reinterpret_cast<prm_handle_t>(5), &record), CERR_SUCCESS);
    ASSERT_EQ(calls().size(), 1u);
    const trace::Call &call = calls().front();
    EXPECT_EQ(call.operation->row.name, "prm_srh_bd_add");
    EXPECT_EQ(call.sequence, 1u);
    EXPECT_EQ(call.arguments[0], 5u);
    EXPECT_EQ(call.checks, 3u);
    EXPECT_TRUE(call.returned);
    EXPECT_FALSE(call.failed());
    EXPECT_GE(call.took, 0);
    EXPECT_GT(call.began, 1'700'000'000'000'000'000);
    ASSERT_EQ(call.memory.size(), 1u);
    const trace::Memory &memory = call.memory[0];
    EXPECT_EQ(memory.parameter, 1);
    EXPECT_EQ(memory.field, trace::Memory::kWhole);
    EXPECT_STREQ(memory.record->name, "prm_bd_request");
    ASSERT_EQ(memory.before.size(), sizeof record);
    EXPECT_EQ(memcmp(memory.before.data(), &record, sizeof record), 0);
    EXPECT_EQ(memory.after.data(), memory.before.data());
}

TEST_F(RecordingTest, WhatACallWritesStandsBesideWhatWasThere) {
    prm_buddy_reserve record{};
    backend_.prm_srh_tx_adj_buddy_reserve(nullptr, &record);
    const trace::Memory reserve = memory();
    ASSERT_EQ(reserve.after.size(), sizeof record);
    EXPECT_EQ(reserve.before.back(), 0);
    EXPECT_EQ(reserve.after.back(), 0x77);
    auto manager = reinterpret_cast<prm_handle_t>(9);
    backend_.event_manager_destroy(&manager);
    EXPECT_EQ(memory().before.size(), sizeof manager);
    EXPECT_EQ(memory().before[0], 9);
    EXPECT_EQ(memory().after[0], 0);
}

TEST_F(RecordingTest, ResultOfEveryKindIsKept) {
    backend_.event_manager_create(1, 2, 3, 4);
    EXPECT_EQ(calls().back().result, 0x1234u);
    const uint64_t *const arguments = calls_.calls.back().arguments;
    EXPECT_THAT(std::vector<uint64_t>(arguments, arguments + 4), ElementsAre(1, 2, 3, 4));
    EXPECT_FALSE(recorder_.call_failed());
    EXPECT_NE(backend_.prm_srh_bd_del(nullptr, nullptr), CERR_SUCCESS);
    EXPECT_TRUE(calls().back().failed());
    EXPECT_TRUE(recorder_.call_failed());
    EXPECT_TRUE(calls().back().memory.empty());  // a null pointer leads nowhere
}

TEST_F(RecordingTest, TextIsKeptWithoutItsEndAndALongOneIsCut) {
    backend_.prm_srh_set_name(nullptr, "a name");
    EXPECT_EQ(std::string(memory().before.begin(), memory().before.end()), "a name");
    EXPECT_FALSE(memory().cut);
    const std::string longer(5000, 'x');
    backend_.prm_srh_set_name(nullptr, longer.c_str());
    EXPECT_EQ(memory().before.size(), 256u);
    EXPECT_TRUE(memory().cut);
}

TEST_F(RecordingTest, BuffersOfARecordAreBlocksOfTheirOwn) {
    u8 values[2 * 200] = {}, results[2 * 40] = {};
    values[399] = 1;
    prm_info info{};
    info.nr_entries = 2;
    info.value_mask_key_sz = 200;
    info.result_key_sz = 40;
    info.value = values;
    info.result = results;
    backend_.zor_vop_prm_tcam_vmr_insert(nullptr, &info);
    ASSERT_EQ(calls().back().memory.size(), 3u);  // no mask
    const trace::Memory first = memory(1);
    EXPECT_EQ(first.parameter, 1);
    EXPECT_NE(first.field, trace::Memory::kWhole);
    EXPECT_EQ(first.items, 2u);
    EXPECT_EQ(first.item_size, 200u);
    EXPECT_EQ(first.before.back(), 1);
    EXPECT_FALSE(first.cut);
    // What the head claims is not believed.
    info.nr_entries = 0xffff;  // more than there are bytes
    backend_.zor_vop_prm_tcam_vmr_insert(nullptr, &info);
    EXPECT_TRUE(memory(1).cut);
}

TEST_F(RecordingTest, RecordsOfABatchStandBackToBack) {
    uidb_create_msg records[3] = {};
    backend_.uidb_create_interface_batch(0, records, 3);
    EXPECT_EQ(memory().items, 3u);
    EXPECT_EQ(memory().before.size(), sizeof records);
    backend_.uidb_create_interface_batch(0, records, 0xffffffff);
    EXPECT_TRUE(memory().cut);
}

TEST_F(RecordingTest, WildPointersAreSaidAndNotFollowed) {
    char *const page =
        static_cast<char *>(mmap(nullptr, 8192, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    mprotect(page + 4096, 4096, PROT_NONE);
    void *const kWild[] = {reinterpret_cast<void *>(8), reinterpret_cast<void *>(~uintptr_t{0} - 3),
                           page + 4090, page + 4096};
    for (void *const wild : kWild) {
        backend_.prm_srh_bd_add(nullptr, static_cast<prm_bd_request *>(wild));
        EXPECT_TRUE(memory().cut);
        EXPECT_TRUE(memory().before.empty());
        backend_.wyk_hal_wrapper_get_stats(wild, wild);
        EXPECT_TRUE(memory().cut);
        backend_.zor_vop_prm_tcam_vmr_insert(nullptr, static_cast<prm_info *>(wild));
        backend_.uidb_create_interface_batch(0, static_cast<uidb_create_msg *>(wild), 1u << 31);
    }
    strcpy(page + 4093, "ab");
    backend_.prm_srh_set_name(nullptr, page + 4093);
    EXPECT_EQ(memory().before.size(), 2u);
    page[4095] = 'c';
    backend_.prm_srh_set_name(nullptr, page + 4093);
    EXPECT_EQ(memory().before.size(), 3u);
    EXPECT_TRUE(memory().cut);
    munmap(page, 8192);
}

TEST_F(RecordingTest, TypeWithoutALayoutIsSaidToBeCut) {
    u8 bytes[16] = {};
    backend_.wyk_hal_wrapper_engine_op(0xdead, bytes, bytes);
    EXPECT_TRUE(memory().cut);
    EXPECT_TRUE(calls().back().failed());
}

TEST_F(RecordingTest, CallThatDoesNotReturnIsThereAsItBegan) {
    const pid_t child = fork();
    if (child == 0) {
        trace::watch_calls(&recorder_);  // as a worker does
        signal(SIGABRT, SIG_DFL);
        backend_.prm_srh_set_name(nullptr, "last words");
        backend_.prm_mgr_close(nullptr);
    }
    waitpid(child, nullptr, 0);
    ASSERT_EQ(calls().size(), 2u);
    EXPECT_TRUE(calls()[0].returned);
    EXPECT_FALSE(calls()[1].returned);
    EXPECT_EQ(calls()[1].operation->row.name, "prm_mgr_close");
}

TEST_F(RecordingTest, ForkedChildIsNotRecorded) {
    const pid_t child = fork();
    if (child == 0) {
        backend_.prm_srh_set_name(nullptr, "of a child");
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(calls().empty());
}

TEST_F(RecordingTest, LastCallsAreKeptAndEarlierOnesCounted) {
    prm_bd_request record{};
    constexpr uint64_t kCalls = 20'000;
    for (uint64_t i = 0; i < kCalls; ++i) backend_.prm_srh_bd_add(nullptr, &record);
    EXPECT_GT(calls().size(), 100u);
    EXPECT_EQ(calls().back().sequence, kCalls);
    EXPECT_EQ(calls_.left_out + calls().size(), kCalls);
}

TEST_F(RecordingTest, NewCaseForgetsTheOneBefore) {
    backend_.prm_srh_bd_add(nullptr, nullptr);
    recorder_.item_begins(trace::EntryKind::case_begins, "f", "d");
    EXPECT_TRUE(calls().empty());
}

TEST_F(RecordingTest, CallsAreSentWhereTheyAreWanted) {
    backend_.prm_srh_set_name(nullptr, "a");
    recorder_.item_ended(trace::EntryKind::case_ended, "f", "c", false);
    EXPECT_EQ(sent, "");
    recorder_.item_ended(trace::EntryKind::case_ended, "f", "c", true);
    EXPECT_EQ(trace::calls_in(sent).calls.size(), 1u);
    sent.clear();
    recorder_.set_sends(trace::Recorder::Sends::every_call);
    backend_.prm_srh_set_name(nullptr, "b");
    EXPECT_EQ(trace::calls_in(sent).calls.size(), 1u);
    sent.clear();
    recorder_.set_sends(trace::Recorder::Sends::every_case);
    prm_bd_request record{};
    for (int i = 0; i < 20'000; ++i) backend_.prm_srh_bd_add(nullptr, &record);
    recorder_.item_ended(trace::EntryKind::case_ended, "f", "c", false);
    EXPECT_EQ(trace::calls_in(sent).calls.size(), 20'000u);
    EXPECT_EQ(trace::calls_in(sent).left_out, 0u);
}

TEST_F(RecordingTest, ThreadsMayCallAtOnce) {
    open_file();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            prm_buddy_reserve record{};
            for (int k = 0; k < 500; ++k) backend_.prm_srh_tx_adj_buddy_reserve(nullptr, &record);
        });
    for (std::thread &thread : threads) thread.join();
    recorder_.worker_ends();
    std::string problem;
    EXPECT_EQ(events(path_, &problem).size(), 2000 - recorder_.missed() + 2);
    EXPECT_EQ(problem, "");
}

TEST_F(RecordingTest, FileHasCallsAndWhatStandsAroundThem) {
    open_file();
    backend_.prm_srh_set_name(nullptr, "a");
    trace::Mark check;
    check.kind = trace::EntryKind::check;
    check.number = 1;
    check.passed = true;
    check.texts[0] = "CERR_SUCCESS";
    recorder_.tell(check);
    recorder_.item_ended(trace::EntryKind::case_ended, "f", "c", false);
    recorder_.worker_ends();
    std::string problem;
    EXPECT_THAT(events(path_, &problem),
                ElementsAre("mark 4 /", "mark 5 f/c", "prm_srh_set_name(null, \"a\") = 0",
                            "mark 11 CERR_SUCCESS/", "mark 6 f/c"));
    EXPECT_EQ(problem, "");
}

TEST_F(RecordingTest, FileHasOnlyTheFamiliesThatWereAskedFor) {
    recorder_.only_families({"l2", "tcam"});
    open_file();
    backend_.prm_srh_set_name(nullptr, "a");
    backend_.prm_srh_bd_add(nullptr, nullptr);
    recorder_.worker_ends();
    EXPECT_THAT(events(path_), ElementsAre("mark 4 /", "mark 5 f/c", HasSubstr("prm_srh_bd_add")));
}

TEST_F(RecordingTest, FileThatGrewToItsLimitIsKeptUnderAnotherName) {
    const uint64_t limit = trace::FileWriter::smallest_limit();
    open_file(limit);
    prm_bd_request record{};
    constexpr size_t kCalls = 3000;
    for (size_t i = 0; i < kCalls; ++i) backend_.prm_srh_bd_add(nullptr, &record);
    recorder_.worker_ends();
    EXPECT_GE(recorder_.file().rotations(), 1u);
    std::string problem;
    const size_t now = events(path_, &problem).size();
    EXPECT_EQ(problem, "");
    const size_t before = events(path_ + ".1", &problem).size();
    EXPECT_EQ(problem, "");
    EXPECT_GT(now + before, 50u);
    for (const std::string &path : {path_, path_ + ".1"}) {
        FILE *const file = fopen(path.c_str(), "rb");
        fseek(file, 0, SEEK_END);
        EXPECT_LE(static_cast<uint64_t>(ftell(file)), limit);
        fclose(file);
    }
}

TEST_F(RecordingTest, NextWorkerGoesOnWhereOneDied) {
    open_file();
    const pid_t child = fork();
    if (child == 0) {
        trace::watch_calls(&recorder_);
        backend_.prm_srh_set_name(nullptr, "a");
        _exit(0);  // nothing is flushed
    }
    waitpid(child, nullptr, 0);
    recorder_.worker_begins(2);
    backend_.prm_srh_set_name(nullptr, "b");
    recorder_.worker_ends();
    EXPECT_THAT(events(path_), ElementsAre("mark 4 /", "mark 5 f/c", "prm_srh_set_name(null, \"a\") = 0",
                                           "mark 4 /", "prm_srh_set_name(null, \"b\") = 0"));
}

TEST_F(RecordingTest, FileCutAnywhereIsReadUpToItsLastWholeEntry) {
    open_file();
    for (int i = 0; i < 3; ++i) backend_.prm_srh_set_name(nullptr, "a");
    recorder_.worker_ends();
    const size_t all = events(path_).size();
    FILE *file = fopen(path_.c_str(), "rb");
    std::string bytes(1 << 20, '\0');
    bytes.resize(fread(bytes.data(), 1, bytes.size(), file));
    fclose(file);
    const std::string cut = path_ + ".1";
    size_t last = 0;
    for (size_t size = bytes.size() - 700; size <= bytes.size(); size += 7) {
        file = fopen(cut.c_str(), "wb");
        fwrite(bytes.data(), 1, size, file);
        fclose(file);
        std::string problem;
        const size_t now = events(cut, &problem).size();
        EXPECT_GE(now, last);
        EXPECT_LE(now, all);
        last = now;
        if (!problem.empty()) {
            EXPECT_THAT(problem, HasSubstr("cut off after byte "));
        }
    }
    EXPECT_EQ(last, all);
}

TEST_F(RecordingTest, WhatIsNoTraceIsRefusedByName) {
    EXPECT_THAT(events("/nowhere"), ElementsAre("/nowhere: No such file or directory"));
    FILE *const file = fopen(path_.c_str(), "wb");
    fputs("{\"Action\":\"start\"} and more of it", file);
    fclose(file);
    EXPECT_THAT(events(path_), ElementsAre(path_ + ": not a trace: it does not begin like one"));
}

TEST_F(RecordingTest, FullDiskIsSaid) {
    std::string error;
    trace::FileWriter writer;
    EXPECT_FALSE(writer.create("/dev/full", 0, &error));
    EXPECT_EQ(error, "/dev/full: not a regular file");
    EXPECT_FALSE(writer.create("/nowhere/trace", 0, &error));
    EXPECT_EQ(error, "/nowhere/trace: No such file or directory");
}

}  // namespace
