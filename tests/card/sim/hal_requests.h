// Requests of the NP HAL wrapper, filled as a well-behaved client fills them.
#ifndef TESTS_CARD_SIM_HAL_REQUESTS_H
#define TESTS_CARD_SIM_HAL_REQUESTS_H

#include <vector>

#include "wyk_hal_records.h"
#include "wyk_hal_wrapper.h"
#include "zor_vop_prm_tcam.h"

namespace sim {

// A block of just the bytes that a request or response has, so that a sanitizer sees one byte too many.
template <typename Head>
class Block {
  public:
    explicit Block(size_t bytes) : bytes_(bytes) {}
    Head *operator->() { return head(); }
    Head *head() { return reinterpret_cast<Head *>(bytes_.data()); }
    operator void *() { return bytes_.data(); }
    bool all_zero() const { return bytes_ == std::vector<u8>(bytes_.size()); }

  private:
    std::vector<u8> bytes_;
};

// A policy exchange with n policies or classes.
struct Policies {
    Block<wyk_hal_policy_request> request;
    Block<wyk_hal_policy_response> response;

    explicit Policies(u32 n)
        : request(wyk_hal_policy_request_size(n)), response(wyk_hal_policy_response_size(n)) {
        request->count = n;
    }
    wyk_hal_policy &operator[](u32 i) { return *wyk_hal_policy_at(request.head(), i); }
    const wyk_hal_ids &ids(u32 i) { return *wyk_hal_policy_ids_at(response.head(), i); }
    u32 configure() { return wyk_hal_wrapper_config_policy_in_tm(request, response, request->count); }
};

// The strict-priority exchange of a port: class i serves group 7 - i at priority i.
struct Classes : Policies {
    explicit Classes(u32 port) : Policies(WYK_HAL_CLASSES) {
        request->word0 = WYK_HAL_SP_WORD1;
        request->word4 = WYK_HAL_SP_WORD2;
        request->port = port;
        request->direction = WYK_HAL_EGRESS;
        for (u32 i = 0; i < WYK_HAL_CLASSES; ++i) {
            wyk_hal_policy &c = (*this)[i];
            c.qos_group = static_cast<u16>(WYK_HAL_CLASSES - 1 - i);
            c.priority = i;
            c.shaper_word = WYK_HAL_SHAPER_WORD;
            c.rate = 1250000;
        }
        wyk_hal_policy &last = (*this)[WYK_HAL_CLASSES - 1];
        last.shaper_word |= WYK_HAL_SHAPER_DEFAULT_CLASS;
        last.rate = 62500;
        last.bandwidth_mode = WYK_HAL_BANDWIDTH_BWRR;
    }
    u32 configure() { return wyk_hal_wrapper_config_policy_in_tm(request, response); }
};

struct Release {
    Block<wyk_hal_release> request;
    u32 status = 99;

    explicit Release(u32 n) : request(wyk_hal_release_size(n)) { request->count = n; }
    wyk_hal_node &operator[](u32 i) { return *wyk_hal_release_node_at(request.head(), i); }
    void name_policer(u32 i, const wyk_hal_ids &ids) {
        (*this)[i] = {};
        (*this)[i].type = u8{WYK_HAL_NODE_TYPE_VALUE} | u8{WYK_HAL_NODE_POLICER};
        (*this)[i].policer_word = ids.policer_id << WYK_HAL_NODE_POLICER_SHIFT | WYK_HAL_NODE_POLICER_VALID;
        (*this)[i].policer_stats_id = ids.stats_id & ~PRM_TCAM_QOS_STATS_FLAG;
    }
    void name_counter(u32 i, const wyk_hal_ids &ids) {
        (*this)[i] = {};
        (*this)[i].type = WYK_HAL_NODE_TYPE_VALUE;
        (*this)[i].counter_flags = WYK_HAL_NODE_COUNTER_VALID;
        (*this)[i].counter_id = ids.stats_id;
    }
    void name_queue(u32 i, u32 port) {
        (*this)[i] = {};
        (*this)[i].type = u8{WYK_HAL_NODE_TYPE_VALUE} | u8{WYK_HAL_NODE_QUEUE};
        (*this)[i].word4 = 1;
        (*this)[i].byte8 = WYK_HAL_NODE_FLAG8;
        (*this)[i].port = port;
    }
    u32 release() { return wyk_hal_wrapper_deallocate_nodes(request, &status); }
};

}  // namespace sim

#endif
