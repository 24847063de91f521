// Mirror sessions and their sources.
#include "prm_srh_span.h"
#include "tests/card/sim/interface_test.h"

namespace sim {
namespace {

class SpanTest : public InterfaceTest {
  protected:
    u32 create(u32 session, u32 port) {
        prm_span_request request = {};
        request.session_id = session;
        request.dest_port = port;
        return prm_srh_span_fwd_add(client, &request);
    }
    u32 destroy(u32 session) {
        prm_span_request request = {};
        request.session_id = session;
        return prm_srh_span_fwd_del(client, &request);
    }
    u32 source(u32 if_handle, int direction, u32 value) {
        return set_features(if_handle,
                            {feature(UIDB_FEATURE_SPAN_SOURCE, value, static_cast<u16>(direction))});
    }
    u32 add(u32 if_handle, int direction, u32 session) { return source(if_handle, direction, session); }
    u32 remove(u32 if_handle, int direction, u32 session) {
        return source(if_handle, direction, session | 0x80000000);
    }
};

TEST_F(SpanTest, SessionsAreCreatedAndDestroyedInAnyOrderWhileMirroringIsOff) {
    ASSERT_FALSE(card.span.enabled);
    for (u32 i : {0u, 1u, 2u, 3u}) EXPECT_EQ(create(i, 10 + i), 0u);
    for (u32 i : {3u, 0u, 2u, 1u}) EXPECT_EQ(destroy(i), 0u);
    EXPECT_EQ(used(Resource::mirror_session), 0u);
}

TEST_F(SpanTest, MirroringIsSwitchedOnAndOff) {
    prm_span_request request = {};
    EXPECT_EQ(prm_srh_span_enable(client, &request), 0u);
    EXPECT_EQ(prm_srh_span_enable(client, &request), 0u);
    EXPECT_TRUE(card.span.enabled);
    EXPECT_EQ(prm_srh_span_disable(client, &request), 0u);
    EXPECT_FALSE(card.span.enabled);
    EXPECT_EQ(prm_srh_span_enable(stranger(), &request), CARD_ERROR_BAD_HANDLE);
    EXPECT_EQ(prm_srh_span_disable(stranger(), &request), CARD_ERROR_BAD_HANDLE);
    EXPECT_EQ(prm_srh_span_enable(client, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_srh_span_disable(client, nullptr), CARD_ERROR_NULL_POINTER);
}

TEST_F(SpanTest, SessionsAndPortsThatDoNotExistAreRefusedByTheirCodes) {
    EXPECT_EQ(create(4, 1), PRM_ERROR_BCM_E_BADID);
    EXPECT_EQ(create(4, 500), PRM_ERROR_BCM_E_BADID);
    EXPECT_EQ(destroy(4), PRM_ERROR_BCM_E_BADID);
    EXPECT_EQ(create(0, 500), PRM_ERROR_BCM_E_PORT);
    EXPECT_EQ(create(0, 64), PRM_ERROR_BCM_E_PORT);
    EXPECT_EQ(create(0, 63), 0u);
    EXPECT_EQ(create(0, 63), CARD_ERROR_SESSION_EXISTS);
    EXPECT_EQ(destroy(1), CARD_ERROR_NO_SESSION);
    EXPECT_EQ(prm_srh_span_fwd_add(client, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_srh_span_fwd_del(client, nullptr), CARD_ERROR_NULL_POINTER);
}

TEST_F(SpanTest, ASessionWithSourcesIsBusy) {
    for (int direction : {0, 1, 2}) {
        ASSERT_EQ(create(0, 10), 0u);
        ASSERT_EQ(add(kMainA, direction, 0), 0u);
        EXPECT_EQ(destroy(0), PRM_ERROR_BCM_E_BUSY);
        EXPECT_TRUE(card.span.sessions.contains(0));
        ASSERT_EQ(remove(kMainA, direction, 0), 0u);
        EXPECT_EQ(destroy(0), 0u);
    }
    EXPECT_EQ(used(Resource::mirror_source), 0u);
}

TEST_F(SpanTest, SourcesNeedASessionAnInterfaceAndADirection) {
    ASSERT_EQ(create(1, 10), 0u);
    for (u32 remove_bit : {0u, 0x80000000u}) {
        EXPECT_EQ(source(0xDEADBEEF, 0, remove_bit | 1), CARD_ERROR_UNKNOWN_INTERFACE);
        EXPECT_EQ(source(kMainA, -1, remove_bit | 1), CARD_ERROR_BAD_DIRECTION);
        EXPECT_EQ(source(kMainA, 3, remove_bit | 1), CARD_ERROR_BAD_DIRECTION);
        EXPECT_EQ(source(kL3Sub, 0, remove_bit | 1), CARD_ERROR_NO_MIRROR_SOURCE);
        EXPECT_EQ(source(kMainA, 0, remove_bit | 5), PRM_ERROR_BCM_E_BADID);
        EXPECT_EQ(source(kMainA, 0, remove_bit | 2), CARD_ERROR_NO_SESSION);
    }
    EXPECT_EQ(add(kL2Sub, 0, 1), 0u) << "a switched sub-interface can be mirrored";
    EXPECT_EQ(add(kBundleIfh, 0, 1), 0u);
}

TEST_F(SpanTest, AnInterfaceMirrorsToOneSessionPerDirection) {
    ASSERT_EQ(create(0, 10), 0u);
    ASSERT_EQ(create(1, 11), 0u);
    ASSERT_EQ(add(kMainA, 0, 0), 0u);
    EXPECT_EQ(add(kMainA, 0, 0), 0u) << "the same again";
    EXPECT_EQ(add(kMainA, 0, 1), CARD_ERROR_OTHER_SESSION);
    EXPECT_EQ(add(kMainA, 1, 1), 0u);
    EXPECT_EQ(remove(kMainA, 0, 1), CARD_ERROR_NOT_A_SOURCE);
    EXPECT_EQ(remove(kMainA, 2, 0), CARD_ERROR_NOT_A_SOURCE);
    EXPECT_EQ(remove(kMainA, 0, 0), 0u);
    EXPECT_EQ(remove(kMainA, 0, 0), CARD_ERROR_NOT_A_SOURCE);
    EXPECT_EQ(used(Resource::mirror_source), 1u);
}

TEST_F(SpanTest, ASourceHoldsItsInterface) {
    ASSERT_EQ(create(0, 10), 0u);
    ASSERT_EQ(add(kL2Sub, 0, 0), 0u);
    EXPECT_EQ(uidb_delete_interface(0, kL2Sub), CARD_ERROR_IN_USE);
    ASSERT_EQ(remove(kL2Sub, 0, 0), 0u);
    EXPECT_EQ(uidb_delete_interface(0, kL2Sub), 0u);
}

TEST_F(SpanTest, ADestinationPortIsOneSessionsAndHasNoInterface) {
    ASSERT_EQ(create(0, 10), 0u);
    EXPECT_EQ(create(1, 10), CARD_ERROR_DESTINATION_TAKEN);
    EXPECT_EQ(create(1, 5), CARD_ERROR_PORT_HAS_INTERFACE) << "kMainA's";
    ASSERT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 9, {7}), 0u);
    ASSERT_EQ(lag(UIDB_LAG_SET_MEMBERS, 9, {7}), 0u);
    EXPECT_EQ(create(1, 7), CARD_ERROR_PORT_HAS_INTERFACE) << "a bundle's";
    ASSERT_EQ(lag(UIDB_LAG_SET_MEMBERS, 9, {}), 0u);
    EXPECT_EQ(create(1, 7), 0u);
    ASSERT_EQ(destroy(0), 0u);
    EXPECT_EQ(create(2, 10), 0u);
}

TEST_F(SpanTest, ASourceDoesNotBecomeItsSessionsDestination) {
    ASSERT_EQ(create(0, 7), 0u);
    ASSERT_EQ(add(kBundleIfh, 0, 0), 0u);
    ASSERT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 9, {7}), 0u);
    EXPECT_EQ(lag(UIDB_LAG_SET_MEMBERS, 9, {7}), CARD_ERROR_MIRROR_DESTINATION);
    ASSERT_EQ(remove(kBundleIfh, 0, 0), 0u);
    ASSERT_EQ(destroy(0), 0u);
    EXPECT_EQ(lag(UIDB_LAG_SET_MEMBERS, 9, {7}), 0u);
}

TEST_F(SpanTest, ASessionTakesFourHundredSources) {
    ASSERT_EQ(create(0, 10), 0u);
    ASSERT_EQ(create(1, 11), 0u);
    constexpr u32 kFirst = 0x8002000;
    for (u32 i = 0; i < kMaxMirrorSources; ++i) {
        ASSERT_EQ(create_sub(kFirst + i), 0u);
        ASSERT_EQ(set(kFirst + i,
                      {feature(UIDB_FEATURE_L2, 1), feature(UIDB_FEATURE_VLAN_TAGS, 1),
                       feature(UIDB_FEATURE_OUTER_TPID, 0x8100), feature(UIDB_FEATURE_OUTER_VLAN, 1000 + i)}),
                  0u);
        ASSERT_EQ(add(kFirst + i, 0, 0), 0u) << i;
    }
    EXPECT_EQ(add(kMainA, 0, 0), CARD_ERROR_TOO_MANY_SOURCES);
    EXPECT_EQ(add(kFirst, 0, 0), 0u) << "one of them again";
    EXPECT_EQ(add(kMainA, 0, 1), 0u) << "of another session";
    ASSERT_EQ(remove(kFirst, 0, 0), 0u);
    EXPECT_EQ(add(kMainA, 1, 0), 0u);
}

TEST_F(SpanTest, AFullSourceTableRefuses) {
    card.accounts[Resource::mirror_source].limit = 1;
    ASSERT_EQ(create(0, 10), 0u);
    ASSERT_EQ(add(kMainA, 0, 0), 0u);
    EXPECT_EQ(add(kMainB, 0, 0), CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(remove(kMainA, 0, 0), 0u);
    EXPECT_EQ(add(kMainB, 0, 0), 0u);
}

}  // namespace
}  // namespace sim
