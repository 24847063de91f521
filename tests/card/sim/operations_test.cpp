// What the table of operations says of each, held against what the simulated card does.
#include <functional>
#include <set>
#include <string>
#include <utility>

#include "card/boundary/operation.h"
#include "prm_srh_span.h"
#include "tests/card/sim/forwarding_requests.h"
#include "tests/card/sim/hal_requests.h"
#include "tests/card/sim/interface_requests.h"
#include "tests/card/sim/l2_requests.h"
#include "tests/card/sim/tcam_request.h"

namespace sim {
namespace {

using card::OperationId;

TEST(OperationsTest, EveryResourceIsAnAccountOfTheSimulatedCard) {
    Accounts accounts;
    for (const card::OperationRow &row : card::kOperations) {
        for (const std::string_view resource : row.resources) {
            EXPECT_NE(accounts.find(resource), nullptr) << row.name << " " << resource;
        }
    }
}

// A card with what the calls below refer to.
class Prepared : public L3Test {
  public:
    void TestBody() override {}

    Prepared() {
        L3Test::SetUp();
        prm_bd_request bridge_domain = vxlan_domain(kBd, 5000);
        EXPECT_EQ(prm_srh_bd_add(client, &bridge_domain), 0u);
        TcamRequest create(PRM_TCAM_FEATURE_ACL, PRM_TCAM_CREATE);
        EXPECT_EQ(zor_vop_prm_tcam_vmr_create(client, &create.info), 0u);
        tcam = create.info.vmr_id;
        uidb_create_msg bundle = create_message(kBundle, UIDB_IFTYPE_BUNDLE_MAIN, 0, 0);
        EXPECT_EQ(uidb_create_interface(0, &bundle), 0u);
        EXPECT_EQ(set_features(kBundle, {feature(UIDB_FEATURE_LAG_ID, kBundleId)}), 0u);
    }

    template <typename Record>
    u32 send(prm_status_t (*operation)(prm_handle_t, Record *), Record record) {
        return operation(client, &record);
    }

    Account &own_account(OperationId id) { return *card.accounts.find(card::row(id).resources[0]); }

    static constexpr u32 kBd = 100, kBundle = 0x8009000;
    static constexpr u8 kBundleId = 21;
    u64 tcam = 0;

    using CardTest::card;
    using CardTest::client;
    using CardTest::evm;
};

struct Adding {
    OperationId id;
    std::function<u32(Prepared &)> call;  // by a request that takes one of the operation's own resource
};

template <auto operation>
u32 reserve_one(Prepared &p) {
    return p.send(operation, reservation(PRM_OWNER, 1));
}

const Adding kAdding[] = {
    {OperationId::event_manager_create,
     [](Prepared &) { return event_manager_create(0, 0, 14, 0) != nullptr ? 0 : CARD_ERROR_TABLE_FULL; }},
    {OperationId::prm_mgr_open,
     [](Prepared &p) {
         prm_handle_t connection;
         return prm_mgr_open(p.evm, 0, "another", ignore_notification, 7, 0, &connection);
     }},
    {OperationId::prm_srh_register,
     [](Prepared &p) {
         prm_handle_t client;
         return prm_srh_register(&client, 1, p.evm, ignore_notification);
     }},
    {OperationId::prm_stats_cl_alloc,
     [](Prepared &p) {
         u32 count = 1, pointer;
         return prm_stats_cl_alloc(p.client, PRM_STATS_INGRESS, PRM_STATS_CLASS_MPLS, 2, &count, &pointer);
     }},
    {OperationId::prm_srh_nr_ldi_add, [](Prepared &p) { return p.send(prm_srh_nr_ldi_add, ldi(64)); }},
    {OperationId::prm_srh_nr_ldi_buddy_reserve, reserve_one<prm_srh_nr_ldi_buddy_reserve>},
    {OperationId::prm_srh_tx_adj_add, [](Prepared &p) { return p.send(prm_srh_tx_adj_add, adjacency(7)); }},
    {OperationId::prm_srh_tx_adj_buddy_reserve, reserve_one<prm_srh_tx_adj_buddy_reserve>},
    {OperationId::prm_srh_l3_intf_buddy_reserve, reserve_one<prm_srh_l3_intf_buddy_reserve>},
    {OperationId::prm_srh_mpls_leaf_buddy_reserve, reserve_one<prm_srh_mpls_leaf_buddy_reserve>},
    {OperationId::zor_vop_prm_srh_label_ufib_add,
     [](Prepared &p) { return p.send(zor_vop_prm_srh_label_ufib_add, pop_lookup_label(5, true)); }},
    {OperationId::zor_vop_prm_srh_ip_leaf_reserve, reserve_one<zor_vop_prm_srh_ip_leaf_reserve>},
    {OperationId::zor_vop_prm_srh_ipv4_leaf_add,
     [](Prepared &p) { return p.send(zor_vop_prm_srh_ipv4_leaf_add, ipv4_leaf(1)); }},
    {OperationId::zor_vop_prm_srh_ipv6_leaf_add,
     [](Prepared &p) { return p.send(zor_vop_prm_srh_ipv6_leaf_add, ipv6_leaf(0x20, 1)); }},
    {OperationId::prm_srh_lpts_add, [](Prepared &p) { return p.send(prm_srh_lpts_add, lpts_add_request()); }},
    {OperationId::prm_srh_xid_add,
     [](Prepared &p) { return p.send(prm_srh_xid_add, member(Prepared::kBd, 41)); }},
    {OperationId::prm_srh_bd_add, [](Prepared &p) { return p.send(prm_srh_bd_add, domain(7)); }},
    {OperationId::prm_srh_l2_ecmp_add, [](Prepared &p) { return p.send(prm_srh_l2_ecmp_add, vplag(1)); }},
    {OperationId::prm_srh_vplag_buddy_reserve, reserve_one<prm_srh_vplag_buddy_reserve>},
    {OperationId::prm_srh_fpem_shg_df_entry_add,
     [](Prepared &p) { return p.send(prm_srh_fpem_shg_df_entry_add, forwarder(1, kMainA, 1)); }},
    {OperationId::prm_srh_evpn_mac_install_add,
     [](Prepared &p) { return p.send(prm_srh_evpn_mac_install_add, mac(Prepared::kBd, 1)); }},
    {OperationId::prm_srh_vxlan_ole_add,
     [](Prepared &p) { return p.send(prm_srh_vxlan_ole_add, overlay(Prepared::kBd, kFarVtep)); }},
    {OperationId::prm_srh_span_fwd_add,
     [](Prepared &p) { return p.send(prm_srh_span_fwd_add, prm_span_request{}); }},
    {OperationId::zor_vop_prm_tcam_vmr_create,
     [](Prepared &p) {
         TcamRequest request(PRM_TCAM_FEATURE_ACL, PRM_TCAM_CREATE);
         return zor_vop_prm_tcam_vmr_create(p.client, &request.info);
     }},
    {OperationId::zor_vop_prm_tcam_vmr_insert,
     [](Prepared &p) {
         TcamRequest request(PRM_TCAM_FEATURE_ACL, PRM_TCAM_INSERT, p.tcam, 1);
         return zor_vop_prm_tcam_vmr_insert(p.client, &request.info);
     }},
    {OperationId::zor_vop_prm_tcam_vmr_stats_alloc,
     [](Prepared &p) {
         prm_info info = {};
         info.opcode = PRM_TCAM_STATS_ALLOC;
         return zor_vop_prm_tcam_vmr_stats_alloc(p.client, &info);
     }},
    {OperationId::uidb_create_interface_batch,
     [](Prepared &) {
         uidb_create_msg message = create_message(0x8002010, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 5);
         return uidb_create_interface_batch(0, &message, 1);
     }},
    {OperationId::uidb_create_interface,
     [](Prepared &) {
         uidb_create_msg message = create_message(0x8002010, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 5);
         return uidb_create_interface(0, &message);
     }},
    {OperationId::uidb_set_feature,
     [](Prepared &) { return set_features(kMainA, {feature(UIDB_FEATURE_VRF, 1)}); }},
    {OperationId::uidb_set_feature_batch,
     [](Prepared &) {
         uidb_feature_batch_of<1> batch = {};
         batch.head.nr_entries = 1;
         batch.head.entries_len = sizeof batch.entries;
         batch.entries[0].if_handle = kMainA;
         batch.entries[0].feature = feature(UIDB_FEATURE_VRF, 1);
         return uidb_set_feature_batch(0, &batch.head);
     }},
    {OperationId::uidb_set_port_feature,
     [](Prepared &) {
         uidb_port_feature record = {};
         record.port = 9;  // kBundleIfh's
         record.feature_id = UIDB_PORT_FEATURE_SOURCE_MAC;
         record.enable = 1;
         return uidb_set_port_feature(0, &record);
     }},
    {OperationId::uidb_update_lag,
     [](Prepared &) {
         uidb_lag_update update = {};
         update.lag_id = Prepared::kBundleId;
         update.lag_op = UIDB_LAG_CREATE;
         const u32 status = uidb_update_lag(0, &update);
         return status != 0 ? status : update.lag_status;
     }},
    {OperationId::wyk_hal_wrapper_engine_op,
     [](Prepared &) {
         wyk_hal_default_queue request = {};
         wyk_hal_default_queue_response response = {};
         return wyk_hal_wrapper_engine_op(WYK_HAL_DEFAULT_QUEUE_ALLOCATE, &request, &response);
     }},
    {OperationId::wyk_hal_wrapper_config_policy_in_tm, [](Prepared &) { return Policies(1).configure(); }},
};

TEST(OperationsTest, AnAddChargesTheResourceThatItsRowNamesFirst) {
    for (const Adding &adding : kAdding) {
        Prepared prepared;
        const u32 before = prepared.own_account(adding.id).used;
        EXPECT_EQ(adding.call(prepared), 0u) << card::row(adding.id).name;
        EXPECT_EQ(prepared.own_account(adding.id).used, before + 1) << card::row(adding.id).name;
    }
}

TEST(OperationsTest, AnAddIsRefusedWhenTheResourceThatItsRowNamesFirstIsFullAndTakesNothing) {
    for (const Adding &adding : kAdding) {
        Prepared prepared;
        prepared.own_account(adding.id).limit = prepared.own_account(adding.id).used;
        const Accounts before = prepared.card.accounts;
        EXPECT_THAT(adding.call(prepared), ::testing::AnyOf(CARD_ERROR_TABLE_FULL, CARD_ERROR_POOL_EXHAUSTED))
            << card::row(adding.id).name;
        for (size_t i = 0; i < std::size(before.rows); ++i) {
            EXPECT_EQ(prepared.card.accounts.rows[i].account.used, before.rows[i].account.used)
                << card::row(adding.id).name << " keeps " << before.rows[i].name;
        }
    }
}

// What has no add of its own: the rows of those that change, delete or read name what an add charges.
TEST(OperationsTest, EveryRowNamesFirstWhatAnAddOfItsFamilyCharges) {
    std::set<std::pair<std::string_view, std::string_view>> charged;
    for (const Adding &adding : kAdding) {
        const card::OperationRow &row = card::row(adding.id);
        for (const std::string_view resource : row.resources) charged.insert({row.family, resource});
    }
    for (const card::OperationRow &row : card::kOperations) {
        if (!row.resources.empty()) {
            EXPECT_TRUE(charged.contains({row.family, row.resources[0]})) << row.name;
        }
    }
}

}  // namespace
}  // namespace sim
