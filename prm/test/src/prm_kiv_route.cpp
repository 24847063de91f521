// Route leaves: one IPv4 host route, direct and by a load-distribution entry, and one IPv6 host route in two
// VRFs.
#include "prm_kiv_route.h"

#include <string.h>

#include "kiv.h"
#include "prm_kiv_check.h"
#include "prm_kiv_main.h"
#include "prm_kiv_nr_ldi.h"

static const char kFile[] = "prm/test/src/prm_kiv_route";

enum : u16 { kDefaultVrf = 0, kVrf1 = 1 };

prm_status_t kiv_util_vop_prm_srh_ip_leaf_reserve(u32 owner, u32 count) {
    prm_buddy_reserve request;
    memset(&request, 0, sizeof request);
    request.owner = owner;
    request.count = count;
    return zor_vop_prm_srh_ip_leaf_reserve(prm_async_handle, &request);
}

// Clears a leaf request and fills what all of them carry.
static void fill_leaf_request(zor_leaf_request *request, u32 owner, u32 vrf, u32 prefix_length, u32 item) {
    memset(request, 0, sizeof *request);
    request->owner = owner;
    request->vrf_id = vrf;
    request->prefix_len = prefix_length;
    request->item1_len = ZOR_LEAF_ITEM_LEN;
    request->item1 = item;
    request->item2_len = ZOR_LEAF_ITEM_LEN;
    request->item2 = item;
    request->payload_len = sizeof request->payload;
}

static void fill_ipv4_request(zor_leaf_request *request, u32 owner, u32 address, u32 prefix_length, u16 vrf) {
    fill_leaf_request(request, owner, vrf, prefix_length, ZOR_LEAF_ITEM);
    request->key_len = ZOR_LEAF_IPV4_KEY_LEN;
    request->ipv4.address = address;
    request->ipv4.vrf = vrf;
}

static void fill_ipv6_request(zor_leaf_request *request, u32 owner, const zor_ipv6_prefix *prefix, u32 item) {
    fill_leaf_request(request, owner, prefix->vrf, prefix->length, item);
    request->key_len = ZOR_LEAF_IPV6_KEY_LEN;
    memcpy(request->ipv6, prefix->address, sizeof request->ipv6);
    request->payload.v6_prefix_len = prefix->length;
}

static void fill_payload(zor_leaf_payload *payload, int direct, int recursive, int ldi, u32 ldi_ptr,
                         u32 ldi_ptr2, u32 tag) {
    if (direct != 0) payload->flags0 |= ZOR_LEAF_DIRECT;
    if (ldi != 0) {
        payload->flags0 |= ZOR_LEAF_LDI;
        payload->ldi_ptr = ldi_ptr;
    }
    if (recursive != 0) {
        payload->flags1 |= ZOR_LEAF_RECURSIVE;
        payload->ldi_ptr = ldi_ptr;
        payload->ldi_ptr2 = ldi_ptr2;
    }
    payload->tag_bits = static_cast<u16>((payload->tag_bits & ~ZOR_LEAF_TAG_MASK) |
                                         (tag & ZOR_LEAF_TAG_MAX) << ZOR_LEAF_TAG_SHIFT);
}

static bool is_modify(int modify) {
    return (modify & 0xff) != 0;
}

prm_status_t kiv_util_vop_prm_srh_ipv4_leaf_add(u32 owner, u32 address, u32 prefix_length, u16 vrf,
                                                int direct, int recursive, int ldi, u32 ldi_ptr, u32 ldi_ptr2,
                                                u32, u32 tag, int modify) {
    zor_leaf_request request;
    fill_ipv4_request(&request, owner, address, prefix_length, vrf);
    fill_payload(&request.payload, direct, recursive, ldi, ldi_ptr, ldi_ptr2, tag);
    return is_modify(modify) ? zor_vop_prm_srh_ipv4_leaf_mod(prm_async_handle, &request)
                             : zor_vop_prm_srh_ipv4_leaf_add(prm_async_handle, &request);
}

prm_status_t kiv_util_vop_prm_srh_ipv4_leaf_delete(u32 owner, u32 address, u32 prefix_length, u16 vrf, u32) {
    zor_leaf_request request;
    fill_ipv4_request(&request, owner, address, prefix_length, vrf);
    return zor_vop_prm_srh_ipv4_leaf_del(prm_async_handle, &request);
}

prm_status_t kiv_util_vop_prm_srh_ipv6_leaf_add(u32 owner, const zor_ipv6_prefix *prefix, int direct,
                                                int recursive, int ldi, u32 ldi_ptr, u32 ldi_ptr2, u32,
                                                u32 tag, int modify) {
    zor_leaf_request request;
    fill_ipv6_request(&request, owner, prefix, 0);  // items of 0 here, unlike every other leaf request
    fill_payload(&request.payload, direct, recursive, ldi, ldi_ptr, ldi_ptr2, tag);
    return is_modify(modify) ? zor_vop_prm_srh_ipv6_leaf_mod(prm_async_handle, &request)
                             : zor_vop_prm_srh_ipv6_leaf_add(prm_async_handle, &request);
}

prm_status_t kiv_util_vop_prm_srh_ipv6_leaf_delete(u32 owner, const zor_ipv6_prefix *prefix, u32) {
    zor_leaf_request request;
    fill_ipv6_request(&request, owner, prefix, ZOR_LEAF_ITEM);
    return zor_vop_prm_srh_ipv6_leaf_del(prm_async_handle, &request);
}

// The reserve does not name an address family: both cases send the same request.
static int reserve_leaf(const char *function, int line) {
    const prm_status_t rc = kiv_util_vop_prm_srh_ip_leaf_reserve(PRM_OWNER, 1);
    const int result = kiv_check_success_fixed(rc, kFile, function, line);
    kiv_printf("kiv_util_vop_prm_srh_ip_leaf_reserve called rc: 0x%x\n", rc);
    return result;
}

int tc_prm_v4_leaf_reserve(void) {
    return reserve_leaf("tc_prm_v4_leaf_reserve", 183);
}

int tc_prm_v6_leaf_reserve(void) {
    return reserve_leaf("tc_prm_v6_leaf_reserve", 429);
}

int tc_prm_v4_leaf_add(void) {
    const prm_status_t rc = kiv_util_vop_prm_srh_ipv4_leaf_add(
        PRM_OWNER, PRM_KIV_ROUTE_IPV4, PRM_KIV_ROUTE_IPV4_LENGTH, kDefaultVrf, 1, 0, 0, 0, 0, 0, 0, 0);
    const int result = kiv_check_success_fixed(rc, kFile, "tc_prm_v4_leaf_add", 344);
    kiv_printf("kiv_util_vop_prm_srh_ipv4_leaf_add called rc: 0x%x\n", rc);
    return result;
}

int tc_prm_v4_leaf_delete(void) {
    const prm_status_t rc = kiv_util_vop_prm_srh_ipv4_leaf_delete(PRM_OWNER, PRM_KIV_ROUTE_IPV4,
                                                                  PRM_KIV_ROUTE_IPV4_LENGTH, kDefaultVrf, 0);
    const int result = kiv_check_success_fixed(rc, kFile, "tc_prm_v4_leaf_delete", 364);
    kiv_printf("kiv_util_vop_prm_srh_ipv4_leaf_delete called rc: 0x%x\n", rc);
    return result;
}

int tc_prm_v4_leaf_mpath_add(void) {
    prm_nr_ldi entry;
    prm_kiv_nr_ldi_fill_plain(&entry);
    prm_status_t rc = kiv_util_nr_ldi_add(prm_async_handle, &entry);
    kiv_check_success_fixed(rc, kFile, "tc_prm_v4_leaf_mpath_add", 399);
    kiv_printf("NR_LDI_ADD API call is sucessfull\n");

    rc = kiv_util_vop_prm_srh_ipv4_leaf_add(PRM_OWNER, PRM_KIV_ROUTE_IPV4, PRM_KIV_ROUTE_IPV4_LENGTH,
                                            kDefaultVrf, 0, 0, 1, PRM_KIV_NR_LDI_PTR, 0, 0, 0, 0);
    const int result = kiv_check_success_fixed(rc, kFile, "tc_prm_v4_leaf_mpath_add", 417);
    kiv_printf("kiv_util_vop_prm_srh_ipv4_leaf_add with mpath 200100, NH 100005 rc: 0x%x\n", rc);
    return result;
}

// 9002:110::1/128
static const zor_ipv6_prefix kIpv6Prefix = {
    {0x90, 0x02, 0x01, 0x10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01}, 128, 0, kDefaultVrf};

int tc_prm_v6_leaf_add(void) {
    zor_ipv6_prefix prefix = kIpv6Prefix;
    prm_status_t rc = kiv_util_vop_prm_srh_ipv6_leaf_add(PRM_OWNER, &prefix, 1, 0, 0, 0, 0, 0, 0, 0);
    kiv_check_success_fixed(rc, kFile, "tc_prm_v6_leaf_add", 472);
    kiv_printf("kiv_util_vop_prm_srh_ipv6_leaf_add for vrf def rc: 0x%x\n", rc);

    prefix.vrf = kVrf1;
    rc = kiv_util_vop_prm_srh_ipv6_leaf_add(PRM_OWNER, &prefix, 1, 0, 0, 0, 0, 0, 0, 0);
    const int result = kiv_check_success_fixed(rc, kFile, "tc_prm_v6_leaf_add", 489);
    kiv_printf("kiv_util_vop_prm_srh_ipv6_leaf_add for vrf 1 rc: 0x%x\n", rc);
    return result;
}

int tc_prm_v6_leaf_delete(void) {
    zor_ipv6_prefix prefix = kIpv6Prefix;
    prm_status_t rc = kiv_util_vop_prm_srh_ipv6_leaf_delete(PRM_OWNER, &prefix, 0);
    kiv_check_success_fixed(rc, kFile, "tc_prm_v6_leaf_delete", 520);
    kiv_printf("kiv_util_vop_prm_srh_ipv6_leaf_delete VRF DEF rc: 0x%x\n", rc);

    prefix.vrf = kVrf1;
    rc = kiv_util_vop_prm_srh_ipv6_leaf_delete(PRM_OWNER, &prefix, 0);
    const int result = kiv_check_success_fixed(rc, kFile, "tc_prm_v6_leaf_delete", 535);
    kiv_printf("kiv_util_vop_prm_srh_ipv6_leaf_delete VRF 1 rc: 0x%x\n", rc);
    return result;
}
