// Requests and responses of the NP HAL wrapper as the table of operations tells them: a request is only read,
// and what a response held before the call makes no difference to what comes back in it.
#include <cstring>
#include <random>
#include <vector>

#include "tests/card/sim/card_test.h"
#include "tests/card/sim/hal_requests.h"

namespace sim {
namespace {

using Bytes = std::vector<u8>;

Bytes bytes_of(const void *block, size_t size) {
    return Bytes(static_cast<const u8 *>(block), static_cast<const u8 *>(block) + size);
}

// Two cards that are sent the same requests, with responses that held 0 on one and 0xA5 on the other.
class Twins {
  public:
    // The status, after what both cards did was compared.
    u32 exchange(u32 (*call)(void *request, void *response), const Bytes &request, size_t response_size) {
        u32 status[2];
        for (size_t i = 0; i < 2; ++i) {
            CurrentCard use(cards[i]);
            Bytes sent = request;
            responses[i].assign(response_size, kFill[i]);
            status[i] = call(sent.data(), responses[i].data());
            EXPECT_EQ(sent, request) << "it is only read";
        }
        EXPECT_EQ(status[0], status[1]);
        for (size_t at = 0; at < response_size; ++at) {
            const bool untouched = responses[0][at] == kFill[0] && responses[1][at] == kFill[1];
            EXPECT_TRUE(untouched || responses[0][at] == responses[1][at]) << at;
        }
        return status[0];
    }

    Card cards[2];
    Bytes responses[2];

  private:
    static constexpr u8 kFill[] = {0, 0xA5};
};

u32 configure_counted(void *request, void *response) {
    const u32 count = static_cast<wyk_hal_policy_request *>(request)->count;
    return wyk_hal_wrapper_config_policy_in_tm(request, response, count);
}
u32 configure_classes(void *request, void *response) {
    return wyk_hal_wrapper_config_policy_in_tm(request, response);
}
u32 release_nodes(void *request, void *response) {
    return wyk_hal_wrapper_deallocate_nodes(request, static_cast<u32 *>(response));
}
template <u32 hal_type>
u32 engine(void *request, void *response) {
    return wyk_hal_wrapper_engine_op(hal_type, request, response);
}

class HalExchangeTest : public ::testing::Test {
  protected:
    u32 below(u32 end) { return static_cast<u32>(random_() % end); }
    bool rarely() { return below(8) == 0; }
    u32 port() { return rarely() ? below(70) : 1 + below(4); }
    u32 known_id() {
        return ids_.empty() || rarely() ? static_cast<u32>(random_()) : ids_[below(ids_.size())];
    }

    void configure_policies() {
        Policies policies(below(4));
        for (u32 i = 0; i < policies.request->count; ++i) {
            policies[i].kind = rarely() ? 1 : below(2) == 0 ? WYK_HAL_POLICY_COUNTER : WYK_HAL_POLICY_POLICER;
        }
        const u32 n = policies.request->count;
        count(twins_.exchange(configure_counted,
                              bytes_of(policies.request.head(), wyk_hal_policy_request_size(n)),
                              wyk_hal_policy_response_size(n)));
        for (u32 i = 0; i < n; ++i) {
            auto *const head = reinterpret_cast<wyk_hal_policy_response *>(twins_.responses[0].data());
            const wyk_hal_ids &ids = *wyk_hal_policy_ids_at(head, i);
            ids_.push_back(ids.stats_id);
            policers_.push_back(ids);
        }
    }
    void configure_port() {
        Classes classes(port());
        if (rarely()) classes[below(8)].qos_group = static_cast<u16>(below(10));
        count(twins_.exchange(configure_classes,
                              bytes_of(classes.request.head(), wyk_hal_policy_request_size(WYK_HAL_CLASSES)),
                              wyk_hal_policy_response_size(WYK_HAL_CLASSES)));
        auto *const head = reinterpret_cast<wyk_hal_policy_response *>(twins_.responses[0].data());
        ids_.push_back(wyk_hal_policy_ids_at(head, below(8))->fid0);
        ids_.push_back(wyk_hal_policy_ids_at(head, below(8))->drop_id);
    }
    void release() {
        Release release(1 + below(3));
        for (u32 i = 0; i < release.request->count; ++i) {
            const wyk_hal_ids none = {};
            const wyk_hal_ids &ids = policers_.empty() ? none : policers_[below(policers_.size())];
            switch (below(3)) {
                case 0:
                    release.name_queue(i, port());
                    break;
                case 1:
                    release.name_policer(i, ids);
                    break;
                default:
                    release.name_counter(i, ids);
            }
        }
        const size_t size = wyk_hal_release_size(release.request->count);
        count(twins_.exchange(release_nodes, bytes_of(release.request.head(), size), sizeof(u32)));
    }
    void default_queue() {
        const wyk_hal_default_queue request = {.port_index = port() - 1, .word4 = 1, .word8 = 1};
        count(twins_.exchange(
            below(3) == 0 ? engine<WYK_HAL_DEFAULT_QUEUE_RELEASE> : engine<WYK_HAL_DEFAULT_QUEUE_ALLOCATE>,
            bytes_of(&request, sizeof request), sizeof(wyk_hal_default_queue_response)));
    }
    void results() {
        const u32 n = 1 + below(2);
        Block<wyk_hal_result_request> request(wyk_hal_result_request_size(n));
        request->count = n;
        for (u32 i = 0; i < n; ++i) {
            wyk_hal_result_item &item = *wyk_hal_result_item_at(request.head(), i);
            item.select = below(2) == 0 ? WYK_HAL_RESULT_QUEUE : WYK_HAL_RESULT_POLICER;
            item.port = static_cast<u16>(port());
            item.word32 = below(70);
        }
        count(twins_.exchange(wyk_hal_wrapper_get_result,
                              bytes_of(request.head(), wyk_hal_result_request_size(n)),
                              wyk_hal_result_response_size(n)));
    }
    void read() {
        const wyk_hal_stats_request statistics = {.count = 1, .stats_id = known_id()};
        count(twins_.exchange(wyk_hal_wrapper_get_stats, bytes_of(&statistics, sizeof statistics),
                              sizeof(wyk_hal_stats_response)));
        wyk_hal_queue_depth_request depth = {};
        depth.fid0 = known_id();
        count(twins_.exchange(wyk_hal_wrapper_get_queue_depth, bytes_of(&depth, sizeof depth), sizeof(u32)));
        wyk_hal_config_request config = {};
        config.count = 1 + below(3);
        for (u32 i = 0; i < config.count; ++i) {
            config.nodes[i].type = WYK_HAL_NODE_QUEUE;
            config.nodes[i].port = port();
            config.nodes[i].qos_group = below(8);
        }
        count(twins_.exchange(wyk_hal_wrapper_get_config, bytes_of(&config, sizeof config),
                              sizeof(wyk_hal_config_response)));
    }

    void count(u32 status) { ++(status == 0 ? granted_ : refused_); }

    Twins twins_;
    std::vector<u32> ids_;
    std::vector<wyk_hal_ids> policers_;
    u32 granted_ = 0, refused_ = 0;

  private:
    std::mt19937 random_{7};
};

TEST_F(HalExchangeTest, RequestsAreOnlyReadAndResponsesOnlyWritten) {
    for (int round = 0; round < 2000; ++round) {
        switch (below(6)) {
            case 0:
                configure_policies();
                break;
            case 1:
                configure_port();
                break;
            case 2:
                release();
                break;
            case 3:
                default_queue();
                break;
            case 4:
                results();
                break;
            default:
                read();
        }
    }
    EXPECT_GT(granted_, 500u);
    EXPECT_GT(refused_, 500u);
    for (size_t i = 0; i < std::size(twins_.cards[0].accounts.rows); ++i) {
        EXPECT_EQ(twins_.cards[0].accounts.rows[i].account.used,
                  twins_.cards[1].accounts.rows[i].account.used);
    }
}

}  // namespace
}  // namespace sim
