// Layer-2, mirror and interface operations given any bytes at all: none crashes or loses count of what it
// keeps.
#include <cstring>
#include <random>
#include <vector>

#include "prm_srh_l2.h"
#include "prm_srh_span.h"
#include "tests/card/sim/card_test.h"

namespace sim {
namespace {

// Bytes that are often near what an operation expects: its fields are small numbers, known handles, all ones.
class Bytes {
  public:
    explicit Bytes(unsigned seed) : random_(seed) {}

    u32 word() {
        static constexpr u32 kLikely[] = {0,   1,   2,   3,    4,      5,          6,          7,
                                          8,   10,  12,  41,   42,     43,         100,        144,
                                          188, 9,   21,  4064, kMainA, kMainB,     kL2Sub,     kL3Sub,
                                          52,  60,  104, 455,  638,    162,        156,        314,
                                          332, 515, 517, 4095, 0xFFFF, 0x7FFFFFFF, 0x80000001, 0xFFFFFFFF};
        return random_() % 4 == 0 ? static_cast<u32>(random_()) : kLikely[random_() % std::size(kLikely)];
    }
    u32 below(u32 end) { return static_cast<u32>(random_() % end); }

    // Fills a record, word by word or, at times, at an odd place.
    template <typename Record>
    void fill(Record *record) {
        u8 *const bytes = reinterpret_cast<u8 *>(record);
        std::memset(bytes, 0, sizeof *record);
        const u32 places = below(24);
        for (u32 i = 0; i < places; ++i) {
            const u32 value = word();
            const size_t at = below(sizeof *record - sizeof value + 1) & (below(4) == 0 ? ~0u : ~3u);
            std::memcpy(bytes + at, &value, sizeof value);
        }
    }

  private:
    std::mt19937 random_;
};

class RobustnessTest : public CardTest {
  protected:
    // What the tables hold is what the accounts say.
    void expect_accounts_agree() {
        EXPECT_EQ(used(Resource::interface), card.interfaces.table.size());
        EXPECT_EQ(used(Resource::bundle), card.interfaces.bundles.size());
        EXPECT_EQ(used(Resource::circuit), card.l2.circuits.size());
        EXPECT_EQ(used(Resource::pseudowire), card.l2.pseudowires.size());
        EXPECT_EQ(used(Resource::bridge_domain), card.l2.bridge_domains.size());
        EXPECT_EQ(used(Resource::evpn_mac), card.evpn.macs.size());
        EXPECT_EQ(used(Resource::overlay), card.evpn.overlays.size());
        EXPECT_EQ(used(Resource::mirror_source), card.span.sources.size());
        u32 features = 0;
        card.interfaces.table.for_each([&](u32, const Interface &interface, u32) {
            features += static_cast<u32>(__builtin_popcount(interface.features));
        });
        for (const auto &[handle, ports] : card.interfaces.subif_ports)
            features += static_cast<u32>(ports.count());
        EXPECT_EQ(used(Resource::feature), features);
    }

    // Every reference that an entry holds is counted where it points, and no other is.
    void expect_references_agree() {
        absl::flat_hash_map<u32, u32> domains, interfaces;
        card.l2.circuits.for_each([&](CircuitKey, const Circuit &circuit, u32) {
            if (circuit.service == Service::BRIDGE_DOMAIN) ++domains[circuit.service_id];
            ++interfaces[card.interfaces.handle_of_uidb(circuit.uidb)];
            if (circuit.service == Service::LOCAL_SWITCHING && circuit.service_id != 0) {
                const Circuit *const other =
                    card.l2.circuits.find(circuit_on(static_cast<u16>(circuit.service_id)));
                ASSERT_NE(other, nullptr);
                EXPECT_EQ(other->service, Service::LOCAL_SWITCHING);
                EXPECT_EQ(other->service_id, circuit.uidb);
            }
        });
        absl::flat_hash_map<u32, u32> overlays, vsps;
        card.l2.circuits.for_each([&](CircuitKey key, const Circuit &circuit, u32) {
            if (!is_vsp(key)) return;
            ++vsps[circuit.uidb];
            EXPECT_EQ(circuit.service_id, card.l2.vsp_circuits.at(circuit.uidb).bd_id);
        });
        EXPECT_EQ(vsps.size(), card.l2.vsp_circuits.size());
        for (const auto &[uidb, its] : card.l2.vsp_circuits) EXPECT_EQ(its.count, vsps[uidb]);
        card.evpn.macs.for_each([&](const EvpnMacKey &key, const EvpnMac &, u32) { ++overlays[key.bd_id]; });
        card.evpn.overlays.for_each(
            [&](u64 key, const Overlay &, u32) { ++overlays[static_cast<u32>(key >> 32)]; });
        for (const auto &[id, count] : overlays) domains[id] += count;
        u32 vnis = 0;
        card.l2.bridge_domains.for_each([&](u32 id, const BridgeDomain &domain, u32) {
            EXPECT_EQ(domain.overlays, overlays[id]);
            EXPECT_TRUE(domain.overlays == 0 || domain.vni != 0);
            if (domain.vni == 0) return;
            ++vnis;
            EXPECT_EQ(card.l2.domain_of_vni.at(domain.vni), id);
        });
        EXPECT_EQ(vnis, card.l2.domain_of_vni.size());
        card.evpn.shg_dfs.for_each(
            [&](const ShgDfKey &key, const ShgDf &, u32) { ++interfaces[key.if_handle]; });
        card.span.sources.for_each(
            [&](u64 key, const MirrorSource &, u32) { ++interfaces[static_cast<u32>(key >> 16)]; });
        card.l2.bridge_domains.for_each(
            [&](u32 id, const BridgeDomain &, u32 users) { EXPECT_EQ(users, domains[id]) << id; });
        card.interfaces.table.for_each([&](u32 handle, const Interface &, u32 users) {
            EXPECT_EQ(users, interfaces[handle]) << handle;
        });
    }
};

template <typename Record>
void call(Bytes &bytes, prm_handle_t client, prm_status_t (*operation)(prm_handle_t, Record *)) {
    Record record;
    bytes.fill(&record);
    if constexpr (!std::is_same_v<Record, prm_span_request> && !std::is_same_v<Record, prm_buddy_reserve>) {
        if (bytes.below(8) != 0) record.kind = std::is_same_v<Record, prm_vxlan_ole_request> ? 0 : 10;
    }
    if constexpr (std::is_same_v<Record, prm_xid_request>) {
        if (bytes.below(4) != 0) {
            const bool member = bytes.below(2) == 0;
            record.xid_type = member ? u32{PRM_XID_TYPE_CIRCUIT} : 0;
            record.object_code = member ? u32{PRM_L2_OBJECT_CIRCUIT} : 0;
            record.xid_kind = member ? u32{PRM_XID_KIND_AC} : 0;
            record.option = 0;
            record.bd_id = bytes.below(4);
            record.segment1_key = 40 + bytes.below(4);
            record.segment2_key = 40 + bytes.below(4);
        }
    }
    if constexpr (std::is_same_v<Record, prm_bd_request>) {
        if (bytes.below(4) != 0) {
            record.xid_type = PRM_XID_TYPE_BRIDGE_DOMAIN;
            record.object_code = PRM_L2_OBJECT_BRIDGE_DOMAIN;
            if (bytes.below(2) == 0) {
                record.flags74 = PRM_BD_74_VXLAN;
                record.vni_low = static_cast<u16>(bytes.below(6));
                record.source_vtep = 1 + bytes.below(3);
            }
            record.bd_id = bytes.below(4);
        }
    }
    if constexpr (std::is_same_v<Record, prm_evpn_mac_request>) {
        record.xid_type = PRM_XID_TYPE_CIRCUIT;
        record.entry.bd_id = bytes.below(4);
        record.entry.mac[0] = static_cast<u8>(bytes.below(4));
    }
    if constexpr (std::is_same_v<Record, prm_vxlan_ole_request>) record.bd_id = bytes.below(4);
    operation(client, &record);
}

TEST_F(RobustnessTest, ArbitraryLayer2AndMirrorRequestsKeepTheBooks) {
    Bytes bytes(1);
    for (int i = 0; i < 20000; ++i) {
        switch (bytes.below(17)) {
            case 0:
                call(bytes, client, prm_srh_xid_add);
                break;
            case 1:
                call(bytes, client, prm_srh_xid_mod);
                break;
            case 2:
                call(bytes, client, prm_srh_xid_del);
                break;
            case 3:
                call(bytes, client, prm_srh_bd_add);
                break;
            case 4:
                call(bytes, client, prm_srh_bd_mod);
                break;
            case 5:
                call(bytes, client, prm_srh_bd_del);
                break;
            case 6:
                call(bytes, client, prm_srh_l2_ecmp_add);
                break;
            case 7:
                call(bytes, client, prm_srh_l2_ecmp_mod);
                break;
            case 8:
                call(bytes, client, prm_srh_l2_ecmp_del);
                break;
            case 9:
                call(bytes, client, prm_srh_evpn_mac_install_add);
                break;
            case 10:
                call(bytes, client, prm_srh_evpn_mac_install_del);
                break;
            case 11:
                call(bytes, client, prm_srh_vxlan_ole_add);
                break;
            case 12:
                call(bytes, client, prm_srh_vxlan_ole_del);
                break;
            case 13:
                call(bytes, client, prm_srh_fpem_shg_df_entry_add);
                break;
            case 14:
                call(bytes, client, prm_srh_span_fwd_add);
                break;
            case 15:
                call(bytes, client, prm_srh_span_fwd_del);
                break;
            default:
                call(bytes, client, prm_srh_vplag_buddy_reserve);
                break;
        }
    }
    expect_accounts_agree();
    expect_references_agree();
    EXPECT_GT(used(Resource::circuit), 0u) << "some requests must have been good ones";
    EXPECT_GT(used(Resource::evpn_mac), 0u);
}

TEST_F(RobustnessTest, ArbitraryInterfaceRequestsKeepTheBooks) {
    Bytes bytes(2);
    std::vector<u8> block(sizeof(uidb_client_data) + 0xFFFF);
    for (int i = 0; i < 20000; ++i) {
        switch (bytes.below(6)) {
            case 0: {
                uidb_create_msg messages[3];
                for (uidb_create_msg &message : messages) {
                    bytes.fill(&message);
                    message.if_handle = 0x8003000 + bytes.below(8);
                    message.iftype = bytes.below(8);
                    message.parent_ifh = bytes.below(2) == 0 ? kMainA : bytes.word();
                }
                uidb_create_interface_batch(0, messages, bytes.below(4));
                break;
            }
            case 1:
                uidb_delete_interface(0, bytes.below(2) == 0 ? 0x8003000 + bytes.below(8) : bytes.word());
                break;
            case 2: {
                auto *const message = reinterpret_cast<uidb_client_data *>(block.data());
                const u32 count = bytes.below(9);
                for (u32 n = 0; n < count; ++n) {
                    uidb_feature record;
                    bytes.fill(&record);
                    record.feature_id = bytes.word();
                    record.value = bytes.word();
                    record.qualifier = static_cast<u16>(bytes.below(3));
                    std::memcpy(block.data() + sizeof *message + n * sizeof record, &record, sizeof record);
                }
                message->if_handle = bytes.below(2) == 0 ? 0x8003000 + bytes.below(8) : bytes.word();
                message->nr_features = static_cast<u16>(bytes.below(16) == 0 ? bytes.word() : count);
                message->features_len = static_cast<u16>(message->nr_features * sizeof(uidb_feature));
                uidb_set_feature(0, message);
                break;
            }
            case 3: {
                uidb_feature_batch_of<3> batch;
                bytes.fill(&batch);
                batch.head.nr_entries = 3;
                batch.head.entries_len = bytes.below(8) == 0 ? bytes.word() : 180;
                for (uidb_batch_entry &entry : batch.entries) entry.if_handle = 0x8003000 + bytes.below(8);
                uidb_set_feature_batch(0, &batch.head);
                break;
            }
            case 4: {
                uidb_port_feature record;
                bytes.fill(&record);
                uidb_set_port_feature(0, &record);
                break;
            }
            default: {
                uidb_lag_update update;
                bytes.fill(&update);
                update.lag_id = static_cast<u8>(bytes.below(12));
                update.lag_op = bytes.below(6);
                uidb_update_lag(0, &update);
            }
        }
    }
    expect_accounts_agree();
    expect_references_agree();
}

}  // namespace
}  // namespace sim
