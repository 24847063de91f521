// VXLAN, EVPN and split-horizon entries: the readers of the lines typed on standard input.
#include <stdlib.h>
#include <string.h>

#include "prm_kiv_check.h"
#include "prm_kiv_input.h"
#include "prm_kiv_vxlan.h"

static const char kFile[] = "prm/test/src/prm_kiv_vxlan";

// A line and its fields; those that the line does not have are null.
struct stdin_line {
    char text[KIV_STDIN_LINE_SIZE];
    char *fields[KIV_STDIN_MAX_TOKENS];
};

static int read_line(stdin_line *line, const char *delimiters) {
    memset(line->fields, 0, sizeof line->fields);
    return prm_kiv_util_line_input(line->text, sizeof line->text, line->fields, delimiters);
}

// The same, told under the reader's name.
static int read_told_line(stdin_line *line, const char *delimiters, const char *reader) {
    const int status = read_line(line, delimiters);
    kiv_printf("%s status %d\n", reader, status);
    return status;
}

// The number of a field, cut to 32 bits; `absent` when the line does not have it.
static u32 number(const char *field, int base, u32 absent) {
    return field != nullptr ? static_cast<u32>(strtoul(field, nullptr, base)) : absent;
}

static u16 number16(const char *field, int base, u16 absent) {
    return static_cast<u16>(number(field, base, absent));
}

int prm_kiv_util_get_vxlan_bd_params(prm_kiv_vxlan_bd_params *params) {
    stdin_line line;
    const int status = read_line(&line, ",");
    if (status < 1) return status;
    params->bd_id = number(line.fields[0], 10, params->bd_id);
    params->vni = number(line.fields[1], 10, params->vni);
    params->source_vtep = number(line.fields[2], 16, params->source_vtep);
    return 1;
}

int prm_kiv_util_get_ac_params(prm_kiv_ac_params *params) {
    stdin_line line;
    const int status = read_told_line(&line, ",", "prm_kiv_util_get_ac_params");
    if (status < 1) return status;
    params->bd_id = number(line.fields[0], 10, params->bd_id);
    params->uidb_index = number16(line.fields[1], 10, params->uidb_index);
    kiv_printf("%s: bd %d  uidb_index %d\n", "prm_kiv_util_get_ac_params", params->bd_id, params->uidb_index);
    return 1;
}

int prm_kiv_util_get_vsp_ac_params(prm_kiv_vsp_ac_params *params) {
    stdin_line line;
    const int status = read_told_line(&line, ",", "prm_kiv_util_get_vsp_ac_params");
    if (status < 1) return status;
    params->bd_id = number(line.fields[0], 10, params->bd_id);
    params->ac_xid = number(line.fields[1], 16, params->ac_xid);
    params->uidb_index = number16(line.fields[2], 10, params->uidb_index);
    kiv_printf("%s: bd %d ac_xid: 0x%x, uidb_index %d\n", "prm_kiv_util_get_vsp_ac_params", params->bd_id,
               params->ac_xid, params->uidb_index);
    return 1;
}

int prm_kiv_util_get_ole_params(prm_kiv_ole_params *params) {
    stdin_line line;
    const int status = read_told_line(&line, ",", "prm_kiv_util_get_ole_params");
    if (status < 1) return status;
    params->bd_id = number(line.fields[0], 10, params->bd_id);
    params->remote_vtep = number(line.fields[1], 16, params->remote_vtep);
    params->nh_id = number(line.fields[2], 10, params->nh_id);
    kiv_printf("%s: bd %d r_vtep 0x%08x nh %d\n", "prm_kiv_util_get_ole_params", params->bd_id,
               params->remote_vtep, params->nh_id);
    return 1;
}

// --- vplag ---

// A list of the vplag line: how many numbers it has, and those that a record has room for.
struct number_list {
    u32 length;
    u32 stored;
    u32 numbers[ZOR_L2_ECMP_MAX_PATHS];
};

static number_list read_list(char *text, int base) {
    number_list list = {};
    if (text == nullptr) return list;
    for (char *item = strtok(text, ","); item != nullptr; item = strtok(nullptr, ",")) {
        if (list.stored < ZOR_L2_ECMP_MAX_PATHS) list.numbers[list.stored++] = number(item, base, 0);
        ++list.length;
    }
    return list;
}

// Prints a list of at least one number: `format` for the number, then "," or after the last one ";".
static void print_list(const char *title, const char *format, const number_list &list) {
    kiv_printf("%s", title);
    for (u32 i = 0; i < list.stored; ++i)
        kiv_printf(format, list.numbers[i], i + 1 < list.stored ? "," : ";");
}

int prm_kiv_util_get_vplag_params(prm_vplag_info *vplag_info) {
    static const char kReader[] = "prm_kiv_util_get_vplag_params";
    stdin_line line;
    const int status = read_told_line(&line, ";", kReader);
    if (status < 1) return status;

    vplag_info->source_vtep = number(line.fields[0], 16, vplag_info->source_vtep);
    vplag_info->vplag_id = number(line.fields[1], 10, vplag_info->vplag_id);
    vplag_info->num_paths = number(line.fields[2], 10, vplag_info->num_paths);
    const u32 num_paths = vplag_info->num_paths;
    kiv_printf("s_vtep 0x%08x;vplag_id %d;num paths %d;", vplag_info->source_vtep, vplag_info->vplag_id,
               num_paths);
    if (num_paths == 0) {
        kiv_printf("\n");
        return 1;
    }
    KIV_REQUIRE_FIXED(num_paths <= ZOR_L2_ECMP_MAX_PATHS, "vplag_info->num_paths <= ZOR_L2_ECMP_MAX_PATHS",
                      kFile, kReader, 435, "%s %d max path number %d beyond supported limit %d\n", kReader,
                      435, num_paths, ZOR_L2_ECMP_MAX_PATHS);

    const number_list next_hops = read_list(line.fields[3], 10);
    for (u32 i = 0; i < next_hops.stored; ++i) vplag_info->nh_id[i] = next_hops.numbers[i];
    KIV_REQUIRE_FIXED(num_paths == next_hops.length, "vplag_info->num_paths == i", kFile, kReader, 445,
                      "num_paths %d mismatch with nh num %d\n", num_paths, next_hops.length);

    const number_list remote_vteps = read_list(line.fields[4], 16);
    for (u32 i = 0; i < remote_vteps.stored; ++i) vplag_info->remote_vtep[i] = remote_vteps.numbers[i];
    KIV_REQUIRE_FIXED(num_paths == remote_vteps.length, "vplag_info->num_paths == i", kFile, kReader, 455,
                      "num_paths %d mismatch with r_vtep num %d\n", num_paths, remote_vteps.length);

    print_list("nh_list ", "%d%s", next_hops);
    print_list("r_vtep_list ", "0x%08x%s", remote_vteps);
    kiv_printf("\n");
    return 1;
}

// --- EVPN MACs and split-horizon entries ---

// Stores one byte for each part of the address. A long address runs on into the entry's later fields, which
// the rest of the line sets again, but never past the entry.
static void take_mac(char *address, prm_evpn_mac_entry *entry) {
    if (address == nullptr) return;
    u8 *const end = reinterpret_cast<u8 *>(entry + 1);
    u8 *to = entry->mac;
    for (char *part = strtok(address, ":"); part != nullptr && to < end; part = strtok(nullptr, ":"))
        *to++ = static_cast<u8>(number(part, 16, 0));
}

int prm_kiv_util_get_mac_params(prm_evpn_mac_entry *entry) {
    stdin_line line;
    const int status = read_told_line(&line, ",", "prm_kiv_util_get_mac_params");
    if (status < 1) return status;
    take_mac(line.fields[0], entry);
    entry->bd_id = number(line.fields[1], 10, entry->bd_id);
    entry->type = number(line.fields[2], 10, entry->type);
    entry->fec = number(line.fields[3], entry->type == PRM_EVPN_MAC_TYPE_HEX_FEC ? 16 : 10, entry->fec);

    kiv_printf("mac ");
    for (int i = 0; i < 5; ++i) kiv_printf("%02x:", entry->mac[i]);
    kiv_printf("%02x,", entry->mac[5]);
    kiv_printf("bd id %d, type %d fec 0x%x\n", entry->bd_id, entry->type, entry->fec);
    return 1;
}

int prm_kiv_util_get_shg_df_params(prm_shg_df_entry *entry) {
    stdin_line line;
    const int status = read_told_line(&line, ",", "prm_kiv_util_get_shg_df_params");
    if (status < 1) return status;
    entry->address_or_vni = number(line.fields[0], 16, entry->address_or_vni);
    entry->if_handle = number(line.fields[1], 16, entry->if_handle);
    entry->is_shg = number(line.fields[2], 10, entry->is_shg);
    kiv_printf("ipaddr/vni 0x%x, ifh 0x%x is_shg = %d \n", entry->address_or_vni, entry->if_handle,
               entry->is_shg);
    return 1;
}
