// Calls as text: what of a call stands in its line, and under which names.
#include "trace/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <string>
#include <vector>

#include "card/codes.h"
#include "prm_buddy_reserve.h"
#include "prm_srh_l2.h"
#include "prm_srh_nr_ldi.h"
#include "trace/naming.h"
#include "uidb.h"
#include "zor_vop_prm_tcam.h"

namespace trace {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

template <class Record>
Bytes bytes_of(const Record &record) {
    return {reinterpret_cast<const uint8_t *>(&record), sizeof record};
}

// A call that returned 0 and changed nothing, until the test says otherwise.
Call call_of(const char *name, std::vector<uint64_t> arguments = {}) {
    Call call;
    call.operation = this_build().operation(name);
    for (size_t i = 0; i < arguments.size(); ++i) call.arguments[i] = arguments[i];
    call.returned = true;
    return call;
}

Memory memory_of(uint8_t parameter, const prm_record *record, Bytes before, Bytes after = {}) {
    Memory memory;
    memory.parameter = parameter;
    memory.record = memory.answer = record;
    memory.item_size = static_cast<uint32_t>(before.size());
    memory.items = 1;
    memory.address = 0x7f0000001000;
    memory.before = before;
    memory.after = after.empty() ? before : after;
    return memory;
}

std::string line(const Call &call, const Naming &names = {}, const TextOptions &options = {}) {
    std::string text;
    append_line(&text, call, names, options);
    return text;
}

constexpr uint64_t kClient = 0x5592ab001200;

// A bridge domain is added by a client that the set-up registered.
class CallText : public testing::Test {
  protected:
    CallText() {
        request.bd_id = 7;
        request.flags73 = PRM_BD_73_BVI;
        call = call_of("prm_srh_bd_add", {kClient, 0x7f0000001000});
        call.memory.push_back(memory_of(1, &prm_bd_request_record, bytes_of(request)));
    }
    void register_client() {
        Call registered = call_of("prm_srh_register", {0x7f0000002000, 0, 0, 0x5592ab000000});
        registered.memory.push_back(memory_of(0, nullptr, bytes_of(zero), bytes_of(kClient)));
        names.learn(registered);
    }

    const uint64_t zero = 0;
    prm_bd_request request{};
    Call call;
    Naming names;
};

TEST_F(CallText, HasTheFieldsThatAreNotZero) {
    register_client();
    EXPECT_THAT(line(call, names),
                testing::MatchesRegex("prm_srh_bd_add\\(client#1, \\{.*bd_id 7.*\\}\\) = 0"));
    EXPECT_THAT(line(call, names), testing::Not(HasSubstr(" 0,")));
    EXPECT_THAT(line(call, names, {.zeros = true}), HasSubstr(" 0, "));
}

TEST_F(CallText, NamesWhoFails) {
    call.result = CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN;
    EXPECT_THAT(line(call), testing::EndsWith("}) = CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN"));
    call.result = 0x12345600;
    EXPECT_THAT(line(call), testing::EndsWith("}) = 0x12345600"));
    call.returned = false;
    EXPECT_THAT(line(call), testing::EndsWith("}) = ?"));
}

TEST_F(CallText, NeverShowsAnAddress) {
    EXPECT_THAT(line(call), testing::StartsWith("prm_srh_bd_add(client#unknown, "));
    names.learn(call);
    EXPECT_THAT(line(call, names), testing::StartsWith("prm_srh_bd_add(client#1, "));
    Call unreadable = call;
    unreadable.memory.clear();
    EXPECT_EQ(line(unreadable, names), "prm_srh_bd_add(client#1, unknown) = 0");
    Call null = unreadable;
    null.arguments[1] = 0;
    EXPECT_EQ(line(null, names), "prm_srh_bd_add(client#1, null) = 0");
}

TEST_F(CallText, ChangesWithEveryBitOfARecord) {
    const std::string plain = line(call);
    auto *const bytes = reinterpret_cast<uint8_t *>(&request);
    for (size_t bit = 0; bit < 8 * sizeof request; bit += 7) {
        bytes[bit / 8] ^= static_cast<uint8_t>(1 << bit % 8);
        EXPECT_NE(line(call), plain) << "byte " << bit / 8;
        bytes[bit / 8] ^= static_cast<uint8_t>(1 << bit % 8);
    }
}

bool is_address(const prm_record &record, size_t byte) {
    for (const prm_field &field : record.fields)
        if (field.kind == PRM_FIELD_BUFFER && byte >= field.offset && byte < field.end()) return true;
    return false;
}

// Whatever the layout of a record is, no bit of it goes unshown, but for addresses: what they lead to stands
// for them.
TEST(CallTextOfEveryRecord, ChangesWithEveryBit) {
    const Operation *const operation = this_build().operation("prm_srh_bd_add");
    for (const prm_record *const record : this_build().records) {
        for (const uint8_t fill : {0x00, 0x41}) {
            std::vector<uint8_t> bytes(record->size + 3, fill);
            Call call;
            call.operation = operation;
            call.returned = true;
            call.memory.push_back(memory_of(1, record, bytes));
            const std::string plain = line(call);
            const size_t step = bytes.size() > 100 ? 61 : 3;
            for (size_t bit = 0; bit < 8 * bytes.size(); bit += step) {
                if (is_address(*record, bit / 8) && fill != 0) continue;
                bytes[bit / 8] ^= static_cast<uint8_t>(1 << bit % 8);
                EXPECT_TRUE(line(call) != plain)
                    << record->name << " byte " << bit / 8 << " of " << bytes.size();
                bytes[bit / 8] ^= static_cast<uint8_t>(1 << bit % 8);
            }
        }
    }
}

class Reservation : public testing::Test {
  protected:
    // Hands out `index` and the next ones.
    const Call &reserve(const char *operation, uint32_t index, uint32_t count = 1, uint32_t status = 0) {
        prm_buddy_reserve &before = records.emplace_back();
        before.count = count;
        prm_buddy_reserve &after = records.emplace_back(before);
        after.index = index;
        call = call_of(operation, {kClient, 1});
        call.result = status;
        call.memory.push_back(memory_of(1, &prm_buddy_reserve_record, bytes_of(before),
                                        status == 0 ? bytes_of(after) : Bytes()));
        names.learn(call);
        return call;
    }
    std::string name(prm_handle_kind kind, uint64_t value) {
        std::string text;
        return names.append(&text, kind, value) ? text : std::to_string(value);
    }

    std::deque<prm_buddy_reserve> records;
    Call call;
    Naming names;
};

TEST_F(Reservation, ShowsWhatTheCallChanged) {
    EXPECT_EQ(line(reserve("prm_srh_tx_adj_buddy_reserve", 200001), names),
              "prm_srh_tx_adj_buddy_reserve(client#1, {count 1} -> {index nh#1}) = 0");
    EXPECT_EQ(line(reserve("prm_srh_tx_adj_buddy_reserve", 200002, 3, CARD_ERROR_TABLE_FULL), names),
              "prm_srh_tx_adj_buddy_reserve(client#1, {count 3}) = CARD_ERROR_TABLE_FULL");
}

TEST_F(Reservation, NamesTheItemsOfABlock) {
    reserve("prm_srh_nr_ldi_buddy_reserve", 100 << 6, 2);
    EXPECT_EQ(name(PRM_HANDLE_LDI, 100 << 6), "ldi#1");
    EXPECT_EQ(name(PRM_HANDLE_LDI, 101 << 6), "ldi#1+1");
    EXPECT_EQ(name(PRM_HANDLE_LDI, 102 << 6), "6528") << "beyond the block";
    EXPECT_EQ(name(PRM_HANDLE_LDI, (100 << 6) + 1), "6401") << "between two of them";
    EXPECT_EQ(name(PRM_HANDLE_NEXT_HOP, 100 << 6), "6400") << "of another kind";
}

TEST_F(Reservation, CountsInEachPlace) {
    names.enter("tc_a");
    reserve("prm_srh_tx_adj_buddy_reserve", 1);
    reserve("prm_srh_tx_adj_buddy_reserve", 2);
    names.enter("tc_b");
    reserve("prm_srh_tx_adj_buddy_reserve", 3);
    EXPECT_EQ(name(PRM_HANDLE_NEXT_HOP, 2), "nh#2@tc_a");
    EXPECT_EQ(name(PRM_HANDLE_NEXT_HOP, 3), "nh#1");
    names.enter("tc_a");
    EXPECT_EQ(name(PRM_HANDLE_NEXT_HOP, 2), "2") << "of an earlier stay";
    EXPECT_EQ(name(PRM_HANDLE_NEXT_HOP, 3), "nh#1@tc_b");
    names.clear();
    EXPECT_EQ(name(PRM_HANDLE_NEXT_HOP, 3), "3");
}

TEST_F(Reservation, GivesWhatIsHandedOutAgainItsNewNameAlone) {
    reserve("prm_srh_tx_adj_buddy_reserve", 10, 4);
    reserve("prm_srh_tx_adj_buddy_reserve", 12);
    EXPECT_EQ(name(PRM_HANDLE_NEXT_HOP, 12), "nh#2");
    EXPECT_EQ(name(PRM_HANDLE_NEXT_HOP, 10), "10") << "of a block that is no more";
    reserve("prm_srh_tx_adj_buddy_reserve", 4294967295u, 4294967295u);
    EXPECT_EQ(name(PRM_HANDLE_NEXT_HOP, 4294967295u), "nh#3");
}

TEST(Batch, ShowsEachRecord) {
    uidb_create_msg records[2] = {};
    records[0].if_handle = 0x5000000;
    records[1].parent_ifh = 0x20;
    Call call = call_of("uidb_create_interface_batch", {0, 1, 2});
    Memory memory =
        memory_of(1, &uidb_create_msg_record, {reinterpret_cast<uint8_t *>(records), sizeof records});
    memory.item_size = sizeof records[0];
    memory.items = 2;
    call.memory.push_back(memory);
    EXPECT_EQ(line(call),
              "uidb_create_interface_batch(0, {[0].if_handle 0x5000000, [1].parent_ifh 0x20}, 2) = 0");
    std::vector<std::string> paths;
    for_each_field(call, {}, [&](const Field &field) {
        paths.push_back(std::string(field.path) + "=" + std::string(field.text) +
                        (field.answered ? "!" : ""));
    });
    EXPECT_THAT(paths, ElementsAre("cookie=0", "record[0].if_handle=0x5000000", "record[1].parent_ifh=0x20",
                                   "count=2"));
}

// An out parameter is what the call left, not what happened to be there.
TEST(OutParameter, ShowsWhatCameBackAlone) {
    const uint32_t garbage = 0xdeadbeef, count = 1, pointer = 0x5000;
    Call call = call_of("prm_stats_cl_alloc", {0, 1, 5, 0, 1, 1});
    call.memory.push_back(memory_of(4, nullptr, bytes_of(count)));
    call.memory.push_back(memory_of(5, nullptr, bytes_of(garbage), bytes_of(pointer)));
    Naming names;
    names.learn(call);
    EXPECT_EQ(line(call, names), "prm_stats_cl_alloc(null, 1, 5, 0, 1, -> statistics#1) = 0");
    call.result = CARD_ERROR_TABLE_FULL;
    call.memory[1].after = call.memory[1].before;
    EXPECT_EQ(line(call, names), "prm_stats_cl_alloc(null, 1, 5, 0, 1, out) = CARD_ERROR_TABLE_FULL");
}

TEST(TextParameter, IsQuotedAndNothingInItCanPassForALine) {
    const char name[] = "a\"), {\n\x80";
    Call call = call_of("prm_srh_unregister", {1, 0});
    call.memory.push_back(memory_of(0, nullptr, bytes_of(name)));
    EXPECT_EQ(line(call), "prm_srh_unregister(\"a\\x22), {\\x0a\\x80\", 0) = 0");
}

TEST(Word, HoldsNothingThatSeparates) {
    std::string word;
    append_word(&word, "tc a,b{\n");
    EXPECT_EQ(word, "tc\\x20a\\x2cb\\x7b\\x0a");
}

}  // namespace
}  // namespace trace
