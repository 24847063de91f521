// Features of interfaces: what they take, what they keep, and everything they refuse.
#include <cstring>
#include <utility>

#include "prm_srh_span.h"
#include "tests/card/sim/interface_test.h"

namespace sim {
namespace {

TEST_F(InterfaceTest, KeepsTheValuesOfFeatures) {
    ASSERT_EQ(set(kL3Sub, {feature(UIDB_FEATURE_IP_MTU, 1500, 2), feature(UIDB_FEATURE_VLAN_TAGS, 2),
                           feature(UIDB_FEATURE_OUTER_TPID, 0x88A8), feature(UIDB_FEATURE_INNER_VLAN, 4095)}),
              0u);
    EXPECT_EQ(at(kL3Sub).value(Feature::IP_MTU), 1500u);
    EXPECT_EQ(at(kL3Sub).value(Feature::VLAN_TAGS), 2u);
    EXPECT_EQ(at(kL3Sub).value(Feature::OUTER_TPID), 0x88A8u);
    EXPECT_EQ(at(kL3Sub).value(Feature::INNER_VLAN), 4095u);
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
        {UIDB_FEATURE_OUTER_VLAN, 4096, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_INNER_VLAN, 4096, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_OUTER_TPID, 0x10000, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_REWRITE_OP, 2, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_REWRITE_OUTER_VLAN, 4096, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_REWRITE_INNER_VLAN, 4096, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_REWRITE_OUTER_TPID, 0x10000, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_NP_PORT, 63, 0, 0},
        {UIDB_FEATURE_NP_PORT, 64, CARD_ERROR_UNKNOWN_PORT, 0},
        {UIDB_FEATURE_LAG_ID, 256, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_LAG_ID, 77, CARD_ERROR_UNKNOWN_BUNDLE, 0},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(set(kL3Sub, row.id, row.value, row.qualifier), row.status) << row.id << " " << row.value;
    }
}

// Kinds that a feature applies to, and its largest value; beyond either it is refused.
TEST_F(InterfaceTest, EveryFeatureHasItsKindsAndItsLargestValue) {
    constexpr u32 kNone = 0xFFFFFFFF;  // every value is one
    const u32 interfaces[] = {kMainB, kL3Sub, kBundleIfh, kBvi};
    const struct {
        u32 id;
        u16 qualifier;
        bool main, sub, bundle, bvi;
        u32 largest;
    } rows[] = {
        {UIDB_FEATURE_IP_MTU, 2, true, true, true, true, 16384},
        {UIDB_FEATURE_NP_PORT, 0, true, true, false, false, 63},
        {UIDB_FEATURE_L2, 0, true, true, true, false, 1},
        {UIDB_FEATURE_MPLS_ENABLE, 0, true, true, true, true, 1},
        {UIDB_FEATURE_VRF, 0, true, true, true, true, 0xFFFF},
        {UIDB_FEATURE_IPV4_ENABLE, 0, true, true, true, true, 1},
        {UIDB_FEATURE_MAC, 0, true, true, true, true, kNone},
        {UIDB_FEATURE_VLAN_TAGS, 0, false, true, false, false, 2},
        {UIDB_FEATURE_OUTER_TPID, 0, false, true, false, false, 0xFFFF},
        {UIDB_FEATURE_OUTER_VLAN, 0, false, true, false, false, 4095},
        {UIDB_FEATURE_INNER_VLAN, 0, false, true, false, false, 4095},
        {UIDB_FEATURE_REWRITE_OUTER_TPID, 0, true, true, true, false, 0xFFFF},
        {UIDB_FEATURE_REWRITE_OUTER_VLAN, 0, true, true, true, false, 4095},
        {UIDB_FEATURE_REWRITE_INNER_VLAN, 0, true, true, true, false, 4095},
    };
    ASSERT_EQ(create(kBvi, UIDB_IFTYPE_BVI, 0, 0), 0u);
    for (const auto &row : rows) {
        const bool applies[] = {row.main, row.sub, row.bundle, row.bvi};
        for (size_t i = 0; i < std::size(interfaces); ++i) {
            const u32 if_handle = interfaces[i];
            const u32 beyond =
                row.id == UIDB_FEATURE_NP_PORT ? CARD_ERROR_UNKNOWN_PORT : CARD_ERROR_BAD_VALUE;
            if (!applies[i]) {
                EXPECT_EQ(set(if_handle, row.id, 1, row.qualifier), CARD_ERROR_FEATURE_NOT_APPLICABLE)
                    << row.id << " " << i;
                continue;
            }
            EXPECT_EQ(set(if_handle, row.id, row.largest, row.qualifier), 0u) << row.id << " " << i;
            if (row.largest != kNone) {
                EXPECT_EQ(set(if_handle, row.id, row.largest + 1, row.qualifier), beyond) << row.id;
            }
            EXPECT_EQ(set(if_handle, row.id, 1, static_cast<u16>(row.qualifier + 1)),
                      CARD_ERROR_BAD_QUALIFIER);
        }
    }
    EXPECT_EQ(set(kBvi, UIDB_FEATURE_REWRITE_OP, 0), CARD_ERROR_FEATURE_NOT_APPLICABLE);
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
        {UIDB_FEATURE_NP_PORT, Feature::NP_PORT},
        {UIDB_FEATURE_MPLS_ENABLE, Feature::MPLS_ENABLE},
        {UIDB_FEATURE_VRF, Feature::VRF},
        {UIDB_FEATURE_IPV4_ENABLE, Feature::IPV4_ENABLE},
        {UIDB_FEATURE_REWRITE_OP, Feature::REWRITE_OP},
        {UIDB_FEATURE_VLAN_TAGS, Feature::VLAN_TAGS},
        {UIDB_FEATURE_OUTER_TPID, Feature::OUTER_TPID},
        {UIDB_FEATURE_INNER_VLAN, Feature::INNER_VLAN},
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
                       feature(UIDB_FEATURE_INNER_VLAN, row.inner_vlan)}),
                  row.status)
            << row.operation << " " << row.inner_vlan;
    }
    EXPECT_EQ(set(kL2Sub, {feature(UIDB_FEATURE_OUTER_VLAN, 0), feature(UIDB_FEATURE_INNER_VLAN, 0)}), 0u);
    EXPECT_EQ(set(kL2Sub, UIDB_FEATURE_REWRITE_OP, 4), CARD_ERROR_TOO_FEW_TAGS);
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
    // A new pointer takes the old one's place, which goes back.
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, allocate_statistics(PRM_STATS_INGRESS), 0), 0u);
    EXPECT_EQ(set(kMainB, UIDB_FEATURE_STATS_POINTER, ingress, 0), CARD_ERROR_UNKNOWN_STATISTICS);
    EXPECT_EQ(used(Resource::statistics), 2u);
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
    // The pointer's place is taken by another, and it goes back.
    batch.entries[2].feature = feature(UIDB_FEATURE_STATS_POINTER, allocate_statistics(PRM_STATS_INGRESS));
    ASSERT_EQ(uidb_set_feature_batch(kCookie, &batch.head), 0u);
    EXPECT_EQ(used(Resource::mirror_source), 1u);
    EXPECT_EQ(used(Resource::statistics), 1u);
    EXPECT_EQ(at(kMainA).value(Feature::STATS_INGRESS), batch.entries[2].feature.value);
}

TEST_F(InterfaceTest, AFullFeatureAccountRefusesNewFeaturesOnly) {
    card.accounts[Resource::feature].limit = used(Resource::feature) + 1;
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_VRF, 1), 0u);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_IPV4_ENABLE, 1), CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_VRF, 2), 0u);
}

}  // namespace
}  // namespace sim
