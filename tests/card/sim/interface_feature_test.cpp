// Features of interfaces: what they take, what they keep, and everything they refuse.
#include <cstring>
#include <utility>

#include "prm_srh_span.h"
#include "tests/card/sim/interface_test.h"

namespace sim {
namespace {

std::vector<uidb_feature> encapsulation(u32 outer, u32 inner, u32 tags) {
    return {feature(UIDB_FEATURE_OUTER_VLAN, outer), feature(UIDB_FEATURE_INNER_VLAN, inner),
            feature(UIDB_FEATURE_VLAN_TAGS, tags)};
}

TEST_F(InterfaceTest, KeepsTheValuesOfFeatures) {
    ASSERT_EQ(set(kL3Sub, {feature(UIDB_FEATURE_IP_MTU, 1500, 2), feature(UIDB_FEATURE_VLAN_TAGS, 2),
                           feature(UIDB_FEATURE_OUTER_TPID, 0x88A8), feature(UIDB_FEATURE_INNER_VLAN, 4094)}),
              0u);
    EXPECT_EQ(at(kL3Sub).value(Feature::IP_MTU), 1500u);
    EXPECT_EQ(at(kL3Sub).value(Feature::VLAN_TAGS), 2u);
    EXPECT_EQ(at(kL3Sub).value(Feature::OUTER_TPID), 0x88A8u);
    EXPECT_EQ(at(kL3Sub).value(Feature::INNER_VLAN), 4094u);
    const u32 features = used(Resource::feature);
    ASSERT_EQ(set(kL3Sub, UIDB_FEATURE_IP_MTU, 500, 2), 0u);
    EXPECT_EQ(at(kL3Sub).value(Feature::IP_MTU), 500u);
    EXPECT_EQ(used(Resource::feature), features) << "a value that is replaced counts once";
}

TEST_F(InterfaceTest, KeepsTheMac) {
    uidb_feature record = feature(UIDB_FEATURE_MAC, 0);
    const u8 mac[6] = {2, 0x5E, 0x3B, 0xA7, 0x38, 0x31};
    std::memcpy(record.mac, mac, 6);
    ASSERT_EQ(create(kBvi, UIDB_IFTYPE_BVI, 0, 0), 0u);
    ASSERT_EQ(set(kBvi, {record, feature(UIDB_FEATURE_VRF, 1)}), 0u);
    EXPECT_EQ(std::memcmp(at(kBvi).mac, mac, 6), 0);
}

TEST_F(InterfaceTest, RefusesFeaturesItDoesNotKnowOrThatDoNotApply) {
    EXPECT_EQ(set(0x999, UIDB_FEATURE_VRF, 1), CARD_ERROR_UNKNOWN_INTERFACE);
    EXPECT_EQ(set(kMainA, 1, 1), CARD_ERROR_UNKNOWN_FEATURE);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_IP_MTU, 1500, 0), CARD_ERROR_BAD_QUALIFIER);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_VRF, 1, 1), CARD_ERROR_BAD_QUALIFIER);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, 1, 2), CARD_ERROR_BAD_QUALIFIER);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_OUTER_VLAN, 1), CARD_ERROR_FEATURE_NOT_APPLICABLE);
    EXPECT_EQ(set(kBundleIfh, UIDB_FEATURE_NP_PORT, 1), CARD_ERROR_FEATURE_NOT_APPLICABLE);
}

TEST_F(InterfaceTest, RefusesValuesOutOfRange) {
    const struct {
        u32 id, value, status;
        u16 qualifier;
    } rows[] = {
        {UIDB_FEATURE_IP_MTU, 63, CARD_ERROR_BAD_VALUE, 2},
        {UIDB_FEATURE_IP_MTU, 64, 0, 2},
        {UIDB_FEATURE_IP_MTU, 16385, CARD_ERROR_BAD_VALUE, 2},
        {UIDB_FEATURE_L2, 2, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_MPLS_ENABLE, 2, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_IPV4_ENABLE, 2, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_VRF, 0x10000, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_VLAN_TAGS, 3, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_OUTER_VLAN, 4095, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_INNER_VLAN, 4095, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_OUTER_TPID, 0x10000, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_REWRITE_OP, 2, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_REWRITE_OUTER_VLAN, 4095, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_REWRITE_INNER_VLAN, 4095, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_REWRITE_OUTER_TPID, 0x10000, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_NP_PORT, 5, 0, 0},
        {UIDB_FEATURE_NP_PORT, 63, CARD_ERROR_WRONG_PORT, 0},
        {UIDB_FEATURE_NP_PORT, 64, CARD_ERROR_UNKNOWN_PORT, 0},
        {UIDB_FEATURE_LAG_ID, 256, CARD_ERROR_BAD_VALUE, 0},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(set(kL3Sub, row.id, row.value, row.qualifier), row.status) << row.id << " " << row.value;
    }
}

// Kinds that a feature applies to, and its largest value; beyond either it is refused.
TEST_F(InterfaceTest, EveryFeatureHasItsKindsAndItsLargestValue) {
    constexpr u32 kNone = 0xFFFFFFFE;  // every value is one; of a MAC this one is no group's
    const u32 interfaces[] = {kMainB, kL3Sub, kBundleIfh, kBvi};
    const struct {
        u32 id;
        u16 qualifier;
        bool main, sub, bundle, bvi;
        u32 largest;
    } rows[] = {
        {UIDB_FEATURE_IP_MTU, 2, true, true, true, true, 16384},
        {UIDB_FEATURE_MPLS_ENABLE, 0, true, true, true, true, 1},
        {UIDB_FEATURE_VRF, 0, true, true, true, true, 0xFFFF},
        {UIDB_FEATURE_IPV4_ENABLE, 0, true, true, true, true, 1},
        {UIDB_FEATURE_MAC, 0, true, true, true, true, kNone},
        {UIDB_FEATURE_OUTER_TPID, 0, false, true, false, false, 0xFFFF},
        {UIDB_FEATURE_OUTER_VLAN, 0, false, true, false, false, 4094},
        {UIDB_FEATURE_REWRITE_OUTER_TPID, 0, true, true, true, false, 0xFFFF},
        {UIDB_FEATURE_REWRITE_OUTER_VLAN, 0, true, true, true, false, 4094},
        {UIDB_FEATURE_REWRITE_INNER_VLAN, 0, true, true, true, false, 4094},
    };
    ASSERT_EQ(create(kBvi, UIDB_IFTYPE_BVI, 0, 0), 0u);
    for (const auto &row : rows) {
        const bool applies[] = {row.main, row.sub, row.bundle, row.bvi};
        for (size_t i = 0; i < std::size(interfaces); ++i) {
            const u32 if_handle = interfaces[i];
            if (!applies[i]) {
                EXPECT_EQ(set(if_handle, row.id, 1, row.qualifier), CARD_ERROR_FEATURE_NOT_APPLICABLE)
                    << row.id << " " << i;
                continue;
            }
            EXPECT_EQ(set(if_handle, row.id, row.largest, row.qualifier), 0u) << row.id << " " << i;
            if (row.largest != kNone) {
                EXPECT_EQ(set(if_handle, row.id, row.largest + 1, row.qualifier), CARD_ERROR_BAD_VALUE)
                    << row.id;
            }
            EXPECT_EQ(set(if_handle, row.id, 1, static_cast<u16>(row.qualifier + 1)),
                      CARD_ERROR_BAD_QUALIFIER);
        }
    }
    for (const u32 id : {UIDB_FEATURE_REWRITE_OP, UIDB_FEATURE_NP_PORT, UIDB_FEATURE_L2})
        EXPECT_EQ(set(kBvi, id, 0), CARD_ERROR_FEATURE_NOT_APPLICABLE);
    for (const u32 id : {UIDB_FEATURE_VLAN_TAGS, UIDB_FEATURE_INNER_VLAN})
        EXPECT_EQ(set(kMainB, id, 0), CARD_ERROR_FEATURE_NOT_APPLICABLE);
    EXPECT_EQ(set(kMainB, UIDB_FEATURE_NP_PORT, 6), 0u);
    EXPECT_EQ(set(kMainB, UIDB_FEATURE_NP_PORT, 5), CARD_ERROR_WRONG_PORT);
    for (const u32 if_handle : {kMainB, kL3Sub, kBundleIfh}) {
        EXPECT_EQ(set(if_handle, {feature(UIDB_FEATURE_IPV4_ENABLE, 0), feature(UIDB_FEATURE_MPLS_ENABLE, 0),
                                  feature(UIDB_FEATURE_L2, 1)}),
                  0u);
        EXPECT_EQ(set(if_handle, UIDB_FEATURE_L2, 2), CARD_ERROR_BAD_VALUE);
    }
    EXPECT_EQ(set(kBvi, UIDB_FEATURE_LAG_ID, 9), CARD_ERROR_FEATURE_NOT_APPLICABLE);
    EXPECT_EQ(set(kMainB, UIDB_FEATURE_LAG_ID, 9), 0u);
    EXPECT_EQ(set(kBvi, UIDB_FEATURE_STATS_POINTER, allocate_statistics(PRM_STATS_INGRESS)), 0u);
    EXPECT_EQ(set(kBundleIfh, UIDB_FEATURE_STATS_POINTER, allocate_statistics(PRM_STATS_INGRESS)), 0u);
}

TEST_F(InterfaceTest, EveryFeatureKeepsItsValueInAPlaceOfItsOwn) {
    const struct {
        u32 id;
        Feature feature;
    } rows[] = {
        {UIDB_FEATURE_MPLS_ENABLE, Feature::MPLS_ENABLE},
        {UIDB_FEATURE_VRF, Feature::VRF},
        {UIDB_FEATURE_IPV4_ENABLE, Feature::IPV4_ENABLE},
        {UIDB_FEATURE_REWRITE_OP, Feature::REWRITE_OP},
        {UIDB_FEATURE_VLAN_TAGS, Feature::VLAN_TAGS},
        {UIDB_FEATURE_OUTER_TPID, Feature::OUTER_TPID},
        {UIDB_FEATURE_OUTER_VLAN, Feature::OUTER_VLAN},
        {UIDB_FEATURE_REWRITE_OUTER_TPID, Feature::REWRITE_OUTER_TPID},
        {UIDB_FEATURE_REWRITE_OUTER_VLAN, Feature::REWRITE_OUTER_VLAN},
        {UIDB_FEATURE_REWRITE_INNER_VLAN, Feature::REWRITE_INNER_VLAN},
    };
    for (const auto &row : rows) {
        Interface before = at(kL3Sub);
        ASSERT_EQ(set(kL3Sub, row.id, 1), 0u) << row.id;
        EXPECT_TRUE(at(kL3Sub).has(row.feature)) << row.id;
        EXPECT_EQ(at(kL3Sub).value(row.feature), 1u) << row.id;
        before.values[static_cast<size_t>(row.feature)] = 1;
        EXPECT_EQ(std::memcmp(before.values, at(kL3Sub).values, sizeof before.values), 0) << row.id;
    }
}

TEST_F(InterfaceTest, AMessageIsCheckedBeforeAnyOfItIsSet) {
    EXPECT_EQ(set(kL3Sub, {feature(UIDB_FEATURE_VRF, 9), feature(UIDB_FEATURE_OUTER_VLAN, 9999)}),
              CARD_ERROR_BAD_VALUE);
    EXPECT_FALSE(at(kL3Sub).has(Feature::VRF));
}

TEST_F(InterfaceTest, LengthsMustAgree) {
    uidb_client_data_of<2> message = {};
    message.head = {kL3Sub, 2, 104};
    message.features[0] = feature(UIDB_FEATURE_VRF, 1);
    message.features[1] = feature(UIDB_FEATURE_IPV4_ENABLE, 1);
    EXPECT_EQ(uidb_set_feature(kCookie, &message.head), 0u);
    for (u16 length : {0, 52, 103, 105, 156}) {
        message.head.features_len = length;
        EXPECT_EQ(uidb_set_feature(kCookie, &message.head), CARD_ERROR_BAD_LENGTH) << length;
    }
    message.head = {kL3Sub, 0, 0};
    EXPECT_EQ(uidb_set_feature(kCookie, &message.head), CARD_ERROR_BAD_LENGTH);

    uidb_feature_batch_of<2> batch = {};
    batch.head.nr_entries = 2;
    batch.head.entries_len = 120;
    for (uidb_batch_entry &entry : batch.entries) {
        entry.if_handle = kL3Sub;
        entry.feature = feature(UIDB_FEATURE_VRF, 1);
    }
    EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), 0u);
    for (u32 length : {0u, 60u, 104u, 121u}) {
        batch.head.entries_len = length;
        EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), CARD_ERROR_BAD_LENGTH) << length;
    }
    batch.head.nr_entries = 0;
    batch.head.entries_len = 0;
    EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), CARD_ERROR_BAD_LENGTH);
    batch.head.nr_entries = 0x4000000;
    batch.head.entries_len = 0x4000000 * 60u;
    EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), CARD_ERROR_BAD_COUNT);
}

TEST_F(InterfaceTest, ABatchSetsFeaturesOfSeveralInterfacesOrOfNone) {
    uidb_feature_batch_of<2> batch = {};
    batch.head.nr_entries = 2;
    batch.head.entries_len = 120;
    batch.entries[0].if_handle = kMainA;
    batch.entries[0].feature = feature(UIDB_FEATURE_IPV4_ENABLE, 1);
    batch.entries[1].if_handle = 0x999;
    batch.entries[1].feature = feature(UIDB_FEATURE_IPV4_ENABLE, 1);
    EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), CARD_ERROR_UNKNOWN_INTERFACE);
    EXPECT_FALSE(at(kMainA).has(Feature::IPV4_ENABLE));
    std::swap(batch.entries[0], batch.entries[1]);
    EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), CARD_ERROR_UNKNOWN_INTERFACE);
    EXPECT_FALSE(at(kMainA).has(Feature::IPV4_ENABLE));
    batch.entries[0].if_handle = kMainA;
    batch.entries[1].if_handle = kMainB;
    EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), 0u);
    EXPECT_EQ(at(kMainA).value(Feature::IPV4_ENABLE), 1u);
    EXPECT_EQ(at(kMainB).value(Feature::IPV4_ENABLE), 1u);
}

TEST_F(InterfaceTest, ARewriteTakesNoMoreTagsThanThereAre) {
    const struct {
        u32 operation, inner_vlan, status;
    } rows[] = {
        {0, 0, 0},
        {1, 0, 0},
        {4, 0, 0},
        {16, 0, 0},
        {18, 0, 0},
        {32, 0, 0},
        {3, 0, CARD_ERROR_TOO_FEW_TAGS},
        {5, 0, CARD_ERROR_TOO_FEW_TAGS},
        {3, 7, 0},
        {5, 7, 0},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(set(kL2Sub,
                      {feature(UIDB_FEATURE_REWRITE_OP, row.operation), feature(UIDB_FEATURE_OUTER_VLAN, 100),
                       feature(UIDB_FEATURE_INNER_VLAN, row.inner_vlan),
                       feature(UIDB_FEATURE_VLAN_TAGS, row.inner_vlan != 0 ? 2 : 1)}),
                  row.status)
            << row.operation << " " << row.inner_vlan;
    }
    // The encapsulation of a stored rewrite keeps the tags that the rewrite takes.
    EXPECT_EQ(set(kL2Sub, encapsulation(100, 0, 1)), CARD_ERROR_TOO_FEW_TAGS);
    EXPECT_EQ(at(kL2Sub).value(Feature::INNER_VLAN), 7u);
    EXPECT_EQ(set(kL2Sub, UIDB_FEATURE_REWRITE_OP, 0), 0u);
    EXPECT_EQ(set(kL2Sub, encapsulation(0, 0, 0)), 0u);
    EXPECT_EQ(set(kL2Sub, UIDB_FEATURE_REWRITE_OP, 4), CARD_ERROR_TOO_FEW_TAGS);
    uidb_feature_batch_of<1> batch = {};
    batch.head.nr_entries = 1;
    batch.head.entries_len = sizeof batch.entries;
    batch.entries[0].if_handle = kL2Sub;
    batch.entries[0].feature = feature(UIDB_FEATURE_REWRITE_OP, UIDB_REWRITE_SWAP22);
    EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), CARD_ERROR_TOO_FEW_TAGS);
    EXPECT_EQ(set(kL2Sub, encapsulation(0, 0, 1)), 0u) << "a priority tag";
    EXPECT_EQ(set(kL2Sub, UIDB_FEATURE_REWRITE_OP, 4), 0u);
}

TEST_F(InterfaceTest, TagsAndVlansOfAnEncapsulationAgree) {
    const struct {
        u32 outer, inner, tags, status;
    } rows[] = {
        {100, 0, 1, 0},
        {100, 7, 2, 0},
        {0, 0, 0, 0},
        {0, 0, 1, 0},
        {100, 0, 2, CARD_ERROR_BAD_ENCAPSULATION},
        {100, 0, 0, CARD_ERROR_BAD_ENCAPSULATION},
        {100, 7, 1, CARD_ERROR_BAD_ENCAPSULATION},
        {0, 7, 0, CARD_ERROR_BAD_ENCAPSULATION},
        {0, 7, 1, CARD_ERROR_BAD_ENCAPSULATION},
        {0, 7, 2, CARD_ERROR_BAD_ENCAPSULATION},
        {0, 0, 2, CARD_ERROR_BAD_ENCAPSULATION},
    };
    for (const auto &row : rows)
        EXPECT_EQ(set(kL2Sub, encapsulation(row.outer, row.inner, row.tags)), row.status)
            << row.outer << "." << row.inner << " with " << row.tags;
}

TEST_F(InterfaceTest, AnEncapsulationIsThatOfOneSubInterfaceOfAParent) {
    ASSERT_EQ(create_sub(), 0u);
    EXPECT_EQ(set(kNewSub, encapsulation(100, 0, 1)), CARD_ERROR_ENCAPSULATION_TAKEN) << "kL2Sub's";
    EXPECT_EQ(set(kNewSub, encapsulation(101, 0, 1)), 0u) << "a sub-interface of another parent has it";
    EXPECT_EQ(set(kNewSub, encapsulation(100, 1, 2)), 0u);
    std::vector<uidb_feature> bridged = encapsulation(100, 0, 1);
    bridged.push_back(feature(UIDB_FEATURE_OUTER_TPID, 0x88A8));
    EXPECT_EQ(set(kNewSub, bridged), 0u) << "of another tag protocol";
    EXPECT_EQ(set(kNewSub, UIDB_FEATURE_OUTER_TPID, 0x8100), CARD_ERROR_ENCAPSULATION_TAKEN);
    EXPECT_EQ(set(kL2Sub, encapsulation(0, 0, 0)), 0u);
    EXPECT_EQ(set(kNewSub, UIDB_FEATURE_OUTER_TPID, 0x8100), 0u);
    EXPECT_EQ(set(kL2Sub, encapsulation(100, 0, 1)), CARD_ERROR_ENCAPSULATION_TAKEN);
    ASSERT_EQ(uidb_delete_interface(kCookie, kNewSub), 0u);
    EXPECT_EQ(set(kL2Sub, encapsulation(100, 0, 1)), 0u);
}

TEST_F(InterfaceTest, ALayer2InterfaceRoutesNothing) {
    EXPECT_EQ(set(kL2Sub, UIDB_FEATURE_IPV4_ENABLE, 1), CARD_ERROR_LAYER2_INTERFACE);
    EXPECT_EQ(set(kL2Sub, UIDB_FEATURE_MPLS_ENABLE, 1), CARD_ERROR_LAYER2_INTERFACE);
    EXPECT_EQ(set(kL2Sub, {feature(UIDB_FEATURE_IPV4_ENABLE, 0), feature(UIDB_FEATURE_VRF, 1)}), 0u);
    ASSERT_EQ(set(kMainA, UIDB_FEATURE_MPLS_ENABLE, 1), 0u);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_L2, 1), CARD_ERROR_LAYER2_INTERFACE);
    EXPECT_EQ(set(kMainA, {feature(UIDB_FEATURE_L2, 1), feature(UIDB_FEATURE_MPLS_ENABLE, 0)}), 0u)
        << "the message as a whole is sound";
}

TEST_F(InterfaceTest, AnInterfaceHasNoGroupMac) {
    uidb_feature record = feature(UIDB_FEATURE_MAC, 0);
    record.mac[0] = 0x01;
    EXPECT_EQ(set(kMainA, {record}), CARD_ERROR_GROUP_MAC);
    record.mac[0] = 0x02;
    EXPECT_EQ(set(kMainA, {record}), 0u);
}

TEST_F(InterfaceTest, ASubInterfaceHasThePortOfItsParent) {
    EXPECT_EQ(create(kNewSub, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 17), CARD_ERROR_WRONG_PORT);
    EXPECT_EQ(create(kNewSub, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 5), 0u);
    EXPECT_EQ(set(kNewSub, UIDB_FEATURE_NP_PORT, 20), CARD_ERROR_WRONG_PORT);
    EXPECT_EQ(set(kNewSub, UIDB_FEATURE_NP_PORT, 5), 0u);
    EXPECT_EQ(create(kNewSub + 1, UIDB_IFTYPE_SUB_INTERFACE, kBundleIfh, 17), 0u) << "a bundle has any";
}

TEST_F(InterfaceTest, StatisticsPointersComeFromTheirPoolAndCountForOneInterface) {
    const u32 ingress = allocate_statistics(PRM_STATS_INGRESS),
              egress = allocate_statistics(PRM_STATS_EGRESS);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, ingress + 1, 0), CARD_ERROR_UNKNOWN_STATISTICS);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, 0, 0), CARD_ERROR_UNKNOWN_STATISTICS);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, ingress, 1), CARD_ERROR_UNKNOWN_STATISTICS);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, ingress, 0), 0u);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, ingress, 0), 0u) << "the same again";
    EXPECT_EQ(set(kMainB, UIDB_FEATURE_STATS_POINTER, ingress, 0), CARD_ERROR_IN_USE);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, egress, 1), 0u);
    // A new pointer takes the old one's place, which stays the client's and may count for another.
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, allocate_statistics(PRM_STATS_INGRESS), 0), 0u);
    EXPECT_EQ(set(kMainB, UIDB_FEATURE_STATS_POINTER, ingress, 0), 0u);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, ingress, 0), CARD_ERROR_IN_USE);
    EXPECT_EQ(used(Resource::statistics), 3u);
    // So may that of an interface that was deleted.
    const u32 pointer = allocate_statistics(PRM_STATS_EGRESS);
    ASSERT_EQ(create_sub(), 0u);
    ASSERT_EQ(set(kNewSub, UIDB_FEATURE_STATS_POINTER, pointer, 1), 0u);
    EXPECT_EQ(set(kMainB, UIDB_FEATURE_STATS_POINTER, pointer, 1), CARD_ERROR_IN_USE);
    ASSERT_EQ(uidb_delete_interface(kCookie, kNewSub), 0u);
    EXPECT_EQ(set(kMainB, UIDB_FEATURE_STATS_POINTER, pointer, 1), 0u);
}

// One message, several interfaces: what it would leave decides, and a refused one leaves nothing.
TEST_F(InterfaceTest, ABatchIsSetAsAWholeOrNotAtAll) {
    const u32 pointer = allocate_statistics(PRM_STATS_INGRESS),
              other = allocate_statistics(PRM_STATS_INGRESS);
    const u32 features = used(Resource::feature);
    const auto batch_of = [](const std::vector<std::pair<u32, uidb_feature>> &entries) {
        uidb_feature_batch_of<4> batch = {};
        batch.head.nr_entries = static_cast<u32>(entries.size());
        batch.head.entries_len = static_cast<u32>(entries.size() * sizeof(uidb_batch_entry));
        for (size_t i = 0; i < entries.size(); ++i) {
            batch.entries[i].if_handle = entries[i].first;
            batch.entries[i].feature = entries[i].second;
        }
        return uidb_set_feature_batch(kCookie, &batch.head);
    };
    const uidb_feature mtu = feature(UIDB_FEATURE_IP_MTU, 1500, UIDB_QUALIFIER_IP_MTU),
                       counts = feature(UIDB_FEATURE_STATS_POINTER, pointer),
                       counts_other = feature(UIDB_FEATURE_STATS_POINTER, other);
    EXPECT_EQ(batch_of({{kMainA, mtu}, {kMainA, counts}, {kMainB, counts}, {kMainB, mtu}}),
              CARD_ERROR_IN_USE);
    for (const u32 if_handle : {kMainA, kMainB}) {
        EXPECT_FALSE(at(if_handle).has(Feature::IP_MTU));
        EXPECT_FALSE(at(if_handle).has(Feature::STATS_INGRESS));
    }
    EXPECT_EQ(used(Resource::feature), features);
    EXPECT_TRUE(card.statistics.counting.empty());
    // One takes over what the other lets go, in whatever order they come.
    ASSERT_EQ(batch_of({{kMainA, counts}}), 0u);
    EXPECT_EQ(batch_of({{kMainB, counts}, {kMainA, counts_other}}), 0u);
    EXPECT_EQ(batch_of({{kMainB, counts_other}, {kMainA, counts}}), 0u);
    EXPECT_EQ(card.statistics.counting.at(pointer), kMainA);
    EXPECT_EQ(card.statistics.counting.at(other), kMainB);
}

TEST_F(InterfaceTest, AMirrorSourceThatIsRefusedTakesItsMessageWithIt) {
    prm_span_request session = {};
    ASSERT_EQ(prm_srh_span_fwd_add(client, &session), 0u);
    session.session_id = 1;
    session.dest_port = 41;
    ASSERT_EQ(prm_srh_span_fwd_add(client, &session), 0u);
    const u32 features = used(Resource::feature);
    EXPECT_EQ(set(kMainA, {feature(UIDB_FEATURE_VRF, 1), feature(UIDB_FEATURE_SPAN_SOURCE, 0),
                           feature(UIDB_FEATURE_SPAN_SOURCE, 1)}),
              CARD_ERROR_OTHER_SESSION);
    EXPECT_EQ(used(Resource::mirror_source), 0u);
    EXPECT_EQ(used(Resource::feature), features);
    EXPECT_FALSE(at(kMainA).has(Feature::VRF));
    EXPECT_EQ(set(kL3Sub, {feature(UIDB_FEATURE_SPAN_SOURCE, 0), feature(UIDB_FEATURE_L2, 1)}), 0u)
        << "it is switched to layer 2 by the same message";
}

TEST_F(InterfaceTest, ABatchTakesStatisticsPointersAndMirrorSourcesToo) {
    const u32 pointer = allocate_statistics(PRM_STATS_INGRESS);
    prm_span_request session = {};
    ASSERT_EQ(prm_srh_span_fwd_add(client, &session), 0u);
    uidb_feature_batch_of<3> batch = {};
    batch.head.nr_entries = 3;
    batch.head.entries_len = sizeof batch.entries;
    for (uidb_batch_entry &entry : batch.entries) entry.if_handle = kMainA;
    batch.entries[0].feature = feature(UIDB_FEATURE_STATS_POINTER, pointer, UIDB_QUALIFIER_INGRESS);
    batch.entries[1].feature = feature(UIDB_FEATURE_SPAN_SOURCE, 0);
    // The pointer's place is taken by another; both stay the client's.
    batch.entries[2].feature = feature(UIDB_FEATURE_STATS_POINTER, allocate_statistics(PRM_STATS_INGRESS));
    ASSERT_EQ(uidb_set_feature_batch(kCookie, &batch.head), 0u);
    EXPECT_EQ(used(Resource::mirror_source), 1u);
    EXPECT_EQ(used(Resource::statistics), 2u);
    EXPECT_EQ(at(kMainA).value(Feature::STATS_INGRESS), batch.entries[2].feature.value);
}

TEST_F(InterfaceTest, AFullFeatureAccountRefusesNewFeaturesOnly) {
    card.accounts[Resource::feature].limit = used(Resource::feature) + 1;
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_VRF, 1), 0u);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_IPV4_ENABLE, 1), CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_VRF, 2), 0u);
}

TEST_F(InterfaceTest, AMessageNeedsRoomForAllItsNewFeatures) {
    card.accounts[Resource::feature].limit = used(Resource::feature) + 1;
    const u32 before = used(Resource::feature);
    EXPECT_EQ(set(kMainA, {feature(UIDB_FEATURE_VRF, 1), feature(UIDB_FEATURE_IPV4_ENABLE, 1)}),
              CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(used(Resource::feature), before);
    EXPECT_EQ(set(kMainA, {feature(UIDB_FEATURE_VRF, 1), feature(UIDB_FEATURE_VRF, 2)}), 0u);
    EXPECT_EQ(used(Resource::feature), before + 1);
}

}  // namespace
}  // namespace sim
