// Bundles: formed of configured members, held by their sub-interfaces, named by one interface.
#include <cstring>

#include "prm_srh_span.h"
#include "tests/card/sim/interface_test.h"

namespace sim {
namespace {

class BundleTest : public InterfaceTest {
  protected:
    void SetUp() override {
        InterfaceTest::SetUp();
        ASSERT_EQ(create(kNewBundle, UIDB_IFTYPE_BUNDLE_MAIN, 0, 0), 0u);
        ASSERT_EQ(set(kNewBundle, UIDB_FEATURE_LAG_ID, 21), 0u);
    }
    void form(std::vector<u16> ports) {
        for (u16 port : ports) ASSERT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 21, {port}), 0u);
        ASSERT_EQ(lag(UIDB_LAG_CREATE, 21, ports), 0u);
    }
};

TEST_F(BundleTest, IsFormedChangedAndTakenApart) {
    form({1});
    EXPECT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 21, {2}), 0u);
    EXPECT_EQ(lag(UIDB_LAG_SET_MEMBERS, 21, {1, 2}), 0u);
    EXPECT_EQ(card.interfaces.bundles.find(21)->members.count(), 2u);
    EXPECT_EQ(lag(UIDB_LAG_UNCONFIG_MEMBER, 21, {2}), CARD_ERROR_ACTIVE_MEMBER);
    EXPECT_EQ(lag(UIDB_LAG_SET_MEMBERS, 21, {1}), 0u);
    EXPECT_EQ(lag(UIDB_LAG_UNCONFIG_MEMBER, 21, {2}), 0u);
    EXPECT_EQ(uidb_delete_interface(kCookie, kNewBundle), CARD_ERROR_BUNDLE_FORMED);
    EXPECT_EQ(lag(UIDB_LAG_DELETE, 21, {}), 0u);
    EXPECT_EQ(lag(UIDB_LAG_UNCONFIG_MEMBER, 21, {1}), 0u);
    EXPECT_EQ(uidb_delete_interface(kCookie, kNewBundle), 0u);
    EXPECT_EQ(used(Resource::bundle), 1u) << "the inventory's";
}

TEST_F(BundleTest, TheOperationsOwnResultStandsInTheRecord) {
    u32 call_status = 1;
    EXPECT_EQ(lag(UIDB_LAG_CREATE, 21, {1}, &call_status), CARD_ERROR_NOT_CONFIGURED);
    EXPECT_EQ(call_status, 0u);
    EXPECT_EQ(lag(UIDB_LAG_SET_MEMBERS, 21, {}, &call_status), CARD_ERROR_UNKNOWN_BUNDLE);
    EXPECT_EQ(call_status, 0u);
    EXPECT_EQ(lag(UIDB_LAG_DELETE, 21, {}, &call_status), CARD_ERROR_UNKNOWN_BUNDLE);
    EXPECT_EQ(call_status, 0u);
    EXPECT_EQ(lag(UIDB_LAG_UNCONFIG_MEMBER, 21, {1}, &call_status), CARD_ERROR_NOT_CONFIGURED);
    EXPECT_EQ(call_status, 0u);
    EXPECT_EQ(lag(UIDB_LAG_CREATE, 9, {}, &call_status), CARD_ERROR_BUNDLE_EXISTS);
    EXPECT_EQ(call_status, 0u);
}

TEST_F(BundleTest, ARecordThatMakesNoSenseFailsTheCall) {
    u32 call_status;
    EXPECT_EQ(lag(5, 21, {}, &call_status), CARD_ERROR_BAD_KIND);
    EXPECT_EQ(call_status, CARD_ERROR_BAD_KIND);
    EXPECT_EQ(lag(UIDB_LAG_CREATE, 21, std::vector<u16>(33, 1), &call_status), CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(call_status, CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 21, {64}, &call_status), CARD_ERROR_UNKNOWN_PORT);
    EXPECT_EQ(call_status, CARD_ERROR_UNKNOWN_PORT);
    EXPECT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 21, {1, 2}), CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(lag(UIDB_LAG_UNCONFIG_MEMBER, 21, {}), CARD_ERROR_BAD_COUNT);
}

TEST_F(BundleTest, APortIsAMemberOfOneBundle) {
    ASSERT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 21, {1}), 0u);
    EXPECT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 21, {1}), 0u) << "the same again";
    EXPECT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 9, {1}), CARD_ERROR_MEMBER_OF_ANOTHER);
    EXPECT_EQ(lag(UIDB_LAG_UNCONFIG_MEMBER, 9, {1}), CARD_ERROR_NOT_CONFIGURED);
    EXPECT_EQ(lag(UIDB_LAG_SET_MEMBERS, 9, {1}), CARD_ERROR_MEMBER_OF_ANOTHER);
}

TEST_F(BundleTest, OneInterfacePerBundle) {
    ASSERT_EQ(create(kNewBundle + 0x1000, UIDB_IFTYPE_BUNDLE_MAIN, 0, 0), 0u);
    EXPECT_EQ(set(kNewBundle + 0x1000, UIDB_FEATURE_LAG_ID, 21), CARD_ERROR_BUNDLE_EXISTS);
    EXPECT_EQ(set(kNewBundle, UIDB_FEATURE_LAG_ID, 21), 0u) << "its own again";
    // Another number frees this one.
    EXPECT_EQ(set(kNewBundle, UIDB_FEATURE_LAG_ID, 22), 0u);
    EXPECT_EQ(set(kNewBundle + 0x1000, UIDB_FEATURE_LAG_ID, 21), 0u);
}

TEST_F(BundleTest, AFormedBundleKeepsItsIdAndItsInterface) {
    form({1});
    EXPECT_EQ(set(kNewBundle, UIDB_FEATURE_LAG_ID, 22), CARD_ERROR_BUNDLE_FORMED);
    EXPECT_EQ(set(kNewBundle, UIDB_FEATURE_LAG_ID, 21), 0u) << "its own again";
    EXPECT_EQ(lag(UIDB_LAG_DELETE, 21, {}), 0u);
    EXPECT_EQ(set(kNewBundle, UIDB_FEATURE_LAG_ID, 22), 0u);
}

TEST_F(BundleTest, IsFormedForAnInterfaceOnly) {
    EXPECT_EQ(lag(UIDB_LAG_CREATE, 77, {}), CARD_ERROR_NO_BUNDLE_INTERFACE);
    EXPECT_EQ(lag(UIDB_LAG_CREATE, 21, {}), 0u) << "with no members it is down, not wrong";
}

TEST_F(BundleTest, NoMemberIsTheDestinationOfAMirrorSession) {
    ASSERT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 21, {40}), 0u);
    prm_span_request session = {};
    session.dest_port = 40;
    ASSERT_EQ(prm_srh_span_fwd_add(client, &session), 0u);
    EXPECT_EQ(lag(UIDB_LAG_CREATE, 21, {40}), CARD_ERROR_MIRROR_DESTINATION);
    ASSERT_EQ(prm_srh_span_fwd_del(client, &session), 0u);
    EXPECT_EQ(lag(UIDB_LAG_CREATE, 21, {40}), 0u);
}

TEST_F(BundleTest, APortIsInTheListOnce) {
    ASSERT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 21, {1}), 0u);
    EXPECT_EQ(lag(UIDB_LAG_CREATE, 21, {1, 1}), CARD_ERROR_PORT_TWICE);
    ASSERT_EQ(lag(UIDB_LAG_CREATE, 21, {1}), 0u);
    EXPECT_EQ(lag(UIDB_LAG_SET_MEMBERS, 21, {1, 1}), CARD_ERROR_PORT_TWICE);
    EXPECT_EQ(card.interfaces.bundles.find(21)->members.count(), 1u);
}

TEST_F(BundleTest, ASubInterfaceBelongsToTheBundleOfItsParent) {
    form({1});
    ASSERT_EQ(create_sub(kNewSub, kNewBundle), 0u);
    EXPECT_EQ(set(kNewSub, UIDB_FEATURE_LAG_ID, 9), CARD_ERROR_WRONG_BUNDLE);
    EXPECT_EQ(set(kNewSub, UIDB_FEATURE_LAG_ID, 77), CARD_ERROR_UNKNOWN_BUNDLE);
    EXPECT_EQ(set(kNewSub, UIDB_FEATURE_NP_PORT, 5), CARD_ERROR_FEATURE_NOT_APPLICABLE);
    EXPECT_EQ(set(kL3Sub, UIDB_FEATURE_LAG_ID, 21), CARD_ERROR_FEATURE_NOT_APPLICABLE)
        << "its parent is no bundle";
    EXPECT_EQ(set(kNewSub, UIDB_FEATURE_LAG_ID, 21), 0u);
}

// Judged by what the message as a whole would leave.
TEST_F(BundleTest, AMessageMayExchangeTheIdsOfTwoBundlesButNotDoubleOne) {
    ASSERT_EQ(create(kNewBundle + 0x1000, UIDB_IFTYPE_BUNDLE_MAIN, 0, 0), 0u);
    ASSERT_EQ(set(kNewBundle + 0x1000, UIDB_FEATURE_LAG_ID, 22), 0u);
    const auto name_both = [&](u32 first, u32 second) {
        uidb_feature_batch_of<2> batch = {};
        batch.head.nr_entries = 2;
        batch.head.entries_len = sizeof batch.entries;
        batch.entries[0].if_handle = kNewBundle;
        batch.entries[0].feature = feature(UIDB_FEATURE_LAG_ID, first);
        batch.entries[1].if_handle = kNewBundle + 0x1000;
        batch.entries[1].feature = feature(UIDB_FEATURE_LAG_ID, second);
        return uidb_set_feature_batch(kCookie, &batch.head);
    };
    EXPECT_EQ(name_both(40, 40), CARD_ERROR_BUNDLE_EXISTS);
    EXPECT_EQ(card.interfaces.bundle_interfaces.at(21), kNewBundle);
    EXPECT_EQ(card.interfaces.bundle_interfaces.at(22), kNewBundle + 0x1000);
    EXPECT_FALSE(card.interfaces.bundle_interfaces.contains(40));
    EXPECT_EQ(name_both(22, 21), 0u);
    EXPECT_EQ(card.interfaces.bundle_interfaces.at(22), kNewBundle);
    EXPECT_EQ(card.interfaces.bundle_interfaces.at(21), kNewBundle + 0x1000);
}

TEST_F(BundleTest, SubInterfacesHoldTheBundle) {
    ASSERT_EQ(create_sub(kNewSub, kNewBundle), 0u);
    EXPECT_EQ(set(kNewSub, UIDB_FEATURE_LAG_ID, 21), CARD_ERROR_UNKNOWN_BUNDLE) << "not formed yet";
    form({1});
    ASSERT_EQ(set(kNewSub, UIDB_FEATURE_LAG_ID, 21), 0u);
    ASSERT_EQ(set(kNewSub, UIDB_FEATURE_LAG_ID, 21), 0u);
    EXPECT_EQ(lag(UIDB_LAG_DELETE, 21, {}), CARD_ERROR_IN_USE);
    ASSERT_EQ(uidb_delete_interface(kCookie, kNewSub), 0u);
    EXPECT_EQ(lag(UIDB_LAG_DELETE, 21, {}), 0u);
}

TEST_F(BundleTest, SubInterfacesHaveMemberPorts) {
    ASSERT_EQ(create_sub(kNewSub, kNewBundle), 0u);
    uidb_feature record = feature(UIDB_FEATURE_BUNDLE_SUBIF_PORT, 2);
    record.member_valid = 1;
    record.member_add = 0;
    EXPECT_EQ(set(kNewSub, {record}), CARD_ERROR_NOT_FOUND);
    record.member_add = 1;
    EXPECT_EQ(set(kNewSub, {record}), 0u);
    EXPECT_EQ(set(kNewSub, {record}), 0u);
    EXPECT_EQ(card.interfaces.subif_ports.at(kNewSub).count(), 1u);
    EXPECT_EQ(set(kL3Sub, {record}), CARD_ERROR_FEATURE_NOT_APPLICABLE) << "not in a bundle";
    EXPECT_EQ(set(kMainA, {record}), CARD_ERROR_FEATURE_NOT_APPLICABLE);
    record.qualifier = 1;
    EXPECT_EQ(set(kNewSub, {record}), CARD_ERROR_BAD_QUALIFIER);
    record.qualifier = 0;
    record.member_add = 2;
    EXPECT_EQ(set(kNewSub, {record}), CARD_ERROR_BAD_VALUE);
    record.value_byte = 64;
    EXPECT_EQ(set(kNewSub, {record}), CARD_ERROR_UNKNOWN_PORT);
    record.value_byte = 2;
    record.member_add = 0;
    EXPECT_EQ(set(kNewSub, {record}), 0u);
    EXPECT_EQ(set(kNewSub, {record}), CARD_ERROR_NOT_FOUND);
}

TEST_F(BundleTest, TheSourceMacIsThatOfTheBundlesInterface) {
    uidb_port_feature record = {};
    record.port = 21;
    record.feature_id = UIDB_PORT_FEATURE_SOURCE_MAC;
    record.enable = 1;
    std::memset(record.mac, 0x12, 6);
    EXPECT_EQ(uidb_set_port_feature(kCookie, &record), 0u);
    EXPECT_TRUE(at(kNewBundle).has(Feature::MAC));
    EXPECT_EQ(at(kNewBundle).mac[5], 0x12);
    record.enable = 0;
    EXPECT_EQ(uidb_set_port_feature(kCookie, &record), 0u);
    EXPECT_FALSE(at(kNewBundle).has(Feature::MAC));
    record.mac[0] = 0x13;
    EXPECT_EQ(uidb_set_port_feature(kCookie, &record), 0u) << "nothing is set";
    record.enable = 1;
    EXPECT_EQ(uidb_set_port_feature(kCookie, &record), CARD_ERROR_GROUP_MAC);
    record.port = 22;
    record.mac[0] = 0x12;
    EXPECT_EQ(uidb_set_port_feature(kCookie, &record), CARD_ERROR_UNKNOWN_BUNDLE);
    record.port = 277;
    EXPECT_EQ(uidb_set_port_feature(kCookie, &record), CARD_ERROR_BAD_VALUE);
    record.port = 21;
    record.enable = 2;
    EXPECT_EQ(uidb_set_port_feature(kCookie, &record), CARD_ERROR_BAD_VALUE);
    record.feature_id = 469;
    EXPECT_EQ(uidb_set_port_feature(kCookie, &record), CARD_ERROR_UNKNOWN_FEATURE);
}

}  // namespace
}  // namespace sim
