// A refused request changes nothing, and a granted one contradicts nothing: whatever a layer-2, mirroring,
// TCAM or traffic-manager request says, the whole state is the same after its refusal as before, and what is
// to hold among the entries holds.
#include <sys/mman.h>
#include <unistd.h>

#include <functional>
#include <random>

#include "card/state/state.h"
#include "prm_srh_span.h"
#include "tests/card/sim/card_test.h"
#include "tests/card/sim/hal_requests.h"
#include "tests/card/sim/interface_requests.h"
#include "tests/card/sim/l2_requests.h"
#include "tests/card/sim/tcam_request.h"
#include "tests/card/suite/relations.h"

namespace sim {
namespace {

// Requests that make sense by themselves, about so few things that many of them contradict each other.
class RefusalTest : public CardTest {
  protected:
    std::string state() {
        const int fd = memfd_create("state", 0);
        EXPECT_GE(fd, 0);
        card::JsonWriter json(fd);
        card::write_state(card, {}, json);
        EXPECT_TRUE(json.finish());
        std::string text(static_cast<size_t>(lseek(fd, 0, SEEK_END)), '\0');
        EXPECT_EQ(pread(fd, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
        close(fd);
        return text;
    }

    u32 below(u32 end) { return static_cast<u32>(random_() % end); }
    template <typename Operation>
    Operation one_of(std::initializer_list<Operation> operations) {
        return operations.begin()[below(static_cast<u32>(operations.size()))];
    }
    template <typename Record>
    u32 send(std::initializer_list<prm_status_t (*)(prm_handle_t, Record *)> operations, Record record) {
        return one_of(operations)(client, &record);
    }

    u32 domain_request() {
        prm_bd_request request = domain(below(3));
        if (below(3) != 0) request = vxlan_domain(below(3), below(3), 1 + below(3));
        request.flags73 = below(2) == 0 ? u8{PRM_BD_73_BVI} : u8{0};
        return send({prm_srh_bd_add, prm_srh_bd_add, prm_srh_bd_mod, prm_srh_bd_del}, request);
    }
    u32 circuit_request() {
        const u32 uidb = 40 + below(4), other = 40 + below(4), bd = below(3);
        const prm_xid_request requests[] = {member(bd, uidb), vsp(bd, below(3), uidb), local(uidb, other),
                                            member(bd, 4064, PRM_XID_KIND_BVI),
                                            pseudowire(1 + below(2), uidb, 600 + below(2), 700)};
        return send({prm_srh_xid_add, prm_srh_xid_add, prm_srh_xid_mod, prm_srh_xid_del},
                    requests[below(std::size(requests))]);
    }
    u32 overlay_request() {
        switch (below(4)) {
            case 0:
                return send({prm_srh_vxlan_ole_add, prm_srh_vxlan_ole_mod, prm_srh_vxlan_ole_del},
                            overlay(below(3), 1 + below(3), below(2)));
            case 1:
                return send({prm_srh_evpn_mac_install_add, prm_srh_evpn_mac_install_del},
                            mac(below(3), static_cast<u8>(below(3))));
            case 2:
                return send({prm_srh_fpem_shg_df_entry_add, prm_srh_fpem_shg_df_entry_del},
                            forwarder(below(2), kMainA + below(2), below(3)));
            default:
                return send({prm_srh_l2_ecmp_add, prm_srh_l2_ecmp_mod, prm_srh_l2_ecmp_del},
                            vplag(below(3), below(18)));
        }
    }
    u32 mirror_request() {
        if (below(2) == 0) {
            const u32 value = below(5) | (below(3) == 0 ? u32{UIDB_SPAN_SOURCE_REMOVE} : 0);
            const u32 handle = one_of({kMainA, kMainB, kBundleIfh, kL2Sub, kL3Sub});
            return set_features(handle,
                                {feature(UIDB_FEATURE_SPAN_SOURCE, value, static_cast<u16>(below(4)))});
        }
        prm_span_request request = {};
        request.session_id = below(5);
        request.dest_port = 4 + below(4);
        return send({prm_srh_span_fwd_add, prm_srh_span_fwd_add, prm_srh_span_fwd_del}, request);
    }
    u32 tcam_request() {
        static constexpr u32 kOpcodes[] = {PRM_TCAM_CREATE, PRM_TCAM_INSERT, PRM_TCAM_DELETE,
                                           PRM_TCAM_DESTROY};
        const u32 i = below(4), feature = below(2) * PRM_TCAM_FEATURE_QOS;
        TcamRequest request(feature, kOpcodes[i], below(4) == 0 ? 1 : latest_[feature != 0],
                            static_cast<u16>(below(3)), static_cast<u16>(1 + below(2)));
        const u32 last = request.info.nr_entries - 1;
        if (feature == PRM_TCAM_FEATURE_ACL) {
            request.acl(last).stats_id = below(3);
        } else if (below(2) == 0) {
            request.qos(last).stats_id = 0x01000000 + 4 * (64 + below(3));
            request.qos(last).token_bucket_id = 64 + below(3);
        }
        const decltype(&zor_vop_prm_tcam_vmr_create) calls[] = {
            zor_vop_prm_tcam_vmr_create, zor_vop_prm_tcam_vmr_insert, zor_vop_prm_tcam_vmr_delete,
            zor_vop_prm_tcam_vmr_destroy};
        const u32 status = calls[i](client, &request.info);
        if (status == 0 && i == 0) latest_[feature != 0] = request.info.vmr_id;
        return status;
    }
    u32 acl_statistics_request() {
        prm_info info = {};
        info.stats_id = below(4);
        info.opcode = below(2) == 0 ? u32{PRM_TCAM_STATS_ALLOC} : u32{PRM_TCAM_STATS_DEALLOC};
        return info.opcode == PRM_TCAM_STATS_ALLOC ? zor_vop_prm_tcam_vmr_stats_alloc(client, &info)
                                                   : zor_vop_prm_tcam_vmr_stats_dealloc(client, &info);
    }
    u32 policy_request() {
        Policies policies(1 + below(2));
        for (u32 i = 0; i < policies.request->count; ++i)
            policies[i].kind = one_of<u16>({WYK_HAL_POLICY_COUNTER, WYK_HAL_POLICY_POLICER, 1});
        const u32 status = policies.configure();
        if (status == 0)
            for (u32 i = 0; i < policies.request->count; ++i) granted_.push_back(policies.ids(i));
        return status;
    }
    u32 classes_request() {
        Classes classes(below(3));
        classes.request->count = 1 + below(8);
        classes[0].qos_group = static_cast<u16>(below(9));
        const u32 status = classes.configure();
        return status != 0 ? status : u32{classes.response->status};
    }
    u32 release_request() {
        Release release(1 + below(3));
        for (u32 i = 0; i < release.request->count; ++i) {
            wyk_hal_ids ids = {};  // of a policy that was granted, and may be gone
            if (!granted_.empty())
                ids = granted_[granted_.size() - 1 -
                               below(static_cast<u32>(std::min<size_t>(granted_.size(), 6)))];
            switch (below(3)) {
                case 0:
                    release.name_queue(i, below(3));
                    break;
                case 1:
                    release.name_policer(i, ids);
                    break;
                default:
                    release.name_counter(i, ids);
            }
        }
        return release.release();
    }
    u32 default_queue_request() {
        const wyk_hal_default_queue request = {.port_index = below(2), .word4 = 1, .word8 = 1 + below(3)};
        wyk_hal_default_queue request_copy = request;
        wyk_hal_default_queue_response response = {};
        return wyk_hal_wrapper_engine_op(
            one_of<u32>({WYK_HAL_DEFAULT_QUEUE_ALLOCATE, WYK_HAL_DEFAULT_QUEUE_RELEASE}), &request_copy,
            &response);
    }

  private:
    std::mt19937 random_{11};
    u64 latest_[2] = {};  // TCAM of each feature
    std::vector<wyk_hal_ids> granted_;
};

TEST_F(RefusalTest, LeavesTheWholeStateAsItWasAndRelationsHold) {
    // Some are refused for want of room, too.
    card.accounts[Resource::circuit].limit = 3;
    card.accounts[Resource::mirror_source].limit = 3;
    card.accounts[Resource::tcam_entry].limit = 6;
    card.accounts[Resource::policy].limit = 4;
    card.accounts[Resource::queue].limit = 12;
    uidb_create_msg bvi = create_message(0x800004C, UIDB_IFTYPE_BVI, 0, 0);
    ASSERT_EQ(uidb_create_interface(0, &bvi), 0u);
    prm_tx_adj adjacency = {};
    adjacency.adj_flags2 = PRM_TX_ADJ_EOMPLS;
    adjacency.nh_idx = 500;
    adjacency.nh_idx2 = 600;
    adjacency.tunnel_if = 700;
    ASSERT_EQ(prm_srh_tx_adj_add(client, &adjacency), 0u);

    struct Kind {
        const char *what;
        std::function<u32()> request;
        u32 granted = 0, refused = 0;
    };
    Kind kinds[] = {
        {"bridge domain", [&] { return domain_request(); }},
        {"circuit", [&] { return circuit_request(); }},
        {"overlay", [&] { return overlay_request(); }},
        {"mirror", [&] { return mirror_request(); }},
        {"TCAM", [&] { return tcam_request(); }},
        {"ACL statistics", [&] { return acl_statistics_request(); }},
        {"policy", [&] { return policy_request(); }},
        {"classes", [&] { return classes_request(); }},
        {"release", [&] { return release_request(); }},
        {"default queue", [&] { return default_queue_request(); }},
    };
    std::string before = state();
    for (int i = 0; i < 2000; ++i) {
        Kind &kind = kinds[below(std::size(kinds))];
        const u32 status = kind.request();
        std::string after = state();
        if (status == 0) {
            ++kind.granted;
        } else {
            ++kind.refused;
            ASSERT_EQ(after, before) << kind.what << " refused as " << card::code_text(status);
        }
        before = std::move(after);
        for (const relations::Relation &relation : relations::of_layer2())
            ASSERT_EQ(relation.broken_by(card), "")
                << relation.name << ", after a request of a " << kind.what;
    }
    for (const Kind &kind : kinds) {
        EXPECT_GT(kind.granted, 10u) << kind.what;
        EXPECT_GT(kind.refused, 10u) << kind.what;
    }
}

}  // namespace
}  // namespace sim
