// What happens to calls that fault rules choose.
#include "card/faults/faults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "card/codes.h"
#include "card/records/registry.h"
#include "prm_buddy_reserve.h"
#include "prm_srh_l2.h"
#include "zor_vop_prm_tcam.h"

namespace card::faults {
namespace {

using testing::ElementsAre;

// What the card behind was asked.
struct Asked {
    int calls = 0;
    u32 count = 0;
} asked;

class FaultsTest : public testing::Test {
  protected:
    FaultsTest() : card_(kNothingSupported) {
        asked = {};
        card_.prm_srh_bd_add = [](prm_handle_t, prm_bd_request *) -> prm_status_t {
            ++asked.calls;
            return CERR_SUCCESS;
        };
        card_.prm_srh_tx_adj_buddy_reserve = [](prm_handle_t, prm_buddy_reserve *record) -> prm_status_t {
            ++asked.calls;
            asked.count = record->count;
            record->index = 40;
            return CERR_SUCCESS;
        };
        card_.prm_stats_cl_alloc = [](prm_handle_t, u32, u32, u32, u32 *count, u32 *pointer) -> prm_status_t {
            asked.count = *count;
            *pointer = 100;
            return CERR_SUCCESS;
        };
        card_.zor_vop_prm_tcam_vmr_read = [](prm_handle_t, prm_info *) -> prm_status_t {
            return CERR_SUCCESS;
        };
    }
    ~FaultsTest() override { set_process_faults(nullptr); }

    const Backend &with(const std::vector<std::string> &texts) {
        std::vector<Rule> rules(texts.size());
        RuleError wrong;
        std::string error;
        for (size_t i = 0; i < texts.size(); ++i)
            EXPECT_TRUE(parse_rule(texts[i], &rules[i], &wrong)) << texts[i] << ": " << wrong.what;
        EXPECT_TRUE(faults_.share(std::move(rules), &error)) << error;
        set_process_faults(&faults_);
        return in_front_of(card_);
    }
    prm_status_t add(const Backend &backend, u32 domain = 7) {
        prm_bd_request request = {};
        request.bd_id = domain;
        return backend.prm_srh_bd_add(nullptr, &request);
    }

    Backend card_;
    Faults faults_;
};

TEST_F(FaultsTest, AStatusIsAnsweredWithoutTheCard) {
    const Backend &backend = with({"prm_srh_bd_add@2: status=CARD_ERROR_TABLE_FULL"});
    EXPECT_EQ(add(backend), CERR_SUCCESS);
    EXPECT_EQ(add(backend), CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(add(backend), CERR_SUCCESS);
    EXPECT_EQ(asked.calls, 2);
}

TEST_F(FaultsTest, WhatIsDoneCanBeReportedAsFailed) {
    EXPECT_EQ(add(with({"prm_srh_bd_add: failed=22"})), 22u);
    EXPECT_EQ(asked.calls, 1);
}

TEST_F(FaultsTest, WhatIsNotDoneCanBeReportedAsDone) {
    EXPECT_EQ(add(with({"prm_srh_bd_add: undone"})), CERR_SUCCESS);
    EXPECT_EQ(asked.calls, 0);
}

TEST_F(FaultsTest, AConditionChoosesByTheFieldsOfTheRequest) {
    const Backend &backend = with({"prm_srh_bd_add@2 if bd_id=0x8: status=22"});
    EXPECT_EQ(add(backend, 8), 0u);
    EXPECT_EQ(add(backend, 7), 0u) << "does not fit, and so does not count";
    EXPECT_EQ(add(backend, 8), 22u);
    EXPECT_EQ(faults_.fitting(0), 2u);
    EXPECT_EQ(add(with({"prm_srh_bd_add if bd_id!=8: status=22"}), 8), 0u);
    EXPECT_EQ(add(with({"prm_srh_bd_add if bd_id!=8: status=22"}), 9), 22u);
}

TEST_F(FaultsTest, ARecordThatCannotBeReadFitsNoCondition) {
    const Backend &backend = with({"prm_srh_bd_add if bd_id=8: status=22"});
    EXPECT_EQ(backend.prm_srh_bd_add(nullptr, nullptr), 0u);
    EXPECT_EQ(backend.prm_srh_bd_add(nullptr, reinterpret_cast<prm_bd_request *>(16)), 0u);
}

TEST_F(FaultsTest, TheAnswerChangesByFieldMaskAndOffset) {
    prm_buddy_reserve request = {};
    request.count = 1;
    EXPECT_EQ(
        with({"prm_srh_tx_adj_buddy_reserve: set index=99"}).prm_srh_tx_adj_buddy_reserve(nullptr, &request),
        0u);
    EXPECT_EQ(request.index, 99u);
    with({"prm_srh_tx_adj_buddy_reserve: set index^=3"}).prm_srh_tx_adj_buddy_reserve(nullptr, &request);
    EXPECT_EQ(request.index, 43u);
    with({"prm_srh_tx_adj_buddy_reserve: set 16:0102"}).prm_srh_tx_adj_buddy_reserve(nullptr, &request);
    EXPECT_EQ(request.index, 0x0201u);
    with({"prm_srh_tx_adj_buddy_reserve: undone, set index=5"})
        .prm_srh_tx_adj_buddy_reserve(nullptr, &request);
    EXPECT_EQ(request.index, 5u);
    EXPECT_EQ(asked.calls, 3);
}

TEST_F(FaultsTest, AFieldOfABufferThatIsReadBackChanges) {
    std::vector<u8> key(prm_tcam_acl_key_read_record.size);
    prm_info info = {};
    info.fea_id = 1;
    info.nr_entries = 1;
    info.value_mask_key_sz = static_cast<decltype(info.value_mask_key_sz)>(key.size());
    info.value = reinterpret_cast<decltype(info.value)>(key.data());
    const Backend &backend = with({"zor_vop_prm_tcam_vmr_read: set value.protocol^=0xff"});
    EXPECT_EQ(backend.zor_vop_prm_tcam_vmr_read(nullptr, &info), 0u);
    EXPECT_EQ(std::count(key.begin(), key.end(), 0xFF), 1);
}

TEST_F(FaultsTest, AShortCountIsAskedForAndOnlyWhereMoreThanThatIs) {
    prm_buddy_reserve request = {};
    request.count = 4;
    const Backend &backend = with({"prm_srh_tx_adj_buddy_reserve: short=3", "prm_stats_cl_alloc: short"});
    backend.prm_srh_tx_adj_buddy_reserve(nullptr, &request);
    EXPECT_EQ(asked.count, 1u);
    EXPECT_EQ(request.count, 4u) << "the request stays as it was";
    EXPECT_EQ(request.index, 40u);
    request.count = 3;
    backend.prm_srh_tx_adj_buddy_reserve(nullptr, &request);
    EXPECT_EQ(asked.count, 3u);
    u32 count = 2, pointer = 0;
    backend.prm_stats_cl_alloc(nullptr, 0, 0, 0, &count, &pointer);
    EXPECT_EQ(asked.count, 1u);
    EXPECT_EQ(count, 1u) << "the answer";
    EXPECT_EQ(pointer, 100u);
}

TEST_F(FaultsTest, CountsSurviveAWorkerThatDies) {
    const Backend &backend = with({"prm_srh_bd_add@1: die=SEGV", "prm_srh_bd_add@2: status=22"});
    faults_.runs("folder/first");
    const pid_t child = fork();
    if (child == 0) {
        add(backend);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGSEGV);
    faults_.runs("folder/second");
    EXPECT_EQ(add(backend), 22u) << "the second call of the run; the first rule has cleared itself";
    EXPECT_EQ(faults_.fired(0), 1u);
    u64 elsewhere = 0;
    ASSERT_EQ(faults_.places(0, &elsewhere).size(), 1u);
    EXPECT_EQ(faults_.places(0, &elsewhere)[0].name, "folder/first");
    EXPECT_EQ(faults_.places(1, &elsewhere)[0].name, "folder/second");
}

TEST_F(FaultsTest, PlacesBeyondTheFirstEightAreCounted) {
    const Backend &backend = with({"prm_srh_bd_add: undone"});
    for (int i = 0; i < 10; ++i) {
        faults_.runs("folder/case" + std::to_string(i));
        add(backend);
        add(backend);
    }
    u64 elsewhere = 0;
    EXPECT_EQ(faults_.places(0, &elsewhere).size(), 8u);
    EXPECT_EQ(elsewhere, 4u);
    EXPECT_EQ(faults_.fired(0), 20u);
}

TEST_F(FaultsTest, AWatcherIsToldOfCallsAndTheFieldsOfTheirAnswers) {
    const Backend &backend = with({});
    std::vector<Seen> seen;
    faults_.watch([&](const Seen &one) { seen.push_back(one); });
    prm_buddy_reserve request = {};
    request.count = 2;
    backend.prm_srh_tx_adj_buddy_reserve(nullptr, &request);
    add(backend);
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0].operation, OperationId::prm_srh_tx_adj_buddy_reserve);
    EXPECT_EQ(seen[0].asked, 2u);
    EXPECT_THAT(seen[0].answer, ElementsAre("index"));
    EXPECT_EQ(seen[1].call, 1u);
    EXPECT_TRUE(seen[1].answer.empty());
}

// Values that the decoder prints are understood as what they were printed of.
TEST(FaultFields, EveryKindOfValueIsReadAsItIsPrinted) {
    for (const prm_record *const record : all_records()) {
        std::vector<u8> bytes(size_with_items(*record, 2));
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<u8>(i * 7 + 1);
        decode(*record, bytes, [&](const FieldValue &value) {
            if (value.field.kind == PRM_FIELD_TEXT) return;  // ends at its first zero
            const auto back = encoded(value.field, value.bytes.size(), text(value));
            ASSERT_TRUE(back) << record->name << "." << value.path << "=" << text(value);
            EXPECT_TRUE(std::equal(back->begin(), back->end(), value.bytes.begin(), value.bytes.end()))
                << record->name << "." << value.path << "=" << text(value);
        });
    }
}

}  // namespace
}  // namespace card::faults
