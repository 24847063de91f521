// Local packet transport entries: an IPv4 and an IPv6 entry programmed, read back and compared, and an entry
// that does not exist read and deleted. The cases report by their lines alone, so they return 0: no check is
// made.
#include "prm_kiv_lpts.h"

#include <string.h>

#include "cerr.h"
#include "kiv.h"
#include "prm_kiv_main.h"

enum : u8 { kUdp = 17, kTcp = 6 };

enum : u32 {
    kLocalIpv4 = 0x0a0a0a0a,   // 10.10.10.10
    kRemoteIpv4 = 0x10101010,  // 16.16.16.16
    kNoSuchEntry = 65518,
};

enum : u16 { kLocalPort = 9999, kRemotePort = 5555 };

prm_lpts_entry ipv4_entry, ipv6_entry;
prm_lpts_id fp_id_v4, fp_id_v6;

// --- Entries ---

static void fill_lpts_entry(prm_lpts_entry *entry, u32 l3_proto, u8 l4_proto, u32 prefix_len) {
    entry->lpts_type = PRM_LPTS_TYPE;
    entry->lpts_mask0 = PRM_LPTS_MASK_ALL;
    entry->lpts_mask1 = PRM_LPTS_MASK_ALL;
    entry->lpts_valid = 1;
    entry->l3_proto = l3_proto;
    entry->l4_proto = l4_proto;
    entry->local_plen = prefix_len;
    entry->remote_plen = prefix_len;
}

void kiv_util_lpts_build_v4_entry(prm_lpts_entry *entry, u32 selector) {
    memset(entry, 0, sizeof *entry);
    if (selector != 0) return;
    fill_lpts_entry(entry, PRM_LPTS_PROTO_IPV4, kUdp, 32);
    entry->local_addr.v4 = kLocalIpv4;
    entry->remote_addr.v4 = kRemoteIpv4;
    entry->local_port = kLocalPort;
}

void kiv_util_lpts_build_v6_entry(prm_lpts_entry *entry, u32 selector) {
    memset(entry, 0, sizeof *entry);
    if (selector != 0) return;
    fill_lpts_entry(entry, PRM_LPTS_PROTO_IPV6, kTcp, 128);
    entry->local_addr.v6[0] = 0x20;  // 2000::1
    entry->local_addr.v6[15] = 0x01;
    entry->remote_addr.v6[0] = 0x30;  // 3000::1
    entry->remote_addr.v6[15] = 0x01;
    entry->remote_port = kRemotePort;
}

// --- Steps ---

static void fill_lpts_request(prm_lpts_request *request, u32 data_len) {
    memset(request, 0, sizeof *request);
    request->owner = PRM_OWNER;
    request->data_len = data_len;
    request->word64 = 0;
}

prm_status_t kiv_util_lpts_program(const prm_lpts_entry *entry, prm_lpts_id *id) {
    prm_lpts_request request;
    fill_lpts_request(&request, sizeof *entry);
    request.entry = *entry;
    const prm_status_t rc = prm_srh_lpts_add(prm_async_handle, &request);
    if (rc != CERR_SUCCESS) {
        kiv_printf("ERROR: Failed to program LPTS entry: %x\n", rc);
        return rc;
    }
    *id = request.id;
    kiv_printf("SUCCESS: FP programmed: %d\n", id->entry);
    return rc;
}

prm_status_t kiv_util_lpts_read(const prm_lpts_id *id, prm_lpts_entry *entry) {
    prm_lpts_request request;
    fill_lpts_request(&request, sizeof *id);
    request.id = *id;
    const prm_status_t rc = prm_srh_lpts_get(prm_async_handle, &request, PRM_LPTS_GET_WORD);
    if (rc != CERR_SUCCESS) {
        kiv_printf("ERROR: Failed to read programmed LPTS entry, error :%x\n", rc);
        return rc;
    }
    kiv_printf("SUCCESS: Read the LPTS entry with ID %d\n", id->entry);
    *entry = request.entry;
    return rc;
}

prm_status_t kiv_util_lpts_delete(const prm_lpts_id *id) {
    prm_lpts_request request;
    fill_lpts_request(&request, sizeof *id);
    request.id = *id;
    return prm_srh_lpts_del(prm_async_handle, &request);
}

// --- Comparison ---

// Whether two numbers are equal; prints `format` with both when they are not. Every format takes two %d.
static bool same_number(const char *format, u32 expected, u32 read) {
    if (expected == read) return true;
    kiv_printf(format, expected, read);
    return false;
}

// The same for IPv6 addresses: the format takes the first four 16-bit words of each.
static bool same_ipv6(const char *format, const prm_lpts_address *expected, const prm_lpts_address *read) {
    if (memcmp(expected->v6, read->v6, sizeof expected->v6) == 0) return true;
    kiv_printf(format, expected->v6_words[0], expected->v6_words[1], expected->v6_words[2],
               expected->v6_words[3], read->v6_words[0], read->v6_words[1], read->v6_words[2],
               read->v6_words[3]);
    return false;
}

static bool same_ports(const prm_lpts_entry *expected, const prm_lpts_entry *read) {
    return same_number("ERROR: Local ports do not match, expected %d, read %d\n", expected->local_port,
                       read->local_port) &&
           same_number("ERROR: Remote ports do not match, expected %d, read %d\n", expected->remote_port,
                       read->remote_port);
}

static bool same_ipv4_addresses(const prm_lpts_entry *expected, const prm_lpts_entry *read) {
    return same_number("ERROR: Local V4 addresses do not match, expected %d, read %d\n",
                       expected->local_addr.v4, read->local_addr.v4) &&
           same_number("ERROR: Remote V4 addresses do not match, expected %d, read %d\n",
                       expected->remote_addr.v4, read->remote_addr.v4) &&
           same_number("ERROR: Local V4 prefix len  do not match, expected %d, read %d\n",
                       expected->local_plen, read->local_plen) &&
           same_number("ERROR: Remote V4 prefix len  do not match, expected %d, read %d\n",
                       expected->remote_plen, read->remote_plen);
}

static bool same_ipv6_addresses(const prm_lpts_entry *expected, const prm_lpts_entry *read) {
    return same_ipv6("ERROR: Local V6 addresses do not match, expected %x:%x:%x:%x, read %x:%x:%x:%x\n",
                     &expected->local_addr, &read->local_addr) &&
           same_ipv6("ERROR: Remote V6 addresses do not match, expected %x:%x:%x:%x, read %x:%x:%x:%x\n",
                     &expected->remote_addr, &read->remote_addr) &&
           same_number("ERROR: Local V6 prefix len  do not match, expected %d, read %d\n",
                       expected->local_plen, read->local_plen) &&
           same_number("ERROR: Remote V6 prefix len  do not match, expected %d, read %d\n",
                       expected->remote_plen, read->remote_plen);
}

int kiv_util_lpts_compare(const prm_lpts_entry *expected, const prm_lpts_entry *read) {
    if (!same_number("ERROR: L3 protoocls do not match, expected %d, read %d\n", expected->l3_proto,
                     read->l3_proto) ||
        !same_number("ERROR: L4 protoocls do not match, expected %d, read %d\n", expected->l4_proto,
                     read->l4_proto))
        return 0;
    switch (expected->l3_proto) {
        case PRM_LPTS_PROTO_IPV4:
            return same_ports(expected, read) && same_ipv4_addresses(expected, read) ? 1 : 0;
        case PRM_LPTS_PROTO_IPV6:
            return same_ports(expected, read) && same_ipv6_addresses(expected, read) ? 1 : 0;
        default:
            return 1;  // of other protocols nothing more is compared
    }
}

// --- Cases ---

int tc_kiv_lpts_v4_entry_add(void) {
    kiv_util_lpts_build_v4_entry(&ipv4_entry, 0);
    memset(&fp_id_v4, 0, sizeof fp_id_v4);
    const prm_status_t rc = kiv_util_lpts_program(&ipv4_entry, &fp_id_v4);
    if (rc == CERR_SUCCESS)
        kiv_printf("SUCCESS: IPv4 LPTS created: FP Grp Id %d, Entry ID %d, Stat ID %d, Policer ID %d\n",
                   fp_id_v4.group, fp_id_v4.entry, fp_id_v4.statistics, fp_id_v4.policer);
    else
        kiv_printf("ERROR: IPv4 LPTS creation failed. rc = 0x%x\n", rc);
    return 0;
}

int tc_kiv_lpts_v6_entry_add(void) {
    kiv_util_lpts_build_v6_entry(&ipv6_entry, 0);
    memset(&fp_id_v6, 0, sizeof fp_id_v6);
    const prm_status_t rc = kiv_util_lpts_program(&ipv6_entry, &fp_id_v6);
    if (rc == CERR_SUCCESS)
        kiv_printf("SUCCESS: IPv6 LPTS created: FP Grp Id %d, Entry ID %d, Stat ID %d, Policer ID %d\n",
                   fp_id_v6.group, fp_id_v6.entry, fp_id_v6.statistics, fp_id_v6.policer);
    else
        kiv_printf("ERROR: IPv6 LPTS creation failed. rc = 0x%x\n", rc);
    return 0;
}

// Reads an entry back and compares it with what was programmed.
static int read_and_compare(const prm_lpts_id *id, const prm_lpts_entry *programmed) {
    prm_lpts_entry read;
    memset(&read, 0, sizeof read);
    if (kiv_util_lpts_read(id, &read) != CERR_SUCCESS)
        kiv_printf("ERROR: Failed to read programmed LPTS entry\n");
    else if (kiv_util_lpts_compare(programmed, &read) != 0)
        kiv_printf("SUCCESS: Read and compared the LPTS entry\n");
    else
        kiv_printf("ERROR: Programmed and read keys do not match\n");
    return 0;
}

int tc_kiv_lpts_v4_entry_read(void) {
    return read_and_compare(&fp_id_v4, &ipv4_entry);
}

int tc_kiv_lpts_v6_entry_read(void) {
    return read_and_compare(&fp_id_v6, &ipv6_entry);
}

// The IPv4 entry's identifier with an entry id that does not exist.
static prm_lpts_id invalid_id(void) {
    prm_lpts_id id = fp_id_v4;
    id.entry = kNoSuchEntry;
    id.word16 = 0;
    return id;
}

int tc_kiv_lpts_invalid_entry_read(void) {
    const prm_lpts_id id = invalid_id();
    prm_lpts_entry read;
    memset(&read, 0, sizeof read);
    const prm_status_t rc = kiv_util_lpts_read(&id, &read);
    if (rc != CERR_SUCCESS)
        kiv_printf("SUCCESS: Reading invalid entry failed. Error %d\n", rc);
    else
        kiv_printf("ERROR: Strange! Invalid entry read\n");
    return 0;
}

int tc_kiv_lpts_entry_delete(void) {
    const prm_status_t rc = kiv_util_lpts_delete(&fp_id_v4);
    if (rc != CERR_SUCCESS)
        kiv_printf("ERROR: Unable to delete LPTS entry created. Error %d\n", rc);
    else
        kiv_printf("SUCCESS: Deleted the LPTS entry\n");
    return 0;
}

int tc_kiv_lpts_invalid_entry_delete(void) {
    const prm_lpts_id id = invalid_id();
    const prm_status_t rc = kiv_util_lpts_delete(&id);
    if (rc != CERR_SUCCESS)
        kiv_printf("SUCCESS: Deleting invalid LPTS entrye returns error %x\n", rc);
    else
        kiv_printf("ERROR: Strange! Deleting non-exiting LPTS entry did not return error\n");
    return 0;
}
