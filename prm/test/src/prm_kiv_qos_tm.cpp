// QoS, traffic manager: configures counters and policers and releases them.
#include <stdlib.h>

#include "prm_kiv_qos.h"
#include "prm_kiv_tcam.h"
#include "wyk_hal_wrapper.h"

static const char kFile[] = "prm/test/src/prm_kiv_qos";

wyk_hal_policy_request *g_tm_config_request;
wyk_hal_policy_response *g_tm_config_response;

void *prm_kiv_qos_block(u16 size, size_t head_size) {
    return calloc(1, size < head_size ? head_size : size);
}

u32 prm_kiv_qos_items_within(u16 size, size_t head_size, size_t item_size, u32 n) {
    const size_t room = size < head_size ? 0 : (size - head_size) / item_size;
    return n < room ? n : static_cast<u32>(room);
}

void prm_kiv_qos_release_tm_config(void) {
    free(g_tm_config_request);
    g_tm_config_request = nullptr;
    free(g_tm_config_response);
    g_tm_config_response = nullptr;
}

wyk_hal_ids *tc_kiv_qos_tm_create(u32 n, u16 kind, u32 mode_word, u32 first, u32 second) {
    const u16 request_size = wyk_hal_policy_request_size(n);
    g_tm_config_request = static_cast<wyk_hal_policy_request *>(
        prm_kiv_qos_block(request_size, sizeof(wyk_hal_policy_request)));
    if (g_tm_config_request == nullptr) {
        kiv_printf("Memory allocation failure for g_tm_config_request!!!\n");
        return nullptr;
    }
    const u16 response_size = wyk_hal_policy_response_size(n);
    g_tm_config_response = static_cast<wyk_hal_policy_response *>(
        prm_kiv_qos_block(response_size, sizeof(wyk_hal_policy_response)));
    if (g_tm_config_response == nullptr) {
        kiv_printf("Memory allocation failure for g_tm_config_response!!!\n");
        free(g_tm_config_request);
        g_tm_config_request = nullptr;  // a later case releases what stands here
        return nullptr;
    }

    g_tm_config_request->count = n;
    g_tm_config_request->direction = WYK_HAL_INGRESS;
    const u32 policies =
        prm_kiv_qos_items_within(request_size, sizeof(wyk_hal_policy_request), sizeof(wyk_hal_policy), n);
    for (u32 i = 0; i < policies; ++i) {
        wyk_hal_policy *const policy = wyk_hal_policy_at(g_tm_config_request, i);
        policy->kind = kind;
        policy->mode_word = mode_word;
        policy->word336 = 1;
        policy->committed_rate = first;
        policy->burst = second;
    }

    const prm_status_t rc = wyk_hal_wrapper_config_policy_in_tm(g_tm_config_request, g_tm_config_response, n);
    wyk_hal_ids *last = nullptr;
    if (rc == PRM_ERROR_NONE) {
        const u32 entries =
            prm_kiv_qos_items_within(response_size, sizeof(wyk_hal_policy_response), sizeof(wyk_hal_ids), n);
        for (u32 i = 0; i < entries; ++i) {
            last = wyk_hal_policy_ids_at(g_tm_config_response, i);
            kiv_printf("stats id : 0x%x\n", last->stats_id);
            kiv_printf("police id : 0x%x %lx\n", last->policer_id, static_cast<unsigned long>(last->profile));
        }
    }
    prm_kiv_check_none_here(rc, kFile, "tc_kiv_qos_tm_create", __LINE__);
    return last;
}

void prm_kiv_qos_tm_destroy(u32 n, const wyk_hal_ids *entry, bool policer, int *result) {
    const u16 size = wyk_hal_release_size(n);
    wyk_hal_release *const request =
        static_cast<wyk_hal_release *>(prm_kiv_qos_block(size, sizeof(wyk_hal_release)));
    if (request == nullptr) {
        kiv_printf("Memory allocation failure for request_p!!!\n");
        return;
    }
    u32 *const status = static_cast<u32 *>(calloc(1, sizeof(u32)));
    if (status == nullptr) {
        kiv_printf("Memory allocation failure for response_p!!!\n");
        free(request);
        return;
    }

    request->count = n;
    const u32 nodes = prm_kiv_qos_items_within(size, sizeof(wyk_hal_release), sizeof(wyk_hal_node), n);
    for (u32 i = 0; i < nodes; ++i) {
        wyk_hal_node *const node = wyk_hal_release_node_at(request, i);
        node->type = WYK_HAL_NODE_TYPE_VALUE;
        node->word4 = 0;
        if (policer) {
            node->type |= WYK_HAL_NODE_POLICER;
            node->policer_word = entry->policer_id << WYK_HAL_NODE_POLICER_SHIFT | WYK_HAL_NODE_POLICER_VALID;
            node->policer_stats_id = entry->stats_id & ~PRM_TCAM_QOS_STATS_FLAG;
        } else {
            node->counter_flags = WYK_HAL_NODE_COUNTER_VALID;
            node->counter_id = entry->stats_id;
        }
    }

    const prm_status_t rc = wyk_hal_wrapper_deallocate_nodes(request, status);
    if (rc == PRM_ERROR_NONE && *status != 0)
        kiv_printf("Success in Deleting Stats/Policers \n");
    else
        kiv_printf("Failure in Deleting Stats/Policers rc: 0x%x Status: %d\n", rc, *status);
    *result = prm_kiv_check_none_here(rc, kFile, "tc_kiv_qos_tm_destroy", __LINE__);
    free(request);
    free(status);
}

void tc_kiv_qos_tm_destroy(u32 n, wyk_hal_ids *entry, int policer) {
    int result = 0;
    prm_kiv_qos_tm_destroy(n, entry, policer != 0, &result);
}
