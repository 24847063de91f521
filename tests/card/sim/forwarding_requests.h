// Valid requests of the layer-3 families, and a fixture that sends them.
#ifndef TESTS_CARD_SIM_FORWARDING_REQUESTS_H
#define TESTS_CARD_SIM_FORWARDING_REQUESTS_H

#include <cstring>

#include "prm_srh_mpls_leaf.h"
#include "tests/card/sim/card_test.h"

namespace sim {

inline prm_buddy_reserve reservation(u32 owner, u32 count) {
    prm_buddy_reserve request = {};
    request.owner = owner;
    request.count = count;
    return request;
}

inline prm_nr_ldi ldi(u32 pointer, u32 nh = 100005) {
    prm_nr_ldi record = {};
    record.owner = PRM_OWNER;
    record.ldi_kind = PRM_NR_LDI_KIND;
    record.ldi_ptr = pointer;
    record.path_len = PRM_NR_LDI_WORDS_LEN;
    record.words.nh_idx = nh;
    record.ldi_valid = 1;
    return record;
}

inline prm_nr_ldi swap_ldi(u32 pointer, u32 nh, u32 mpls_nh) {
    prm_nr_ldi record = {};
    record.owner = PRM_OWNER;
    record.ldi_kind = PRM_NR_LDI_KIND;
    record.ldi_ptr = pointer;
    record.path_len = PRM_NR_LDI_BLOCK_LEN;
    record.block.flags = 3;
    record.block.label0 = 55002;
    record.block.label1 = 55003;
    record.block.nh_idx = nh;
    record.block.mpls_nh_idx = mpls_nh;
    return record;
}

inline prm_tx_adj adjacency(u32 nh) {
    prm_tx_adj record = {};
    record.adj_flags0 = PRM_TX_ADJ_NORMAL;
    record.uidb = 10;
    record.dmac[2] = 0xB0;
    record.nh_idx = nh;
    return record;
}

inline prm_tx_adj label_adjacency(u32 nh, u32 mpls_nh) {
    prm_tx_adj record = adjacency(nh);
    record.adj_flags2 = PRM_TX_ADJ_LABELS;
    record.nh_idx2 = mpls_nh;
    record.label0 = 55002;
    record.label1 = 55003;
    return record;
}

inline prm_tx_adj eompls_adjacency(u32 nh, u32 tunnel) {
    prm_tx_adj record = adjacency(100030);
    record.adj_flags2 = PRM_TX_ADJ_EOMPLS;
    record.adj_flags3 = PRM_TX_ADJ_OPTION2;
    record.nh_idx2 = nh;
    record.label0 = 24006;
    record.label2 = 24002;
    record.tunnel_if = tunnel;
    return record;
}

inline prm_tx_adj adjacency_delete(u32 nh) {
    prm_tx_adj record = {};
    record.adj_flags2 = PRM_TX_ADJ_DELETE;
    record.nh_idx = record.nh_idx2 = nh;
    return record;
}

inline prm_tx_adj eompls_delete(u32 nh, u32 tunnel) {
    prm_tx_adj record = {};
    record.adj_flags2 = PRM_TX_ADJ_EOMPLS_DELETE;
    record.adj_flags3 = PRM_TX_ADJ_OPTION1 | PRM_TX_ADJ_OPTION2;
    record.nh_idx2 = nh;
    record.tunnel_if = tunnel;
    return record;
}

inline zor_leaf_request ipv4_leaf(u32 address, u32 length = 32, u16 vrf = 0) {
    zor_leaf_request request = {};
    request.owner = PRM_OWNER;
    request.vrf_id = vrf;
    request.key_len = ZOR_LEAF_IPV4_KEY_LEN;
    request.ipv4.address = address;
    request.ipv4.vrf = vrf;
    request.prefix_len = length;
    request.item1_len = request.item2_len = ZOR_LEAF_ITEM_LEN;
    request.item1 = request.item2 = ZOR_LEAF_ITEM;
    request.payload_len = sizeof request.payload;
    request.payload.flags0 = ZOR_LEAF_DIRECT;
    return request;
}

inline zor_leaf_request ipv6_leaf(u8 first, u8 last, u32 length = 128, u16 vrf = 0) {
    zor_leaf_request request = {};
    request.owner = PRM_OWNER;
    request.vrf_id = vrf;
    request.key_len = ZOR_LEAF_IPV6_KEY_LEN;
    request.ipv6[0] = first;
    request.ipv6[15] = last;
    request.prefix_len = length;
    request.item1_len = request.item2_len = ZOR_LEAF_ITEM_LEN;
    request.payload_len = sizeof request.payload;
    request.payload.flags0 = ZOR_LEAF_DIRECT;
    request.payload.v6_prefix_len = static_cast<u8>(length);
    return request;
}

inline zor_leaf_request pointing_at(zor_leaf_request request, u32 pointer) {
    request.payload.flags0 = ZOR_LEAF_LDI;
    request.payload.ldi_ptr = pointer;
    return request;
}

inline zor_leaf_request recursive(zor_leaf_request request, u32 nh, u32 mpls_nh) {
    request.payload.flags1 = ZOR_LEAF_RECURSIVE;
    request.payload.ldi_ptr = nh;
    request.payload.ldi_ptr2 = mpls_nh;
    return request;
}

inline zor_label_request pop_lookup_label(u32 label, bool eos) {
    zor_label_request request = {};
    request.owner = PRM_OWNER;
    request.key_len = ZOR_LABEL_KEY_LEN;
    request.key.label = label;
    request.key.eos = eos;
    request.payload_len = sizeof request.payload;
    request.payload.flags1 = ZOR_LABEL_ALWAYS;
    request.payload.flags2 = ZOR_LABEL_POP_LOOKUP;
    request.payload.flags3 = eos ? ZOR_LABEL_EOS : 0;
    return request;
}

inline zor_label_request ldi_label(u32 label, bool eos, u32 pointer, u32 leaf_index = 0) {
    zor_label_request request = pop_lookup_label(label, eos);
    request.payload.flags0 = ZOR_LABEL_NR_LDI;
    request.payload.flags2 = 0;
    if (eos) {
        request.payload.label_ptr_eos1 = pointer;
    } else {
        request.payload.label_ptr_eos0 = pointer;
    }
    request.payload.leaf_hw_idx = leaf_index;
    return request;
}

inline zor_label_request label_delete(u32 label) {
    zor_label_request request = {};
    request.owner = PRM_OWNER;
    request.key_len = ZOR_LABEL_DELETE_KEY_LEN;
    request.key.label = label;
    return request;
}

inline prm_lpts_request lpts_add_request() {
    prm_lpts_request request = {};
    request.owner = PRM_OWNER;
    request.data_len = sizeof request.entry;
    request.entry.lpts_type = PRM_LPTS_TYPE;
    request.entry.lpts_mask0 = request.entry.lpts_mask1 = PRM_LPTS_MASK_ALL;
    request.entry.lpts_valid = 1;
    request.entry.l3_proto = PRM_LPTS_PROTO_IPV4;
    request.entry.l4_proto = 17;
    request.entry.local_addr.v4 = 0x0A0A0A0A;
    request.entry.local_plen = 32;
    request.entry.local_port = 9999;
    return request;
}

inline prm_lpts_request lpts_id_request(const prm_lpts_id &id) {
    prm_lpts_request request = {};
    request.owner = PRM_OWNER;
    request.data_len = sizeof request.id;
    request.id = id;
    return request;
}

// Sends records by value and answers with the status.
class L3Test : public CardTest {
  protected:
    explicit L3Test(Inventory inventory = small_inventory()) : CardTest(std::move(inventory)) {}

    u32 add(prm_nr_ldi record) { return prm_srh_nr_ldi_add(client, &record); }
    u32 del(prm_nr_ldi record) { return prm_srh_nr_ldi_del(client, &record); }
    u32 add(prm_tx_adj record) { return prm_srh_tx_adj_add(client, &record); }
    u32 mod(prm_tx_adj record) { return prm_srh_tx_adj_mod(client, &record); }
    u32 del(prm_tx_adj record) { return prm_srh_tx_adj_del(client, &record); }
    u32 add4(zor_leaf_request request) { return zor_vop_prm_srh_ipv4_leaf_add(client, &request); }
    u32 mod4(zor_leaf_request request) { return zor_vop_prm_srh_ipv4_leaf_mod(client, &request); }
    u32 del4(zor_leaf_request request) { return zor_vop_prm_srh_ipv4_leaf_del(client, &request); }
    u32 add6(zor_leaf_request request) { return zor_vop_prm_srh_ipv6_leaf_add(client, &request); }
    u32 mod6(zor_leaf_request request) { return zor_vop_prm_srh_ipv6_leaf_mod(client, &request); }
    u32 del6(zor_leaf_request request) { return zor_vop_prm_srh_ipv6_leaf_del(client, &request); }
    u32 add(zor_label_request request) { return zor_vop_prm_srh_label_ufib_add(client, &request); }
    u32 mod(zor_label_request request) { return zor_vop_prm_srh_label_ufib_mod(client, &request); }
    u32 del(zor_label_request request) { return zor_vop_prm_srh_label_ufib_del(client, &request); }

    // Reserved indices; 0 when refused.
    u32 next_hop() { return first_index(prm_srh_tx_adj_buddy_reserve, nullptr, 0, 1); }
    u32 tunnel() { return first_index(prm_srh_l3_intf_buddy_reserve, client, PRM_OWNER, 1); }
    u32 ldi_pointer(u32 count = 1) {
        return first_index(prm_srh_nr_ldi_buddy_reserve, nullptr, PRM_OWNER, count);
    }
    u32 label_index(u32 count = 1) {
        return first_index(prm_srh_mpls_leaf_buddy_reserve, nullptr, PRM_OWNER, count);
    }
    u32 release_label_index(u32 index, u32 count = 1) {
        prm_mpls_leaf_release request = {};
        request.owner = PRM_OWNER;
        request.index = index;
        request.count = count;
        return prm_srh_mpls_leaf_buddy_release(nullptr, &request);
    }

  private:
    u32 first_index(prm_status_t (*reserve)(prm_handle_t, prm_buddy_reserve *), prm_handle_t handle,
                    u32 owner, u32 count) {
        prm_buddy_reserve request = reservation(owner, count);
        return reserve(handle, &request) == CERR_SUCCESS ? request.index : 0;
    }
};

}  // namespace sim

#endif
