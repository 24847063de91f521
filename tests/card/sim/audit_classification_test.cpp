// TCAM and traffic-manager requests that name what is not there, release what is named, or ask for more than
// there is: what is refused with which code, and what is legal however odd it looks.
#include "tests/card/sim/card_test.h"
#include "tests/card/sim/hal_requests.h"
#include "tests/card/sim/tcam_request.h"

namespace sim {
namespace {

constexpr u32 kAcl = PRM_TCAM_FEATURE_ACL, kQos = PRM_TCAM_FEATURE_QOS;

class ClassificationAuditTest : public CardTest {
  protected:
    u32 create(TcamRequest &request) { return zor_vop_prm_tcam_vmr_create(client, &request.info); }
    u32 insert(TcamRequest &request) { return zor_vop_prm_tcam_vmr_insert(client, &request.info); }
    u32 destroy(u32 feature, u32 opcode, u64 vmr_id) {
        TcamRequest request(feature, opcode, vmr_id);
        return zor_vop_prm_tcam_vmr_destroy(client, &request.info);
    }
    u32 statistics(u32 opcode, u32 *id) {
        prm_info info = {};
        info.opcode = opcode;
        info.stats_id = *id;
        const u32 status = opcode == PRM_TCAM_STATS_ALLOC ? zor_vop_prm_tcam_vmr_stats_alloc(client, &info)
                                                          : zor_vop_prm_tcam_vmr_stats_dealloc(client, &info);
        *id = info.stats_id;
        return status;
    }
    static u32 read_statistics(u32 id, Count *count) {
        wyk_hal_stats_request request = {.count = 1, .stats_id = id};
        wyk_hal_stats_response response = {};
        const u32 status = wyk_hal_wrapper_get_stats(&request, &response);
        *count = {response.packets, response.bytes};
        return status;
    }
};

TEST_F(ClassificationAuditTest, PortsAndIndices) {
    TcamRequest far(kAcl, PRM_TCAM_CREATE), here(kAcl, PRM_TCAM_CREATE);
    far.info.port_num = 200;
    EXPECT_EQ(create(far), PRM_ERROR_INVALID_ARG) << "the card has 64 ports";
    ASSERT_EQ(create(here), 0u);
    const u64 tcam = here.info.vmr_id;
    // The handle says which TCAM it is.
    TcamRequest other_port(kAcl, PRM_TCAM_INSERT, tcam, 1);
    other_port.info.port_num = 60;
    EXPECT_EQ(insert(other_port), 0u);
    EXPECT_EQ(card.tcam.tcams().find(tcam)->port_num, 1) << "where its create said it is";
    TcamRequest taken(kAcl, PRM_TCAM_INSERT, tcam, 1), beyond(kAcl, PRM_TCAM_INSERT, tcam, 2048);
    EXPECT_EQ(insert(taken), 0u) << "an insert replaces";
    EXPECT_EQ(insert(beyond), PRM_ERROR_INVALID_ARG);
    EXPECT_EQ(destroy(kAcl, PRM_TCAM_CREATE, tcam), PRM_ERROR_INVALID_ARG) << "stated of the QoS TCAM alone";
    EXPECT_EQ(destroy(kAcl, PRM_TCAM_DESTROY, tcam), 0u);
}

TEST_F(ClassificationAuditTest, StatisticsOfAccessLists) {
    u32 id = 0, next = 0;
    TcamRequest request(kAcl, PRM_TCAM_CREATE);
    request.acl().stats_id = 12345;
    EXPECT_EQ(create(request), CARD_ERROR_UNKNOWN_STATISTICS) << "never allocated";
    ASSERT_EQ(statistics(PRM_TCAM_STATS_ALLOC, &id), 0u);
    request.acl().stats_id = id;
    ASSERT_EQ(create(request), 0u);
    EXPECT_EQ(statistics(PRM_TCAM_STATS_DEALLOC, &id), CARD_ERROR_IN_USE) << "an entry counts on it";
    ASSERT_EQ(statistics(PRM_TCAM_STATS_ALLOC, &next), 0u);
    EXPECT_NE(next, id);
    Count count;
    EXPECT_EQ(read_statistics(id, &count), CARD_ERROR_UNKNOWN_STATISTICS) << "none of the traffic manager's";
}

TEST_F(ClassificationAuditTest, StatisticsAndPolicersOfTheTrafficManager) {
    TcamRequest request(kQos, PRM_TCAM_CREATE);
    request.qos().stats_id = 0x44;
    EXPECT_EQ(create(request), CARD_ERROR_UNKNOWN_STATISTICS) << "never allocated";
    request.qos().stats_id = 0;
    request.qos().token_bucket_id = 0x50;
    EXPECT_EQ(create(request), CARD_ERROR_UNKNOWN_REFERENCE) << "never allocated";
    // One that lets nothing through is a policer.
    Policies policies(1), more(1);
    policies[0].kind = more[0].kind = WYK_HAL_POLICY_POLICER;
    ASSERT_EQ(policies.configure(), 0u) << "rate 0, burst 0";
    request.qos().stats_id = policies.ids(0).stats_id;
    request.qos().token_bucket_id = policies.ids(0).policer_id;
    ASSERT_EQ(create(request), 0u);
    Release release(1);
    release.name_policer(0, policies.ids(0));
    EXPECT_EQ(release.release(), CARD_ERROR_IN_USE) << "an entry uses it";
    EXPECT_EQ(release.status, 0u);
    ASSERT_EQ(more.configure(), 0u);
    EXPECT_NE(more.ids(0).stats_id, policies.ids(0).stats_id);
    EXPECT_EQ(destroy(kQos, PRM_TCAM_CREATE, request.info.vmr_id), 0u);
    EXPECT_EQ(release.release(), 0u);
}

// A port of the card takes classes whatever its number among a processor's local ports, with a default queue
// or without, at any rate.
TEST_F(ClassificationAuditTest, QueuesAndCounters) {
    Classes classes(60);
    classes[0].rate = 0xFFFFFFFF;
    ASSERT_EQ(classes.configure(), 0u);
    EXPECT_EQ(classes.response->status, 0u);
    Count count{9, 9};
    EXPECT_EQ(read_statistics(classes.ids(0).stats_id, &count), 0u);
    EXPECT_EQ(count, Count{});
    card.traffic_manager.count(classes.ids(0).stats_id, 64);
    EXPECT_EQ(read_statistics(classes.ids(0).stats_id, &count), 0u);
    EXPECT_EQ(count, (Count{1, 64})) << "read from the counter";
    EXPECT_EQ(read_statistics(0x04000004 + 4 * 100, &count), CARD_ERROR_UNKNOWN_STATISTICS);
    u32 number = 1, pointer = 0;
    ASSERT_EQ(prm_stats_cl_alloc(client, PRM_STATS_INGRESS, PRM_STATS_CLASS_INTERFACE, 2, &number, &pointer),
              0u);
    EXPECT_EQ(read_statistics(pointer, &count), CARD_ERROR_UNKNOWN_STATISTICS) << "an interface's";
}

}  // namespace
}  // namespace sim
