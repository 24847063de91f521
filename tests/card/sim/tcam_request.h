// A TCAM request with room for its keys, filled as a well-behaved client fills it.
#ifndef TESTS_CARD_SIM_TCAM_REQUEST_H
#define TESTS_CARD_SIM_TCAM_REQUEST_H

#include <vector>

#include "zor_vop_prm.h"
#include "zor_vop_prm_tcam.h"

namespace sim {

struct TcamRequest {
    prm_info info{};
    std::vector<u8> keys;

    TcamRequest(u32 feature, u32 opcode, u64 vmr_id = 0, u16 ace_index = 0, u16 entries = 1) {
        info.fea_id = feature;
        info.word4 = 1;
        info.opcode = opcode;
        info.vmr_id = vmr_id;
        info.word312 = 1;
        info.port_num = 1;
        info.ace_index = ace_index;
        info.nr_entries = entries;
        info.value_mask_key_sz = PRM_TCAM_VALUE_MASK_KEY_SZ;
        info.result_key_sz = PRM_TCAM_RESULT_KEY_SZ;
        keys.resize(entries * (2 * PRM_TCAM_VALUE_MASK_KEY_SZ + PRM_TCAM_RESULT_KEY_SZ));
        info.value = keys.data();
        info.mask = info.value + entries * PRM_TCAM_VALUE_MASK_KEY_SZ;
        info.result = info.mask + entries * PRM_TCAM_VALUE_MASK_KEY_SZ;
    }
    TcamRequest(const TcamRequest &) = delete;
    TcamRequest &operator=(const TcamRequest &) = delete;

    prm_tcam_key &value(u32 i = 0) { return reinterpret_cast<prm_tcam_key *>(info.value)[i]; }
    prm_tcam_key &mask(u32 i = 0) { return reinterpret_cast<prm_tcam_key *>(info.mask)[i]; }
    prm_tcam_acl_result &acl(u32 i = 0) { return reinterpret_cast<prm_tcam_acl_result *>(info.result)[i]; }
    prm_tcam_qos_result &qos(u32 i = 0) { return reinterpret_cast<prm_tcam_qos_result *>(info.result)[i]; }
};

}  // namespace sim

#endif
