// Requests of the layer-3 families with one byte turned round, each byte in turn: what every one of them
// means to the card, reserved ones included.
#include <string>
#include <vector>

#include "tests/card/sim/forwarding_requests.h"

namespace sim {
namespace {

using ::testing::ElementsAre;

class EveryByteTest : public L3Test {
  protected:
    using L3Test::L3Test;

    // "FIRST-LAST answer" for every run of bytes with the same answer.
    template <typename Record, typename Send>
    static std::vector<std::string> answers(const Record &record, Send send) {
        std::vector<std::string> runs;
        std::string answer_before;
        for (size_t at = 0; at < sizeof record; ++at) {
            Record spoiled = record;
            reinterpret_cast<u8 *>(&spoiled)[at] ^= 0xFF;
            const u32 status = send(spoiled);
            const std::string answer = status == 0 ? "ok" : card::code_name(status) + sizeof "CARD_ERROR";
            if (runs.empty() || answer != answer_before) {
                runs.push_back(std::to_string(at) + "-");
            } else {
                runs.back().resize(runs.back().find('-') + 1);
            }
            runs.back() += std::to_string(at) + " " + answer;
            answer_before = answer;
        }
        return runs;
    }
    static constexpr u32 kPointer = 200100u << 6;
};

TEST_F(EveryByteTest, OfAPlainAdjacency) {
    EXPECT_THAT(answers(adjacency(7), [&](const auto &r) { return add(r); }),
                ElementsAre("0-19 RESERVED_BYTES", "20-23 ok", "24-71 RESERVED_BYTES", "72-72 BAD_KIND",
                            "73-73 RESERVED_BYTES", "74-75 BAD_KIND", "76-79 RESERVED_BYTES", "80-81 ok",
                            "82-87 RESERVED_BYTES", "88-93 ok", "94-95 RESERVED_BYTES", "96-111 BAD_VALUE",
                            "112-115 RESERVED_BYTES", "116-119 BAD_VALUE", "120-2123 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfALabelAdjacency) {
    EXPECT_THAT(
        answers(label_adjacency(7, 8), [&](const auto &r) { return add(r); }),
        ElementsAre("0-19 RESERVED_BYTES", "20-23 ok", "24-71 RESERVED_BYTES", "72-72 BAD_KIND",
                    "73-73 RESERVED_BYTES", "74-75 BAD_KIND", "76-79 RESERVED_BYTES", "80-81 ok",
                    "82-87 RESERVED_BYTES", "88-93 ok", "94-95 RESERVED_BYTES", "96-101 ok",
                    "102-103 BAD_VALUE", "104-105 ok", "106-107 BAD_VALUE", "108-109 ok", "110-111 BAD_VALUE",
                    "112-115 RESERVED_BYTES", "116-119 BAD_VALUE", "120-2123 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfAnEomplsAdjacency) {
    EXPECT_THAT(
        answers(eompls_adjacency(7, 9), [&](const auto &r) { return add(r); }),
        ElementsAre("0-19 RESERVED_BYTES", "20-23 ok", "24-71 RESERVED_BYTES", "72-72 BAD_KIND",
                    "73-73 RESERVED_BYTES", "74-75 BAD_KIND", "76-79 RESERVED_BYTES", "80-81 ok",
                    "82-87 RESERVED_BYTES", "88-93 ok", "94-95 RESERVED_BYTES", "96-101 ok",
                    "102-103 BAD_VALUE", "104-105 ok", "106-107 BAD_VALUE", "108-109 ok", "110-111 BAD_VALUE",
                    "112-115 RESERVED_BYTES", "116-119 ok", "120-2123 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfAnAdjacencysDelete) {
    EXPECT_THAT(answers(adjacency_delete(7), [&](const auto &r) { return del(r); }),
                ElementsAre("0-19 RESERVED_BYTES", "20-23 BAD_VALUE", "24-71 RESERVED_BYTES",
                            "72-72 BAD_KIND", "73-73 RESERVED_BYTES", "74-75 BAD_KIND",
                            "76-79 RESERVED_BYTES", "80-81 NOT_FOUND", "82-87 RESERVED_BYTES",
                            "88-93 NOT_FOUND", "94-95 RESERVED_BYTES", "96-99 BAD_VALUE", "100-111 NOT_FOUND",
                            "112-115 RESERVED_BYTES", "116-119 BAD_VALUE", "120-2123 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfAnEomplsAdjacencysDelete) {
    EXPECT_THAT(
        answers(eompls_delete(7, 9), [&](const auto &r) { return del(r); }),
        ElementsAre("0-19 RESERVED_BYTES", "20-23 BAD_VALUE", "24-71 RESERVED_BYTES", "72-72 BAD_KIND",
                    "73-73 RESERVED_BYTES", "74-75 BAD_KIND", "76-79 RESERVED_BYTES", "80-81 NOT_FOUND",
                    "82-87 RESERVED_BYTES", "88-93 NOT_FOUND", "94-95 RESERVED_BYTES", "96-111 NOT_FOUND",
                    "112-115 RESERVED_BYTES", "116-119 NOT_FOUND", "120-2123 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfALoadDistributionEntryWithPathWords) {
    EXPECT_THAT(answers(ldi(kPointer), [&](const auto &r) { return add(r); }),
                ElementsAre("0-3 BAD_OWNER", "4-11 RESERVED_BYTES", "12-19 BAD_KIND", "20-20 BAD_POINTER",
                            "21-23 ok", "24-67 RESERVED_BYTES", "68-71 BAD_LENGTH", "72-75 RESERVED_BYTES",
                            "76-203 ok", "204-207 RESERVED_BYTES", "208-2119 ok", "2120-2123 BAD_VALUE"));
}

TEST_F(EveryByteTest, OfALoadDistributionEntryWithAPathBlock) {
    EXPECT_THAT(
        answers(swap_ldi(kPointer, 7, 8), [&](const auto &r) { return add(r); }),
        ElementsAre("0-3 BAD_OWNER", "4-11 RESERVED_BYTES", "12-19 BAD_KIND", "20-20 BAD_POINTER", "21-23 ok",
                    "24-67 RESERVED_BYTES", "68-71 BAD_LENGTH", "72-72 BAD_KIND", "73-76 RESERVED_BYTES",
                    "77-78 ok", "79-80 BAD_VALUE", "81-82 ok", "83-84 BAD_VALUE", "85-124 RESERVED_BYTES",
                    "125-128 ok", "129-132 RESERVED_BYTES", "133-136 ok", "137-201 RESERVED_BYTES",
                    "202-2119 ok", "2120-2123 BAD_VALUE"));
}

TEST_F(EveryByteTest, OfAnIpv4Leaf) {
    EXPECT_THAT(
        answers(recursive(ipv4_leaf(0x01010102), 5, 6), [&](const auto &r) { return add4(r); }),
        ElementsAre("0-3 BAD_OWNER", "4-11 RESERVED_BYTES", "12-15 BAD_VALUE", "16-19 BAD_LENGTH", "20-23 ok",
                    "24-25 BAD_VALUE", "26-99 ok", "100-103 BAD_PREFIX", "104-107 BAD_LENGTH",
                    "108-111 BAD_VALUE", "112-115 BAD_LENGTH", "116-119 BAD_VALUE", "120-123 BAD_LENGTH",
                    "124-124 UNKNOWN_REFERENCE", "125-178 ok", "179-187 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfAnIpv6Leaf) {
    EXPECT_THAT(
        answers(recursive(ipv6_leaf(0x20, 1), 5, 6), [&](const auto &r) { return add6(r); }),
        ElementsAre("0-3 BAD_OWNER", "4-11 RESERVED_BYTES", "12-13 ok", "14-15 BAD_VALUE", "16-19 BAD_LENGTH",
                    "20-99 ok", "100-103 BAD_PREFIX", "104-107 BAD_LENGTH", "108-111 BAD_VALUE",
                    "112-115 BAD_LENGTH", "116-119 BAD_VALUE", "120-123 BAD_LENGTH", "124-125 BAD_KIND",
                    "126-127 ok", "128-131 RESERVED_BYTES", "132-139 ok", "140-173 RESERVED_BYTES",
                    "174-174 BAD_PREFIX", "175-187 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfAnIpv4LeafsDelete) {
    EXPECT_THAT(
        answers(ipv4_leaf(0x01010102), [&](const auto &r) { return del4(r); }),
        ElementsAre("0-3 BAD_OWNER", "4-11 RESERVED_BYTES", "12-15 BAD_VALUE", "16-19 BAD_LENGTH",
                    "20-23 NOT_FOUND", "24-25 BAD_VALUE", "26-99 NOT_FOUND", "100-103 BAD_PREFIX",
                    "104-107 BAD_LENGTH", "108-111 BAD_VALUE", "112-115 BAD_LENGTH", "116-119 BAD_VALUE",
                    "120-123 BAD_LENGTH", "124-178 NOT_FOUND", "179-187 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfALabelEntry) {
    EXPECT_THAT(
        answers(pop_lookup_label(55, true), [&](const auto &r) { return add(r); }),
        ElementsAre("0-3 BAD_OWNER", "4-11 RESERVED_BYTES", "12-15 BAD_LENGTH", "16-19 RESERVED_BYTES",
                    "20-21 ok", "22-24 BAD_VALUE", "25-27 RESERVED_BYTES", "28-67 ok", "68-71 BAD_LENGTH",
                    "72-72 BAD_KIND", "73-73 BAD_VALUE", "74-74 BAD_KIND", "75-75 BAD_VALUE",
                    "76-84 RESERVED_BYTES", "85-88 BAD_VALUE", "89-123 RESERVED_BYTES", "124-127 BAD_VALUE",
                    "128-149 RESERVED_BYTES", "150-153 ok", "154-2123 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfALabelEntryWithoutEndOfStack) {
    ASSERT_EQ(add(ldi(kPointer)), 0u);
    EXPECT_THAT(
        answers(ldi_label(55, false, kPointer, 3), [&](const auto &r) { return add(r); }),
        ElementsAre("0-3 BAD_OWNER", "4-11 RESERVED_BYTES", "12-15 BAD_LENGTH", "16-19 RESERVED_BYTES",
                    "20-21 ok", "22-24 BAD_VALUE", "25-27 RESERVED_BYTES", "28-67 ok", "68-71 BAD_LENGTH",
                    "72-72 BAD_KIND", "73-73 BAD_VALUE", "74-74 BAD_KIND", "75-75 BAD_VALUE",
                    "76-79 RESERVED_BYTES", "80-83 UNKNOWN_REFERENCE", "84-123 RESERVED_BYTES",
                    "124-127 BAD_VALUE", "128-149 RESERVED_BYTES", "150-153 ok", "154-2123 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfALabelsDelete) {
    EXPECT_THAT(answers(label_delete(55), [&](const auto &r) { return del(r); }),
                ElementsAre("0-3 BAD_OWNER", "4-11 RESERVED_BYTES", "12-15 BAD_LENGTH",
                            "16-19 RESERVED_BYTES", "20-21 NOT_FOUND", "22-23 BAD_VALUE", "24-67 NOT_FOUND",
                            "68-71 BAD_LENGTH", "72-158 NOT_FOUND", "159-2123 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfAReservationOfANextHop) {
    EXPECT_THAT(answers(reservation(0, 1), [&](auto r) { return prm_srh_tx_adj_buddy_reserve(nullptr, &r); }),
                ElementsAre("0-3 BAD_OWNER", "4-7 BAD_COUNT", "8-15 RESERVED_BYTES", "16-19 ok",
                            "20-2351 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfAReservationOfLeaves) {
    EXPECT_THAT(answers(reservation(PRM_OWNER, 1),
                        [&](auto r) { return zor_vop_prm_srh_ip_leaf_reserve(client, &r); }),
                ElementsAre("0-3 BAD_OWNER", "4-5 ok", "6-7 POOL_EXHAUSTED", "8-15 RESERVED_BYTES",
                            "16-19 ok", "20-2351 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfAReservationOfPointers) {
    EXPECT_THAT(
        answers(reservation(PRM_OWNER, 1), [&](auto r) { return prm_srh_nr_ldi_buddy_reserve(nullptr, &r); }),
        ElementsAre("0-3 BAD_OWNER", "4-5 ok", "6-7 POOL_EXHAUSTED", "8-15 RESERVED_BYTES", "16-19 ok",
                    "20-35 RESERVED_BYTES", "36-39 BAD_VALUE", "40-295 RESERVED_BYTES", "296-296 BAD_VALUE",
                    "297-2351 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfAReleaseOfLabelIndices) {
    ASSERT_EQ(label_index(), 1u);
    prm_mpls_leaf_release release = {};
    release.owner = PRM_OWNER;
    release.index = release.count = 1;
    EXPECT_THAT(answers(release, [&](auto r) { return prm_srh_mpls_leaf_buddy_release(nullptr, &r); }),
                ElementsAre("0-3 BAD_OWNER", "4-9 NOT_RESERVED", "10-11 BAD_COUNT", "12-35 RESERVED_BYTES"));
}

TEST_F(EveryByteTest, OfAnLptsEntry) {
    EXPECT_THAT(
        answers(lpts_add_request(), [&](auto r) { return prm_srh_lpts_add(client, &r); }),
        ElementsAre("0-3 BAD_OWNER", "4-59 RESERVED_BYTES", "60-63 BAD_LENGTH", "64-67 RESERVED_BYTES",
                    "68-71 BAD_KIND", "72-73 BAD_VALUE", "74-75 RESERVED_BYTES", "76-79 BAD_VALUE",
                    "80-111 RESERVED_BYTES", "112-115 BAD_KIND", "116-116 ok", "117-127 RESERVED_BYTES",
                    "128-131 ok", "132-143 RESERVED_BYTES", "144-147 BAD_VALUE", "148-151 RESERVED_BYTES",
                    "152-155 ok", "156-167 RESERVED_BYTES", "168-171 BAD_VALUE", "172-175 RESERVED_BYTES",
                    "176-177 ok", "178-183 RESERVED_BYTES", "184-185 ok", "186-195 RESERVED_BYTES",
                    "196-2115 ok"));
}

TEST_F(EveryByteTest, OfAnIpv6LptsEntry) {
    prm_lpts_request lpts_ipv6 = lpts_add_request();
    lpts_ipv6.entry.l3_proto = PRM_LPTS_PROTO_IPV6;
    EXPECT_THAT(
        answers(lpts_ipv6, [&](auto r) { return prm_srh_lpts_add(client, &r); }),
        ElementsAre("0-3 BAD_OWNER", "4-59 RESERVED_BYTES", "60-63 BAD_LENGTH", "64-67 RESERVED_BYTES",
                    "68-71 BAD_KIND", "72-73 BAD_VALUE", "74-75 RESERVED_BYTES", "76-79 BAD_VALUE",
                    "80-111 RESERVED_BYTES", "112-115 BAD_KIND", "116-116 ok", "117-127 RESERVED_BYTES",
                    "128-143 ok", "144-147 BAD_VALUE", "148-151 RESERVED_BYTES", "152-167 ok",
                    "168-171 BAD_VALUE", "172-175 RESERVED_BYTES", "176-177 ok", "178-183 RESERVED_BYTES",
                    "184-185 ok", "186-195 RESERVED_BYTES", "196-2115 ok"));
}

TEST_F(EveryByteTest, OfAnLptsRead) {
    prm_lpts_request entry = lpts_add_request();
    ASSERT_EQ(prm_srh_lpts_add(client, &entry), 0u);
    const prm_lpts_id id = entry.id;
    EXPECT_THAT(
        answers(lpts_id_request(id), [&](auto r) { return prm_srh_lpts_get(client, &r, PRM_LPTS_GET_WORD); }),
        ElementsAre("0-3 BAD_OWNER", "4-59 RESERVED_BYTES", "60-63 BAD_LENGTH", "64-67 RESERVED_BYTES",
                    "68-83 NOT_FOUND", "84-2115 ok"));
}

// With one id there is no other to go round to.
class OneLptsIdTest : public EveryByteTest {
  protected:
    OneLptsIdTest() : EveryByteTest(limited(small_inventory(), {{Resource::lpts_index, 1}})) {}
};

TEST_F(OneLptsIdTest, OfAnLptsDelete) {
    prm_lpts_id id = {};
    const auto enter = [&] {
        prm_lpts_request entry = lpts_add_request();
        ASSERT_EQ(prm_srh_lpts_add(client, &entry), 0u);
        id = entry.id;
    };
    enter();
    EXPECT_THAT(answers(lpts_id_request(id),
                        [&](auto r) {
                            const u32 status = prm_srh_lpts_del(client, &r);
                            if (status == CERR_SUCCESS) enter();  // under the same id
                            return status;
                        }),
                ElementsAre("0-3 BAD_OWNER", "4-59 RESERVED_BYTES", "60-63 BAD_LENGTH",
                            "64-67 RESERVED_BYTES", "68-83 NOT_FOUND", "84-2115 ok"));
}

}  // namespace
}  // namespace sim
