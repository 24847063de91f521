// QoS, egress traffic manager: the steps that allocate, configure, read and release the strict-priority
// queues of a port.
#include <stdlib.h>
#include <string.h>

#include "prm_kiv_qos.h"
#include "prm_kiv_tcam.h"
#include "wyk_hal_wrapper.h"

static const char kFile[] = "prm/test/src/prm_kiv_qos";

u32 g_stats_id[WYK_HAL_CLASSES][PRM_KIV_IDS];

// Class i serves the qos-group 7 - i; the last class, of group 0, is the default class.
enum : u16 { kDefaultGroup = 0 };
static u16 group_of_class(u32 i) {
    return static_cast<u16>(WYK_HAL_CLASSES - 1 - i);
}

prm_status_t kiv_queue_engine_op(u32 hal_type, void *request, void *response) {
    kiv_printf("hal type : %d\n", hal_type);
    return wyk_hal_wrapper_engine_op(hal_type, request, response);
}

prm_status_t kiv_queue_allocate_def_q_req(u32 port) {
    wyk_hal_default_queue request;
    request.port_index = (port & 0xFF) - 1;
    request.word4 = 1;
    request.word8 = 100000000;
    wyk_hal_default_queue_response response;
    memset(&response, 0, sizeof response);
    const prm_status_t rc = kiv_queue_engine_op(WYK_HAL_DEFAULT_QUEUE_ALLOCATE, &request, &response);
    prm_kiv_check_none_here(rc, kFile, "kiv_queue_allocate_def_q_req", __LINE__);
    return rc;
}

// --- Results ---------------------------------------------------------------------------------------------

enum { kQueueHandles = 0, kPolicerHandles = 1 };  // what kiv_queue_get_result_req asks for

static void fill_result_items(int which, wyk_hal_result_request *request, u32 items, u32 port) {
    if (which == kQueueHandles) {
        for (u32 i = 0; i < items; ++i) {
            wyk_hal_result_item *const item = wyk_hal_result_item_at(request, i);
            item->select |= WYK_HAL_RESULT_QUEUE;
            item->port = port & 0xFF;
            item->byte14 = static_cast<u8>(item->byte14 & ~WYK_HAL_RESULT_BYTE14);
        }
    } else if (which == kPolicerHandles && items > 0) {  // the first item alone
        wyk_hal_result_item *const item = wyk_hal_result_item_at(request, 0);
        item->select |= WYK_HAL_RESULT_POLICER;
        item->word32 = 10;
    }
}

static void print_result(int which, const wyk_hal_ids *ids) {
    if (which == kQueueHandles)
        kiv_printf("fid0: 0x%x commit_tx 0x%x drop 0x%x \n", ids->fid0, ids->commit_id, ids->drop_id);
    else if (which == kPolicerHandles)
        kiv_printf("Tknbkt: %d Profile: %d Confirm: 0x%x Exceed: 0x%x Violate: 0x%x\n", ids->policer_id,
                   ids->profile, ids->stats_id, ids->exceed_id, ids->violate_id);
}

prm_status_t kiv_queue_get_result_req(int which, u32 n, u32 port) {
    const u16 request_size = wyk_hal_result_request_size(n);
    wyk_hal_result_request *const request = static_cast<wyk_hal_result_request *>(
        prm_kiv_qos_block(request_size, sizeof(wyk_hal_result_request)));
    if (request == nullptr) {
        kiv_printf("Memory allocation failure for request_p!!!\n");
        return PRM_KIV_QOS_NO_MEMORY;
    }
    const u16 response_size = wyk_hal_result_response_size(n);
    wyk_hal_result_response *const response = static_cast<wyk_hal_result_response *>(
        prm_kiv_qos_block(response_size, sizeof(wyk_hal_result_response)));
    if (response == nullptr) {
        kiv_printf("Memory allocation failure for response_p!!!\n");
        free(request);
        return PRM_KIV_QOS_NO_MEMORY;
    }

    request->count = n;
    kiv_printf("Get Result Case: %d\n", which);
    fill_result_items(which, request,
                      prm_kiv_qos_items_within(request_size, sizeof(wyk_hal_result_request),
                                               sizeof(wyk_hal_result_item), n),
                      port);
    const prm_status_t rc = wyk_hal_wrapper_get_result(request, response);
    if (rc == PRM_ERROR_NONE) {
        const u32 items =
            prm_kiv_qos_items_within(response_size, sizeof(wyk_hal_result_response), sizeof(wyk_hal_ids), n);
        for (u32 i = 0; i < items; ++i) print_result(which, wyk_hal_result_ids_at(response, i));
    }
    prm_kiv_check_none_here(rc, kFile, "kiv_queue_get_result_req", __LINE__);
    free(request);
    free(response);
    return rc;
}

// --- Configuration ---------------------------------------------------------------------------------------

// True for the modes whose configuration is meant to be taken.
static bool is_valid_mode(int mode) {
    return mode == PRM_KIV_SP_RISING || mode == PRM_KIV_SP_FALLING || mode == PRM_KIV_SP_SAME;
}

static void fill_head(wyk_hal_policy_request *request, int mode, u32 port) {
    switch (mode) {
        case PRM_KIV_SP_RISING:
        case PRM_KIV_SP_FALLING:
        case PRM_KIV_SP_SAME:
            request->word0 = WYK_HAL_SP_WORD1;
            request->word4 = WYK_HAL_SP_WORD2;
            request->count = WYK_HAL_CLASSES;
            request->np_id = 0;
            request->port = port;
            request->direction = WYK_HAL_EGRESS;
            break;
        case PRM_KIV_SP_INVALID_MQC_LEVEL:
            request->mqc_level = 2;
            break;
        case PRM_KIV_SP_INVALID_NP_ID:
            request->np_id = 1;
            break;
        case PRM_KIV_SP_INGRESS_QUEUE:
            request->direction = WYK_HAL_INGRESS;
            request->word64 |= WYK_HAL_QUEUING_ENABLED;
            break;
    }
}

static void fill_classes(wyk_hal_policy_request *request, int mode) {
    enum : u32 { kDefaultRate = 62500, kRate = 1250000 };
    for (u32 i = 0; i < WYK_HAL_CLASSES; ++i) {
        wyk_hal_policy *const c = wyk_hal_policy_at(request, i);
        c->qos_group = group_of_class(i);
        switch (mode) {
            case PRM_KIV_SP_RISING:
                c->priority = i;
                break;
            case PRM_KIV_SP_FALLING:
                c->priority = WYK_HAL_CLASSES - 1 - i;
                break;
            case PRM_KIV_SP_SAME:
                c->priority = 0;
                break;
            case PRM_KIV_SP_INVALID_INGRESS_DEPTH:
            case PRM_KIV_SP_INVALID_EGRESS_DEPTH:
                request->direction =
                    mode == PRM_KIV_SP_INVALID_INGRESS_DEPTH ? WYK_HAL_INGRESS : WYK_HAL_EGRESS;
                request->count = WYK_HAL_CLASSES;
                c->mqc_depth = 1;
                break;
        }
        if (is_valid_mode(mode)) c->shaper_word = WYK_HAL_SHAPER_WORD;

        if (c->qos_group == kDefaultGroup) {
            c->shaper_word |= WYK_HAL_SHAPER_DEFAULT_CLASS;
            c->rate = kDefaultRate;
            c->bandwidth_mode = WYK_HAL_BANDWIDTH_BWRR;
            c->weight = 0;
        } else {
            c->rate = kRate;
        }
    }
}

static void keep_ids(u32 i) {
    const wyk_hal_policy *const c = wyk_hal_policy_at(g_tm_config_request, i);
    const wyk_hal_ids *const ids = wyk_hal_policy_ids_at(g_tm_config_response, i);
    g_stats_id[i][PRM_KIV_STATS_ID] = ids->stats_id;
    g_stats_id[i][PRM_KIV_COMMIT_ID] = ids->commit_id;
    g_stats_id[i][PRM_KIV_DROP_ID] = ids->drop_id;
    g_stats_id[i][PRM_KIV_QUEUE_ID] = ids->fid0;
    kiv_printf("class_id: %d Qos-GRP: %d Pri: %d\n", i, c->qos_group, c->priority);
    kiv_printf("stats id: %x fid0 id: %x commit id: %x drop id: %x\n", ids->stats_id, ids->fid0,
               ids->commit_id, ids->drop_id);
}

prm_status_t kiv_queue_config_tm_req(int mode, u32 port) {
    g_tm_config_request =
        static_cast<wyk_hal_policy_request *>(calloc(1, wyk_hal_policy_request_size(WYK_HAL_CLASSES)));
    if (g_tm_config_request == nullptr) {
        kiv_printf("Memory allocation failure for g_tm_config_request!!!\n");
        return PRM_KIV_QOS_NO_MEMORY;
    }
    g_tm_config_response =
        static_cast<wyk_hal_policy_response *>(calloc(1, wyk_hal_policy_response_size(WYK_HAL_CLASSES)));
    if (g_tm_config_response == nullptr) {
        kiv_printf("Memory allocation failure for g_tm_config_response!!!\n");
        free(g_tm_config_request);
        g_tm_config_request = nullptr;
        return PRM_KIV_QOS_NO_MEMORY;
    }

    fill_head(g_tm_config_request, mode, port);
    fill_classes(g_tm_config_request, mode);
    const prm_status_t rc = wyk_hal_wrapper_config_policy_in_tm(g_tm_config_request, g_tm_config_response);
    if (rc != PRM_ERROR_NONE) return rc;
    if (!is_valid_mode(mode)) return g_tm_config_response->status;
    for (u32 i = 0; i < WYK_HAL_CLASSES; ++i) keep_ids(i);
    return PRM_ERROR_NONE;
}

// --- Counters and depths ---------------------------------------------------------------------------------

prm_status_t kiv_queue_get_stats_hal_req(void) {
    for (u32 i = 0; i < WYK_HAL_CLASSES; ++i) {
        for (u32 id = PRM_KIV_STATS_ID; id <= PRM_KIV_DROP_ID; ++id) {
            wyk_hal_stats_request request;
            request.count = 1;
            request.stats_id = g_stats_id[i][id];
            wyk_hal_stats_response response;
            memset(&response, 0, sizeof response);
            const prm_status_t rc = wyk_hal_wrapper_get_stats(&request, &response);
            if (rc == PRM_ERROR_NONE)
                kiv_printf("Status %u Stats ID: 0x%x Packets %u Bytes %u\n", response.status,
                           request.stats_id, static_cast<u32>(response.packets),
                           static_cast<u32>(response.bytes));
            prm_kiv_check_none_here(rc, kFile, "kiv_queue_get_stats_hal_req", __LINE__);
            if (rc != PRM_ERROR_NONE) {
                kiv_printf("Failure in gettting stats for Stats ID: 0x%x\n rc: 0x%x\n", request.stats_id, rc);
                return rc;
            }
        }
    }
    return PRM_ERROR_NONE;
}

static prm_status_t print_queue_depth(u32 i) {
    wyk_hal_queue_depth_request *const request =
        static_cast<wyk_hal_queue_depth_request *>(calloc(1, sizeof(wyk_hal_queue_depth_request)));
    if (request == nullptr) {
        kiv_printf("Memory allocation failure for queue_depth_req!!!\n");
        return PRM_KIV_QOS_NO_MEMORY;
    }
    u32 *const depth = static_cast<u32 *>(calloc(1, sizeof(u32)));
    if (depth == nullptr) {
        kiv_printf("Memory allocation failure for queue_depth!!!\n");
        free(request);
        return PRM_KIV_QOS_NO_MEMORY;
    }

    request->fid0 = g_stats_id[i][PRM_KIV_QUEUE_ID];
    const prm_status_t rc = wyk_hal_wrapper_get_queue_depth(request, depth);
    if (rc == PRM_ERROR_NONE) {
        kiv_printf("Class: %u Cos: %u Fid: 0x%x Depth: %u \n", i, group_of_class(i), request->fid0, *depth);
        prm_kiv_check_none_here(rc, kFile, "kiv_queue_get_q_depth_req", __LINE__);
    } else {
        kiv_printf("Failure in getting queue depth for fid 0x%x rc 0x%x\n", request->fid0, rc);
    }
    free(request);
    free(depth);
    return rc;
}

prm_status_t kiv_queue_get_q_depth_req(void) {
    for (u32 i = 0; i < WYK_HAL_CLASSES; ++i) {
        const prm_status_t rc = print_queue_depth(i);
        if (rc != PRM_ERROR_NONE) return rc;
    }
    return PRM_ERROR_NONE;
}

// --- The chain -------------------------------------------------------------------------------------------

static void pass_create(void) {
    prm_kiv_check_none_here(PRM_ERROR_NONE, kFile, "tc_kiv_qos_sp_queue_create", __LINE__);
}

prm_status_t tc_kiv_qos_sp_queue_create(int mode, u32 port) {
    prm_status_t rc = kiv_queue_allocate_def_q_req(port);
    if (rc != PRM_ERROR_NONE) {
        kiv_printf("Failure in Allocating Default Queue rc: 0x%x\n", rc);
        return rc;
    }
    pass_create();

    rc = kiv_queue_get_result_req(kQueueHandles, 4, port);
    if (rc != PRM_ERROR_NONE) {
        kiv_printf("Failure in Getting Result Request rc: 0x%x\n", rc);
        return rc;
    }
    pass_create();

    rc = kiv_queue_config_tm_req(mode, port);
    if (rc != PRM_ERROR_NONE) {
        kiv_printf("Failure in Configuring TM Request rc: 0x%x\n", rc);
        return rc;
    }

    rc = kiv_queue_get_stats_hal_req();
    if (rc != PRM_ERROR_NONE) {
        kiv_printf("Failure in Getting Stats Request rc: 0x%x\n", rc);
        return rc;
    }
    pass_create();

    rc = kiv_queue_get_q_depth_req();
    if (rc != PRM_ERROR_NONE) {
        kiv_printf("Failure in Getting Queue Depth rc: 0x%x\n", rc);
        return rc;
    }
    pass_create();
    return rc;
}

// Compares a class as programmed with the request; levels and priorities are told counted from 1.
static void compare_class(u32 i, const wyk_hal_policy *wanted, const wyk_hal_class_config *programmed) {
    if (wanted->qos_group != kDefaultGroup) {
        if (programmed->level == wanted->priority)
            kiv_printf("Strict Priority (level: %d) is configured properly for class %d of qos-group %d\n",
                       programmed->level + 1, i, wanted->qos_group);
        else
            kiv_printf("Strict Priority (level: %d) is not configured for class %d of qos-group %d, pri %d\n",
                       programmed->level + 1, i, wanted->qos_group, wanted->priority + 1);
    } else if (programmed->bandwidth_mode == WYK_HAL_BANDWIDTH_BWRR && programmed->weight == 1) {
        kiv_printf("BWRR is cnfig crrtly on def-class's SP\n");
    } else {
        kiv_printf("BWRR isn't config crrtly on def-class's SP mode %d weight %d\n",
                   programmed->bandwidth_mode, programmed->weight);
    }
}

prm_status_t tc_kiv_qos_sp_queue_verify(u32 port) {
    if (g_tm_config_request == nullptr) return PRM_KIV_QOS_INVALID_PARAM;  // nothing to compare with

    wyk_hal_config_request request;
    memset(&request, 0, sizeof request);
    request.count = WYK_HAL_CLASSES;
    for (u32 i = 0; i < WYK_HAL_CLASSES; ++i) {
        const wyk_hal_policy *const c = wyk_hal_policy_at(g_tm_config_request, i);
        request.nodes[i].type |= WYK_HAL_NODE_QUEUE;
        request.nodes[i].port = port;
        request.nodes[i].qos_group = c->qos_group;
        kiv_printf("Set qos-group %d(pri %d) for class %d\n", c->qos_group, c->priority + 1, i);
    }
    wyk_hal_config_response response;
    memset(&response, 0, sizeof response);
    const prm_status_t rc = wyk_hal_wrapper_get_config(&request, &response);
    if (rc == PRM_ERROR_NONE && response.status == 1) {
        for (u32 i = 0; i < WYK_HAL_CLASSES; ++i)
            compare_class(i, wyk_hal_policy_at(g_tm_config_request, i), &response.classes[i]);
    } else {
        kiv_printf("Error in validating the sp queue");
    }
    prm_kiv_check_none_here(rc, kFile, "tc_kiv_qos_sp_queue_verify", __LINE__);
    return rc;
}

prm_status_t tc_kiv_qos_sp_queue_delete(u32 port) {
    wyk_hal_release_of<WYK_HAL_CLASSES> request;
    memset(&request, 0, sizeof request);
    request.head.word8 = WYK_HAL_SP_WORD1;
    request.head.word12 = WYK_HAL_SP_WORD2;
    request.head.count = WYK_HAL_CLASSES;
    for (wyk_hal_node &node : request.nodes) {
        node.type = WYK_HAL_NODE_TYPE_VALUE;
        node.type |= WYK_HAL_NODE_QUEUE;
        node.word4 = 1;
        node.byte8 |= WYK_HAL_NODE_FLAG8;
        node.port = port;
    }
    u32 status = 0;
    const prm_status_t rc = wyk_hal_wrapper_deallocate_nodes(&request, &status);
    if (rc == PRM_ERROR_NONE && status != 0)
        kiv_printf("Success in Deleting SP Queue \n");
    else
        kiv_printf("Failure in Deleting SP Queue rc: 0x%x Status: %d\n", rc, status);
    prm_kiv_check_none_here(rc, kFile, "tc_kiv_qos_sp_queue_delete", __LINE__);
    return rc;
}
