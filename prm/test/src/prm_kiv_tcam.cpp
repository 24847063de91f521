// TCAM toolkit of the ACL and QoS cases: builds a request and its key buffers, reads an entry back and
// compares it field by field.
#include "prm_kiv_tcam.h"

#include <stdlib.h>
#include <string.h>

#include "prm_kiv_main.h"

static const char kFile[] = "prm/test/src/prm_kiv_tcam";

void tc_kiv_tcam_init_prm_info(prm_info *info, u32 fea_id, u32 opcode, u64 vmr_id, u32 ace_index) {
    memset(info, 0, sizeof *info);
    info->fea_id = fea_id;
    info->word4 = 1;
    info->opcode = opcode;
    info->word312 = 1;
    info->port_num = 1;
    info->nr_entries = 1;
    info->value_mask_key_sz = PRM_TCAM_VALUE_MASK_KEY_SZ;
    info->result_key_sz = PRM_TCAM_RESULT_KEY_SZ;
    info->vmr_id = vmr_id;
    info->ace_index = static_cast<u16>(ace_index);
}

int tc_kiv_tcam_allocate_and_offset_vmr(prm_info *info) {
    const size_t entry_size = info->result_key_sz + 2 * static_cast<size_t>(info->value_mask_key_sz);
    u8 *const block = static_cast<u8 *>(calloc(info->nr_entries, entry_size));
    if (block == nullptr) {
        kiv_printf("Error!!! Memory Allocation Failure under tc_kiv_tcam_allocate_and_offset_vmr \n");
        return PRM_KIV_TCAM_NO_MEMORY;
    }
    if (info->nr_entries != 0) memset(block, 0, entry_size);  // a block for no entry has no room to clear

    const size_t keys_size = static_cast<size_t>(info->value_mask_key_sz) * info->nr_entries;
    info->value = block;
    info->mask = info->value + keys_size;
    info->result = info->mask + keys_size;
    return 0;
}

void free_vmr(prm_info *info) {
    if (info == nullptr) {
        kiv_printf("Error!!! info_p is NULL in free_vmr \n");
        return;
    }
    if (info->value == nullptr) {
        kiv_printf("Error!!! info_p->value is NULL in free_vmr \n");
        return;
    }
    free(info->value);
}

void tc_kiv_tcam_ip_str_to_u32(u32 *address, const char *text) {
    enum { kMaxCharacters = 16, kOctets = 4 };
    u32 octet = 0;
    int octets = 0;
    for (int i = 0; i < kMaxCharacters && octets < kOctets; ++i) {
        if (text[i] >= '0' && text[i] <= '9') {
            octet = octet * 10 + static_cast<u32>(text[i] - '0');
            continue;
        }
        *address = (*address << 8) + octet;
        octet = 0;
        ++octets;
    }
}

u32 prm_kiv_tcam_address(const char *text) {
    u32 address = 0;
    tc_kiv_tcam_ip_str_to_u32(&address, text);
    return prm_tcam_swap32(address);
}

void tc_kiv_tcam_verify(prm_info *programmed) {
    prm_info read_back;
    memset(&read_back, 0, sizeof read_back);
    read_back.fea_id = programmed->fea_id;
    read_back.opcode = programmed->opcode;
    read_back.nr_entries = programmed->nr_entries;
    read_back.value_mask_key_sz = programmed->value_mask_key_sz;
    read_back.result_key_sz = programmed->result_key_sz;
    read_back.vmr_id = programmed->vmr_id;
    read_back.ace_index = programmed->ace_index;
    read_back.word272 = 0;
    if (tc_kiv_tcam_allocate_and_offset_vmr(&read_back) == PRM_KIV_TCAM_NO_MEMORY) return;

    const prm_status_t rc = zor_vop_prm_tcam_vmr_read(prm_async_handle, &read_back);
    if (rc != PRM_ERROR_NONE) {
        kiv_printf("%s: Failure in getting info from h/w\n", "tc_kiv_tcam_verify");
    } else {
        prm_kiv_check_none_here(rc, kFile, "tc_kiv_tcam_verify", __LINE__);
        tc_kiv_tcam_validate_vmr(programmed, &read_back);
    }
    free_vmr(&read_back);
}

// One field of the comparison. The lines are formats: a plain field's mismatch line takes both values, a
// masked field's takes the programmed value and mask and those read back.
struct field {
    u32 programmed;  // 0: the entry does not match on the field
    u32 in, out;     // as compared and printed
    u32 in_mask, out_mask;
    bool masked;
    const char *success, *mismatch;
};

// A programmed value that compares as it is.
static field plain(u32 in, u32 out, const char *success, const char *mismatch) {
    return {in, in, out, 0, 0, false, success, mismatch};
}

static field masked(u32 in, u32 in_mask, u32 out, u32 out_mask, const char *success, const char *mismatch) {
    return {in, in, out, in_mask, out_mask, true, success, mismatch};
}

static bool compare(const field *fields, size_t count) {
    for (const field *f = fields; f < fields + count; ++f) {
        if (f->programmed == 0) continue;
        if (f->in == f->out && f->in_mask == f->out_mask) {
            kiv_printf("%s", f->success);
            continue;
        }
        if (f->masked)
            kiv_printf(f->mismatch, f->in, f->in_mask, f->out, f->out_mask);
        else
            kiv_printf(f->mismatch, f->in, f->out);
        return false;
    }
    return true;
}

#define COMPARE(fields) compare(fields, sizeof(fields) / sizeof *(fields))

// The fields of the value and mask keys that both features share.
static bool keys_match(const prm_info *programmed, const prm_info *read_back) {
    const prm_tcam_key *const in = prm_kiv_tcam_value(programmed);
    const prm_tcam_key *const in_mask = prm_kiv_tcam_mask(programmed);
    const prm_tcam_key *const out = prm_kiv_tcam_value(read_back);
    const prm_tcam_key *const out_mask = prm_kiv_tcam_mask(read_back);
    const bool shifted =
        programmed->fea_id == PRM_TCAM_FEATURE_QOS && in->qos_key_type == PRM_TCAM_QOS_KEY_SHIFTED;
    const auto flag = [](const prm_tcam_key *key, u8 bit) { return (key->flags & bit) != 0 ? 1u : 0u; };

    const field fields[] = {
        masked(prm_tcam_swap32(shifted ? in->src_ipv4_shifted : in->src_ipv4),
               shifted ? in_mask->src_ipv4_shifted : in_mask->src_ipv4, out->src_ipv4, out_mask->src_ipv4,
               "SrcIP inserted correctly\n", "Mismatch in SrcIP value In 0x%x/0x%x Out 0x%x/0x%x\n"),
        // The line ends in a backslash and an n.
        masked(prm_tcam_swap32(shifted ? in->dst_ipv4_shifted : in->dst_ipv4),
               shifted ? in_mask->dst_ipv4_shifted : in_mask->dst_ipv4, out->dst_ipv4, out_mask->dst_ipv4,
               "DstIP inserted correctly\n", "Mismatch in DstIP value In 0x%x/0x%x Out 0x%x/0x%x\\n"),
        masked(in->ttl, in_mask->ttl, out->ttl, out_mask->ttl, "TTL inserted correctly\n",
               "Mismatch in TTL value In %d/%d Out %d/%d\n"),
        plain(in->vlan_cos, out->vlan_cos, "VLAN COS inserted correctly\n",
              "Mismatch in VLAN COS In %d Out %d\n"),
        plain(in->tos_exp, out->tos_exp, "TOS EXP inserted correctly\n",
              "Mismatch in TOS EXP In %d Out %d\n"),
        plain(in->protocol, out->protocol, "Protocol inserted correctly\n",
              "Mismatch in Protocol In %d Out %d\n"),
        plain(in->src_port, prm_tcam_swap16(out->src_port), "SrcPort inserted correctly\n",
              "Mismatch in SrcPort In %d Out %d\n"),
        plain(in->dst_port, prm_tcam_swap16(out->dst_port), "DstPort inserted correctly\n",
              "Mismatch in DstPort In %d Out %d\n"),
        plain(flag(in, PRM_TCAM_KEY_TCP_FLAGS), flag(out, PRM_TCAM_KEY_TCP_FLAGS),
              "TCP Flags inserted correctly\n", "Mismatch in TCP Flags In %d Out %d\n"),
        plain(in->tcp_value, out->tcp_value, "TCP Value inserted correctly\n",
              "Mismatch in TCP Value In %d Out %d\n"),
        plain(flag(in, PRM_TCAM_KEY_FRAGMENT), flag(out, PRM_TCAM_KEY_FRAGMENT),
              "Fragment Value inserted correctly\n", "Mismatch in Fragment Value In %d Out %d\n"),
    };
    return COMPARE(fields);
}

static bool acl_fields_match(const prm_info *programmed, const prm_info *read_back) {
    const field fields[] = {
        plain(prm_tcam_class_id(prm_kiv_tcam_value(programmed)),
              prm_tcam_class_id(prm_kiv_tcam_value(read_back)), "ClassID inserted correctly\n",
              "Mismatch in ClassID value In %d Out %d\n"),
        plain(prm_kiv_tcam_acl_result(programmed)->stats_id, prm_kiv_tcam_acl_result(read_back)->stats_id,
              "ACL Stats ID inserted correctly\n", "Mismatch in ACL Stats ID In %d Out %d\n"),
    };
    return COMPARE(fields);
}

static bool qos_fields_match(const prm_info *programmed, const prm_info *read_back) {
    const prm_tcam_qos_result *const in = prm_kiv_tcam_qos_result(programmed);
    const prm_tcam_qos_result *const out = prm_kiv_tcam_qos_result(read_back);
    const auto opcode1 = [](u8 opcodes) -> u32 { return opcodes >> PRM_TCAM_QOS_OPCODE1_SHIFT; };
    const auto opcode2 = [](u8 opcodes) -> u32 { return opcodes & PRM_TCAM_QOS_OPCODE2; };

    // The hardware hands the statistics id back without its flag; an id of just the flag compares as 0.
    field stats = plain(in->stats_id & ~PRM_TCAM_QOS_STATS_FLAG, out->stats_id,
                        "Stats ID inserted correctly\n", "Mismatch in Stats ID In %d Out %d\n");
    stats.programmed = in->stats_id;

    const field fields[] = {
        stats,
        plain(in->token_bucket_id, out->token_bucket_id, "Token Bucket ID inserted correctly\n",
              "Mismatch in Token Bucket ID In %d Out %d\n"),
        // "Confirm" on a mismatch, "Conform" on success.
        plain(opcode1(in->conform_opcodes), opcode1(out->conform_opcodes),
              "Police Conform Mark Opcode1 inserted correctly\n",
              "Mismatch in Police Confirm Mark Opcode1 In %d Out %d\n"),
        plain(in->conform_value1, out->conform_value1, "Police Conform Mark Value1 inserted correctly\n",
              "Mismatch in Police Confirm Mark Val1 In %d Out %d\n"),
        plain(opcode2(in->conform_opcodes), opcode2(out->conform_opcodes),
              "Police Conform Mark Opcode2 inserted correctly\n",
              "Mismatch in Police Confirm Mark Opcode2 In %d Out %d\n"),
        plain(in->conform_value2, out->conform_value2, "Police Conform Mark Value2 inserted correctly\n",
              "Mismatch in Police Confirm Mark Val2 In %d Out %d\n"),
        plain(opcode1(in->exceed_opcodes), opcode1(out->exceed_opcodes),
              "Police Exceed Mark Opcode1 inserted correctly\n",
              "Mismatch in Police Exceed Mark Opcode1 In %d Out %d\n"),
        plain(in->exceed_value1, out->exceed_value1, "Police Exceed Marking Value1 inserted correctly\n",
              "Mismatch in Police Exceed Mark Val1 In %d Out %d\n"),
        plain(opcode2(in->exceed_opcodes), opcode2(out->exceed_opcodes),
              "Police Exceed Mark Opcode2 inserted correctly\n",
              "Mismatch in Police Exceed Mark Opcode2 In %d Out %d\n"),
        plain(in->exceed_value2, out->exceed_value2, "Police Exceed Marking Value2 inserted correctly\n",
              "Mismatch in Police Exceed Mark Val2 In %d Out %d\n"),
    };
    return COMPARE(fields);
}

void tc_kiv_tcam_validate_vmr(prm_info *programmed, prm_info *read_back) {
    bool matches = keys_match(programmed, read_back);
    if (matches)
        matches = programmed->fea_id == PRM_TCAM_FEATURE_QOS ? qos_fields_match(programmed, read_back)
                                                             : acl_fields_match(programmed, read_back);
    kiv_check_status_here(matches ? 1 : 0, 1, "TRUE", kFile, "tc_kiv_tcam_validate_vmr", __LINE__);
}
