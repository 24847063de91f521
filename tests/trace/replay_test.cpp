// Calls answered from a trace: what was handed out, refused and left in memory comes again, and what is
// another call is told.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "card/boundary/layers.h"
#include "card/codes.h"
#include "prm_buddy_reserve.h"
#include "prm_srh_l2.h"
#include "trace/recorder.h"
#include "trace/replay.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using trace::EntryKind;
using trace::Replay;

uint64_t next_client = 0x1000;

prm_handle_t handle(uint64_t value) {
    return reinterpret_cast<prm_handle_t>(value);
}

// What is recorded: clients have other values whenever one registers, and domain 13 is refused.
const card::Backend &recorded_card() {
    static const card::Backend backend = [] {
        card::Backend made = card::kNothingSupported;
        made.prm_srh_register = [](prm_handle_t *out, u32, prm_handle_t, prm_notify_t) -> prm_status_t {
            *out = handle(next_client += 0x1000);
            return CERR_SUCCESS;
        };
        made.prm_srh_bd_add = [](prm_handle_t, prm_bd_request *record) -> prm_status_t {
            return record->bd_id == 13 ? PRM_ERROR_INVALID_ARG : CERR_SUCCESS;
        };
        made.prm_srh_tx_adj_buddy_reserve = [](prm_handle_t, prm_buddy_reserve *record) -> prm_status_t {
            reinterpret_cast<u8 *>(record)[sizeof *record - 1] = 0x77;
            return CERR_SUCCESS;
        };
        made.prm_srh_bd_del = [](prm_handle_t, prm_bd_request *) -> prm_status_t { return CERR_SUCCESS; };
        return made;
    }();
    return backend;
}

prm_handle_t register_at(const card::Backend &card) {
    prm_handle_t client = nullptr;
    EXPECT_EQ(card.prm_srh_register(&client, 1, nullptr, nullptr), 0u);
    return client;
}

prm_status_t add(const card::Backend &card, prm_handle_t client, u32 id) {
    prm_bd_request record = {};
    record.bd_id = id;
    return card.prm_srh_bd_add(client, &record);
}

prm_status_t remove(const card::Backend &card, prm_handle_t client, u32 id) {
    prm_bd_request record = {};
    record.bd_id = id;
    return card.prm_srh_bd_del(client, &record);
}

class ReplayedCallsTest : public testing::Test {
  protected:
    ~ReplayedCallsTest() override { unlink(path_.c_str()); }

    // Set-ups and cases of folder "f" with one worker.
    template <class Work>
    void record(const Work &work) {
        std::string error;
        trace::Recorder recorder;
        ASSERT_TRUE(recorder.create({[] { return uint64_t{0}; }, [](std::string_view) {}}, &error)) << error;
        ASSERT_TRUE(recorder.file().create(path_, 0, &error)) << error;
        recorder.worker_begins(1);
        const card::Backend &card = trace::recording_in_front_of(recorded_card());
        work(card, [&](EntryKind kind, const char *name, const auto &calls) {
            recorder.item_begins(kind, "f", name);
            calls();
            recorder.item_ended(static_cast<EntryKind>(static_cast<int>(kind) + 1), "f", name, false);
        });
        recorder.worker_ends();
    }
    const card::Backend &replay(Replay::Mode mode = Replay::Mode::STRICT) {
        std::string lacks, error;
        EXPECT_TRUE(replay_.open(path_, mode,
                                 {[this](std::string_view text, uint64_t) { told_.emplace_back(text); },
                                  [] { return uint64_t{0}; }},
                                 &lacks, &error))
            << error;
        replay_.worker_begins();
        return trace::answering_from(&replay_);
    }
    // One case that registers and adds and removes some domains.
    void record_one_case() {
        record([](const card::Backend &card, const auto &item) {
            item(EntryKind::case_begins, "c", [&] {
                const prm_handle_t client = register_at(card);
                add(card, client, 12);
                add(card, client, 13);
                remove(card, client, 12);
            });
        });
    }

    Replay replay_;
    std::vector<std::string> told_;
    const std::string path_ = testing::TempDir() + "replayed." + std::to_string(getpid());
};

TEST_F(ReplayedCallsTest, HandlesAndRefusalsAreThoseOfTheTrace) {
    record_one_case();
    const card::Backend &card = replay();
    replay_.item_begins(EntryKind::case_begins, "f", "c");
    const prm_handle_t client = register_at(card);
    EXPECT_EQ(client, handle(next_client));
    EXPECT_EQ(add(card, client, 12), CERR_SUCCESS);
    EXPECT_EQ(add(card, client, 13), PRM_ERROR_INVALID_ARG);
    EXPECT_EQ(remove(card, client, 12), CERR_SUCCESS);
    replay_.item_ended();
    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(ReplayedCallsTest, ChangedFieldIsToldWithBothValues) {
    record_one_case();
    const card::Backend &card = replay();
    replay_.item_begins(EntryKind::case_begins, "f", "c");
    const prm_handle_t client = register_at(card);
    add(card, client, 11);
    add(card, handle(0x99), 13);
    remove(card, client, 12);
    replay_.item_ended();
    EXPECT_THAT(told_, ElementsAre("call 2: prm_srh_bd_add: record.bd_id: 11, trace 12",
                                   "call 3: prm_srh_bd_add: client: 153, trace client#1"));
}

TEST_F(ReplayedCallsTest, CallThatIsLeftOutIsToldAndTheNextOnesAreAnswered) {
    record_one_case();
    const card::Backend &card = replay();
    replay_.item_begins(EntryKind::case_begins, "f", "c");
    const prm_handle_t client = register_at(card);
    EXPECT_EQ(remove(card, client, 12), CERR_SUCCESS);
    replay_.item_ended();
    EXPECT_THAT(told_, ElementsAre("call 2 of the trace is missing: prm_srh_bd_add", "and 1 more behind it"));
}

TEST_F(ReplayedCallsTest, AdditionalCallIsToldAndAnsweredWithACodeOfItsOwn) {
    record_one_case();
    const card::Backend &card = replay();
    replay_.item_begins(EntryKind::case_begins, "f", "c");
    const prm_handle_t client = register_at(card);
    EXPECT_EQ(remove(card, client, 77), CARD_ERROR_NOT_IN_TRACE);
    EXPECT_EQ(add(card, client, 12), CERR_SUCCESS);
    add(card, client, 13);
    remove(card, client, 12);
    EXPECT_EQ(remove(card, client, 12), CARD_ERROR_NOT_IN_TRACE);
    replay_.item_ended();
    EXPECT_THAT(told_, ElementsAre("call 2: prm_srh_bd_del: the trace has prm_srh_bd_add here",
                                   "call 6: prm_srh_bd_del: beyond the last of the trace's 4 calls here"));
}

TEST_F(ReplayedCallsTest, CallsThatAreNotMadeAtTheEndAreTold) {
    record_one_case();
    const card::Backend &card = replay();
    replay_.item_begins(EntryKind::case_begins, "f", "c");
    register_at(card);
    replay_.item_ended();
    EXPECT_THAT(told_, ElementsAre("call 2 of the trace is missing: prm_srh_bd_add", "and 2 more behind it"));
}

// A case of the second pass runs behind the set-up of the first one.
TEST_F(ReplayedCallsTest, HandleOfAnotherPassStandsForTheOneOfThisRun) {
    record([](const card::Backend &card, const auto &item) {
        prm_handle_t client = nullptr;
        item(EntryKind::set_up_begins, "", [&] { client = register_at(card); });
        item(EntryKind::set_up_begins, "", [&] { client = register_at(card); });
        item(EntryKind::case_begins, "c", [&] {
            add(card, client, 12);
            add(card, client, 12);
        });
    });
    const card::Backend &card = replay();
    replay_.item_begins(EntryKind::set_up_begins, "f", "");
    const prm_handle_t client = register_at(card);
    replay_.item_ended();
    EXPECT_NE(client, handle(next_client));
    replay_.item_begins(EntryKind::case_begins, "f", "c");
    EXPECT_EQ(add(card, client, 12), CERR_SUCCESS);
    EXPECT_THAT(told_, IsEmpty());
    add(card, handle(next_client), 12);  // which this run was never handed
    replay_.item_ended();
    EXPECT_THAT(told_, ElementsAre(HasSubstr("call 2: prm_srh_bd_add: client: ")));
}

TEST_F(ReplayedCallsTest, MemoryHoldsWhatTheCallLeftThere) {
    record([](const card::Backend &card, const auto &item) {
        item(EntryKind::case_begins, "c", [&] {
            prm_buddy_reserve record = {};
            card.prm_srh_tx_adj_buddy_reserve(nullptr, &record);
            card.prm_srh_tx_adj_buddy_reserve(nullptr, &record);
        });
    });
    const card::Backend &card = replay();
    replay_.item_begins(EntryKind::case_begins, "f", "c");
    prm_buddy_reserve record = {};
    EXPECT_EQ(card.prm_srh_tx_adj_buddy_reserve(nullptr, &record), CERR_SUCCESS);
    EXPECT_EQ(reinterpret_cast<u8 *>(&record)[sizeof record - 1], 0x77);
    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(ReplayedCallsTest, MemoryThatCannotBeWrittenIsToldAndLeftAlone) {
    record([](const card::Backend &card, const auto &item) {
        item(EntryKind::case_begins, "c", [&] {
            prm_buddy_reserve record = {};
            card.prm_srh_tx_adj_buddy_reserve(nullptr, &record);
        });
    });
    const card::Backend &card = replay();
    replay_.item_begins(EntryKind::case_begins, "f", "c");
    void *const page = mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    card.prm_srh_tx_adj_buddy_reserve(nullptr, static_cast<prm_buddy_reserve *>(page));
    munmap(page, 4096);
    EXPECT_THAT(told_, ElementsAre(HasSubstr("record: cannot be written")));
}

TEST_F(ReplayedCallsTest, LenientReplayTakesTheCallThatIsMostLikeIt) {
    record_one_case();
    const card::Backend &card = replay(Replay::Mode::LENIENT);
    replay_.item_begins(EntryKind::case_begins, "f", "c");
    const prm_handle_t client = register_at(card);
    EXPECT_EQ(add(card, client, 13), PRM_ERROR_INVALID_ARG);
    EXPECT_EQ(add(card, client, 12), CERR_SUCCESS);
    EXPECT_EQ(add(card, client, 13), PRM_ERROR_INVALID_ARG);  // again
    EXPECT_EQ(card.prm_srh_xid_add(client, nullptr), CARD_ERROR_NOT_IN_TRACE);
    replay_.item_ended();
    EXPECT_THAT(told_, ElementsAre("call 5: prm_srh_xid_add: the trace has no such call here"));
}

}  // namespace
