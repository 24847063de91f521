// Traffic-manager operations: ids that exist as long as what they belong to, configuration as read back,
// release, and refusals.
#include <cstring>
#include <functional>
#include <set>
#include <vector>

#include "tests/card/sim/card_test.h"
#include "tests/card/sim/hal_requests.h"

namespace sim {
namespace {

constexpr u32 kPort = 41;

class TrafficManagerTest : public CardTest {
  protected:
    u32 statistics_status(u32 id) {
        wyk_hal_stats_request request = {.count = 1, .stats_id = id};
        wyk_hal_stats_response response;
        memset(&response, 0xEE, sizeof response);
        const u32 rc = wyk_hal_wrapper_get_stats(&request, &response);
        if (rc != 0) return rc;
        EXPECT_EQ(response.stats_id, id);
        EXPECT_EQ(response.packets | response.bytes, 0u) << "no traffic passes";
        return rc;
    }
    bool has_statistics(u32 id) { return statistics_status(id) == 0; }
    bool has_queue(u32 fid0) {
        wyk_hal_queue_depth_request request{};
        request.fid0 = fid0;
        u32 depth = 0xEEEEEEEE;
        if (wyk_hal_wrapper_get_queue_depth(&request, &depth) != 0) return false;
        EXPECT_EQ(depth, 0u);
        return true;
    }
    u32 default_queue(u32 hal_type, u32 port) {
        wyk_hal_default_queue request = {.port_index = port - 1, .word4 = 1, .word8 = 100000000};
        wyk_hal_default_queue_response response{};
        return wyk_hal_wrapper_engine_op(hal_type, &request, &response);
    }
    u32 queue_result(u32 port, wyk_hal_ids *ids) {
        Block<wyk_hal_result_request> request(wyk_hal_result_request_size(1));
        Block<wyk_hal_result_response> response(wyk_hal_result_response_size(1));
        request->count = 1;
        wyk_hal_result_item_at(request.head(), 0)->select = WYK_HAL_RESULT_QUEUE;
        wyk_hal_result_item_at(request.head(), 0)->port = static_cast<u16>(port);
        const u32 rc = wyk_hal_wrapper_get_result(request, response);
        *ids = *wyk_hal_result_ids_at(response.head(), 0);
        return rc;
    }
    u32 release_queues(u32 port, u32 n = WYK_HAL_CLASSES) {
        Release release(n);
        for (u32 i = 0; i < n; ++i) release.name_queue(i, port);
        const u32 rc = release.release();
        EXPECT_EQ(release.status != 0, rc == 0);
        return rc;
    }
    wyk_hal_config_response read_config(u32 port, u32 *rc) {
        wyk_hal_config_request request{};
        request.count = WYK_HAL_CLASSES;
        for (u32 i = 0; i < WYK_HAL_CLASSES; ++i) {
            request.nodes[i].type = WYK_HAL_NODE_QUEUE;
            request.nodes[i].port = port;
            request.nodes[i].qos_group = WYK_HAL_CLASSES - 1 - i;
        }
        wyk_hal_config_response response{};
        *rc = wyk_hal_wrapper_get_config(&request, &response);
        return response;
    }
};

// --- Policies ----------------------------------------------------------------------------------------------

TEST_F(TrafficManagerTest, PoliciesGetIdsOfTheirOwnThatLiveAsLongAsTheyDo) {
    Policies policies(3);
    for (u32 i = 0; i < 3; ++i) {
        policies[i].kind = i == 1 ? WYK_HAL_POLICY_COUNTER : WYK_HAL_POLICY_POLICER;
        policies[i].word336 = 1;
        policies[i].mode_word = 1;
        policies[i].committed_rate = 80 + i;
        policies[i].burst = 1600;
    }
    ASSERT_EQ(policies.configure(), 0u);
    EXPECT_EQ(used(Resource::policy), 3u);
    std::set<u32> statistics, policers;
    for (u32 i = 0; i < 3; ++i) {
        statistics.insert(policies.ids(i).stats_id & ~PRM_TCAM_QOS_STATS_FLAG);
        EXPECT_TRUE(has_statistics(policies.ids(i).stats_id));
        EXPECT_TRUE(has_statistics(policies.ids(i).stats_id ^ PRM_TCAM_QOS_STATS_FLAG));
        const auto *const policy = card.traffic_manager.policy(policies.ids(i).stats_id);
        ASSERT_NE(policy, nullptr);
        EXPECT_EQ(policy->committed_rate, 80 + i);
        EXPECT_EQ(policy->mode_word, 1u);
    }
    EXPECT_EQ(statistics.size(), 3u);
    EXPECT_EQ(policies.ids(1).policer_id, 0u) << "a counter has no policer";
    EXPECT_NE(policies.ids(0).policer_id, policies.ids(2).policer_id);
    EXPECT_TRUE(card.traffic_manager.has_policer(policies.ids(0).policer_id));
    EXPECT_FALSE(has_statistics(policies.ids(1).stats_id + 1))
        << "a counter does not count exceeding traffic";

    Release release(2);
    release.name_counter(0, policies.ids(1));
    release.name_policer(1, policies.ids(2));
    EXPECT_EQ(release.release(), 0u);
    EXPECT_NE(release.status, 0u);
    EXPECT_EQ(used(Resource::policy), 1u);
    EXPECT_TRUE(has_statistics(policies.ids(0).stats_id));
    EXPECT_FALSE(has_statistics(policies.ids(1).stats_id));
    EXPECT_FALSE(has_statistics(policies.ids(2).stats_id));
    EXPECT_FALSE(card.traffic_manager.has_policer(policies.ids(2).policer_id));
}

TEST_F(TrafficManagerTest, NoPoliciesAreNothingToDo) {
    Policies none(0);
    EXPECT_EQ(none.configure(), 0u);
    EXPECT_TRUE(none.response.all_zero());
    EXPECT_EQ(used(Resource::policy), 0u);
    Release release(0);
    EXPECT_EQ(release.release(), 0u);
    EXPECT_EQ(release.status, 0u);
}

TEST_F(TrafficManagerTest, PolicyRequestsThatDoNotHoldTogetherAreRefusedWhole) {
    const auto status_of = [](const std::function<void(Policies &)> &spoil, u32 count = 2) {
        Policies policies(2);
        spoil(policies);
        const u32 rc = wyk_hal_wrapper_config_policy_in_tm(policies.request, policies.response, count);
        EXPECT_TRUE(policies.response.all_zero());
        return rc;
    };
    EXPECT_EQ(status_of([](Policies &) {}, 3), CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(status_of([](Policies &p) { p.request->count = 1; }), CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(status_of([](Policies &p) { p[1].kind = 1; }), CARD_ERROR_BAD_KIND);
    EXPECT_EQ(status_of([](Policies &p) { p.request->np_id = 1; }), CARD_ERROR_BAD_VALUE);
    EXPECT_EQ(status_of([](Policies &p) { p.request->mqc_level = 2; }), CARD_ERROR_BAD_VALUE);
    EXPECT_EQ(used(Resource::policy), 0u);
}

// The blocks' sizes have 16 bits: a request of 152 policies has in truth 256 bytes.
TEST_F(TrafficManagerTest, ACountWhoseBlockWouldNotFitItsSizeIsRefused) {
    Policies most(151);
    EXPECT_EQ(most.configure(), 0u);
    Policies wrapped(152);
    EXPECT_EQ(wrapped.configure(), CARD_ERROR_BAD_COUNT);
    Policies huge(0);
    huge.request->count = 0xFFFFFFFF;
    EXPECT_EQ(huge.configure(), CARD_ERROR_BAD_COUNT);
    Release nodes(0);
    nodes.request->count = 1259;
    EXPECT_EQ(nodes.release(), CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(nodes.status, 0u);
    Block<wyk_hal_result_request> results(4);
    Block<wyk_hal_result_response> answers(8);
    results->count = 253;
    EXPECT_EQ(wyk_hal_wrapper_get_result(results, answers), CARD_ERROR_BAD_COUNT);
}

TEST_F(TrafficManagerTest, PoliciesRunOutAndNoneOfARequestIsLeftBehind) {
    Card small(limited({}, {{Resource::policy, 3}}));
    CurrentCard use_small(small);
    Policies two(2), more(2);
    EXPECT_EQ(two.configure(), 0u);
    EXPECT_EQ(more.configure(), CARD_ERROR_POOL_EXHAUSTED);
    EXPECT_EQ(small.accounts[Resource::policy].used, 2u);
    Policies one(1);
    EXPECT_EQ(one.configure(), 0u);
}

// --- Release -----------------------------------------------------------------------------------------------

TEST_F(TrafficManagerTest, ANodeThatIsWrongKeepsTheWholeRequestFromBeingReleased) {
    Policies policies(3);
    policies[0].kind = policies[1].kind = WYK_HAL_POLICY_POLICER;
    ASSERT_EQ(policies.configure(), 0u);
    const auto status_of = [&](const std::function<void(Release &)> &spoil) {
        Release release(3);
        release.name_policer(0, policies.ids(0));
        release.name_policer(1, policies.ids(1));
        release.name_counter(2, policies.ids(2));
        spoil(release);
        const u32 rc = release.release();
        EXPECT_EQ(release.status, 0u);
        EXPECT_EQ(used(Resource::policy), 3u);
        return rc;
    };
    EXPECT_EQ(status_of([](Release &r) { r[1].type ^= 1; }), CARD_ERROR_BAD_KIND);
    EXPECT_EQ(status_of([](Release &r) { r[1].type |= WYK_HAL_NODE_QUEUE; }), CARD_ERROR_BAD_KIND);
    EXPECT_EQ(status_of([](Release &r) { r[1].counter_flags = WYK_HAL_NODE_COUNTER_VALID; }),
              CARD_ERROR_BAD_KIND);
    EXPECT_EQ(status_of([](Release &r) { r[2].counter_flags = 0; }), CARD_ERROR_BAD_KIND);
    EXPECT_EQ(status_of([](Release &r) { r[1].policer_word ^= WYK_HAL_NODE_POLICER_VALID; }),
              CARD_ERROR_BAD_KIND);
    EXPECT_EQ(status_of([](Release &r) { r[1].policer_word += 1u << 30; }), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(status_of([](Release &r) { r[1].policer_stats_id += 4; }), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(status_of([](Release &r) { r[1] = r[0]; }), CARD_ERROR_NOT_FOUND) << "named twice";
    EXPECT_EQ(status_of([&](Release &r) { r.name_policer(1, policies.ids(2)); }), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(status_of([](Release &r) { r[2].counter_id += 1; }), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(status_of([&](Release &r) { r[2].counter_id = policies.ids(0).stats_id; }),
              CARD_ERROR_NOT_FOUND)
        << "a policer's statistics go with the policer";
    EXPECT_EQ(status_of([](Release &r) { r.name_queue(2, kPort); }), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(status_of([](Release &r) { r.name_queue(2, 0); }), CARD_ERROR_UNKNOWN_PORT);
}

// --- Strict priority ---------------------------------------------------------------------------------------

TEST_F(TrafficManagerTest, EightClassesGetQueuesAndIdsThatLiveUntilTheirRelease) {
    Classes classes(kPort);
    ASSERT_EQ(classes.configure(), 0u);
    EXPECT_EQ(classes.response->status, 0u);
    EXPECT_EQ(used(Resource::queue), 8u);
    std::set<u32> statistics, queues;
    for (u32 i = 0; i < WYK_HAL_CLASSES; ++i) {
        const wyk_hal_ids &ids = classes.ids(i);
        queues.insert(ids.fid0);
        EXPECT_TRUE(has_queue(ids.fid0));
        for (const u32 id : {ids.stats_id, ids.commit_id, ids.drop_id}) {
            statistics.insert(id);
            EXPECT_TRUE(has_statistics(id));
        }
        EXPECT_FALSE(has_statistics(ids.stats_id + 3)) << "between two queues' ids";
    }
    EXPECT_EQ(queues.size(), 8u);
    EXPECT_EQ(statistics.size(), 24u);
    const TrafficManagerState &state = card.traffic_manager;
    EXPECT_EQ(state.queue(state.class_queues(kPort)[7])->rate, 62500u);
    EXPECT_EQ(release_queues(kPort), 0u);
    EXPECT_EQ(used(Resource::queue), 0u);
    for (u32 i = 0; i < WYK_HAL_CLASSES; ++i) {
        EXPECT_FALSE(has_queue(classes.ids(i).fid0));
        EXPECT_FALSE(has_statistics(classes.ids(i).drop_id));
    }
    EXPECT_EQ(release_queues(kPort), CARD_ERROR_NOT_FOUND);
}

TEST_F(TrafficManagerTest, IdsThatWereNotHandedOutDoNotExist) {
    for (const u32 id :
         {0u, 1u, 10u, 0x01000000u, 0x01000028u, 0x01000100u, 0x04000004u, 0x20000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(statistics_status(id), CARD_ERROR_UNKNOWN_STATISTICS) << id;
        EXPECT_FALSE(has_queue(id)) << id;
    }
    wyk_hal_stats_request two = {.count = 2, .stats_id = 0};
    wyk_hal_stats_response response;
    EXPECT_EQ(wyk_hal_wrapper_get_stats(&two, &response), CARD_ERROR_BAD_COUNT);
}

TEST_F(TrafficManagerTest, TheConfigurationReadsBackWithTheSmallestWeightForTheDefaultClass) {
    Classes classes(kPort);
    classes[2].priority = 5;
    classes[3].weight = 40;
    ASSERT_EQ(classes.configure(), 0u);
    u32 rc;
    const wyk_hal_config_response read = read_config(kPort, &rc);
    ASSERT_EQ(rc, 0u);
    EXPECT_EQ(read.status, 1u);
    for (u32 i = 0; i < WYK_HAL_CLASSES; ++i) EXPECT_EQ(read.classes[i].level, i == 2 ? 5 : i);
    EXPECT_EQ(read.classes[0].bandwidth_mode, 0u);
    EXPECT_EQ(read.classes[3].weight, 40u);
    EXPECT_EQ(read.classes[7].bandwidth_mode, WYK_HAL_BANDWIDTH_BWRR);
    EXPECT_EQ(read.classes[7].weight, 1u);
}

TEST_F(TrafficManagerTest, ASecondConfigurationChangesThePortAndKeepsItsQueues) {
    Classes first(kPort), second(kPort);
    second[0].priority = 3;
    ASSERT_EQ(first.configure(), 0u);
    ASSERT_EQ(second.configure(), 0u);
    EXPECT_EQ(used(Resource::queue), 8u);
    EXPECT_EQ(first.ids(4).fid0, second.ids(4).fid0);
    u32 rc;
    EXPECT_EQ(read_config(kPort, &rc).classes[0].level, 3u);
}

TEST_F(TrafficManagerTest, QueuesAreReleasedOneByOneToo) {
    Classes classes(kPort), again(kPort);
    ASSERT_EQ(classes.configure(), 0u);
    EXPECT_EQ(release_queues(kPort, 9), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(release_queues(kPort, 3), 0u);
    EXPECT_EQ(used(Resource::queue), 5u);
    u32 rc;
    EXPECT_EQ(read_config(kPort, &rc).status, 0u);
    EXPECT_EQ(rc, CARD_ERROR_NOT_FOUND) << "the groups released";
    ASSERT_EQ(again.configure(), 0u);
    EXPECT_EQ(used(Resource::queue), 8u);
    EXPECT_EQ(again.ids(3).fid0, classes.ids(3).fid0);
    EXPECT_TRUE(has_queue(again.ids(0).fid0));
    EXPECT_EQ(release_queues(kPort), 0u);
    EXPECT_EQ(used(Resource::queue), 0u);
}

struct Spoiler {
    const char *what;
    std::function<void(Classes &)> spoil;
};

TEST_F(TrafficManagerTest, ABadConfigurationIsRefusedInTheStatusWord) {
    const Spoiler spoilers[] = {
        {"policy level", [](Classes &c) { c.request->mqc_level = 2; }},
        {"network processor", [](Classes &c) { c.request->np_id = 1; }},
        {"queuing in ingress direction",
         [](Classes &c) {
             c.request->direction = WYK_HAL_INGRESS;
             c.request->word64 = WYK_HAL_QUEUING_ENABLED;
         }},
        {"ingress direction", [](Classes &c) { c.request->direction = WYK_HAL_INGRESS; }},
        {"policy depth", [](Classes &c) { c[5].mqc_depth = 1; }},
        {"count that no block can hold", [](Classes &c) { c.request->count = 152; }},
        {"huge count", [](Classes &c) { c.request->count = 0xFFFFFFFF; }},
        {"port 0", [](Classes &c) { c.request->port = 0; }},
        {"port past the last", [](Classes &c) { c.request->port = 65; }},
        {"huge port", [](Classes &c) { c.request->port = 0xFFFFFFFF; }},
        {"qos-group twice", [](Classes &c) { c[0].qos_group = 6; }},
        {"priority", [](Classes &c) { c[0].priority = 8; }},
        {"bandwidth mode", [](Classes &c) { c[7].bandwidth_mode = 3; }},
    };
    for (const Spoiler &spoiler : spoilers) {
        Classes classes(kPort);
        spoiler.spoil(classes);
        EXPECT_EQ(classes.configure(), 0u) << spoiler.what;
        EXPECT_EQ(classes.response->status, 21u) << spoiler.what;
        EXPECT_EQ(used(Resource::queue), 0u) << spoiler.what;
    }
}

TEST_F(TrafficManagerTest, APortTakesAsManyClassesAsARequestHolds) {
    for (const u32 count : {1u, 3u, 9u, 151u}) {
        Policies classes(count);
        classes.request->port = kPort;
        classes.request->direction = WYK_HAL_EGRESS;
        for (u32 i = 0; i < count; ++i) {
            classes[i].qos_group = static_cast<u16>(1000 + i);
            classes[i].priority = count - 1 - i;
        }
        ASSERT_EQ(wyk_hal_wrapper_config_policy_in_tm(classes.request, classes.response), 0u);
        EXPECT_EQ(classes.response->status, 0u) << count;
        EXPECT_EQ(used(Resource::queue), count);
        const std::span<const u32> queues = card.traffic_manager.class_queues(kPort);
        ASSERT_EQ(queues.size(), count);
        for (u32 i = 0; i < count; ++i) {
            EXPECT_EQ(queues[i], classes.ids(i).fid0);
            EXPECT_EQ(card.traffic_manager.queue(queues[i])->priority, count - 1 - i);
        }
        classes[0].priority = std::max(count, 8u);
        ASSERT_EQ(wyk_hal_wrapper_config_policy_in_tm(classes.request, classes.response), 0u);
        EXPECT_EQ(classes.response->status, 21u) << "there is no such level";
    }
    // Read back a request at a time.
    wyk_hal_config_request request{};
    wyk_hal_config_response response{};
    request.count = 1;
    request.nodes[0].type = WYK_HAL_NODE_QUEUE;
    request.nodes[0].port = kPort;
    request.nodes[0].qos_group = 1150;
    EXPECT_EQ(wyk_hal_wrapper_get_config(&request, &response), 0u);
    request.nodes[0].qos_group = 1000;
    EXPECT_EQ(wyk_hal_wrapper_get_config(&request, &response), 0u);
    EXPECT_EQ(response.classes[0].level, 150u);
    EXPECT_EQ(release_queues(kPort, 151), 0u);
    EXPECT_EQ(used(Resource::queue), 0u);
}

TEST_F(TrafficManagerTest, AClassThatAConfigurationLeavesOutLosesItsQueueUnlessAnEntryCountsOnIt) {
    Classes classes(kPort);
    ASSERT_EQ(classes.configure(), 0u);
    const u32 dropped = classes.ids(7).stats_id;
    card.traffic_manager.hold_statistics(dropped);
    Classes fewer(kPort);
    fewer.request->count = 7;
    EXPECT_EQ(fewer.configure(), CARD_ERROR_IN_USE);
    EXPECT_EQ(release_queues(kPort), CARD_ERROR_IN_USE);
    EXPECT_EQ(used(Resource::queue), 8u);
    EXPECT_TRUE(has_statistics(dropped));
    card.traffic_manager.release_statistics(dropped);
    ASSERT_EQ(fewer.configure(), 0u);
    EXPECT_EQ(fewer.ids(6).fid0, classes.ids(6).fid0);
    EXPECT_EQ(used(Resource::queue), 7u);
    EXPECT_FALSE(has_statistics(dropped));
}

TEST_F(TrafficManagerTest, ARequestForAnotherNetworkProcessorNamesAPortOnIt) {
    Inventory two = small_inventory();
    two.np_local_ports = {32, 32};
    Card other(two);
    const CurrentCard use_other(other);
    Classes classes(kPort);
    classes.request->np_id = 1;
    ASSERT_EQ(classes.configure(), 0u);
    EXPECT_EQ(classes.response->status, 0u);
    Classes nowhere(0);
    nowhere.request->np_id = 1;
    nowhere.request->count = 0;
    ASSERT_EQ(nowhere.configure(), 0u);
    EXPECT_EQ(nowhere.response->status, 21u);
    nowhere.request->port = kPort;
    ASSERT_EQ(nowhere.configure(), 0u);
    EXPECT_EQ(nowhere.response->status, 0u);
    classes.request->np_id = 2;
    ASSERT_EQ(classes.configure(), 0u);
    EXPECT_EQ(classes.response->status, 21u);
}

TEST_F(TrafficManagerTest, WordsWhoseMeaningIsUnknownAreNotLookedAt) {
    Classes classes(kPort);
    classes.request->word0 = 0;
    classes.request->word4 = 0;
    memset(classes.request->reserved12, 0xFF, sizeof classes.request->reserved12);
    classes[0].shaper_word = 0xFFFFFFFF;
    classes[0].rate = 0;
    EXPECT_EQ(classes.configure(), 0u);
    EXPECT_EQ(classes.response->status, 0u);
}

TEST_F(TrafficManagerTest, QueuesRunOutAndThePortIsLeftAsItWas) {
    Card small(limited({}, {{Resource::queue, 12}}));
    CurrentCard use_small(small);
    Classes first(1), second(2);
    ASSERT_EQ(first.configure(), 0u);
    EXPECT_EQ(second.configure(), CARD_ERROR_POOL_EXHAUSTED);
    EXPECT_EQ(small.accounts[Resource::queue].used, 8u);
    EXPECT_EQ(release_queues(2, 1), CARD_ERROR_NOT_FOUND);
}

// --- Counters ----------------------------------------------------------------------------------------------

TEST_F(TrafficManagerTest, EveryIdCountsForItselfAndIsReadBack) {
    Classes classes(kPort);
    ASSERT_EQ(classes.configure(), 0u);
    const wyk_hal_ids &ids = classes.ids(2);
    TrafficManagerState &manager = card.traffic_manager;
    for (u64 i = 0; i < 10; ++i) manager.count(ids.stats_id, 100 + i);
    for (u64 i = 0; i < 4; ++i) manager.count(ids.commit_id, 100 + i);
    manager.count(ids.drop_id, 109);
    const auto read = [](u32 id) {
        wyk_hal_stats_request request = {.count = 1, .stats_id = id};
        wyk_hal_stats_response response{};
        EXPECT_EQ(wyk_hal_wrapper_get_stats(&request, &response), 0u);
        return Count{response.packets, response.bytes};
    };
    EXPECT_EQ(read(ids.stats_id), (Count{10, 1045}));
    EXPECT_EQ(read(ids.commit_id), (Count{4, 406}));
    EXPECT_EQ(read(ids.drop_id), (Count{1, 109}));
    EXPECT_EQ(read(classes.ids(3).stats_id), Count{});
    wyk_hal_queue_depth_request request{};
    request.fid0 = ids.fid0;
    u32 depth = 0;
    EXPECT_EQ(wyk_hal_wrapper_get_queue_depth(&request, &depth), 0u);
    EXPECT_EQ(depth, 5u) << "what neither left nor was dropped";
    manager.count(ids.stats_id + 3, 64);
    EXPECT_EQ(manager.counted(ids.stats_id + 3), Count{}) << "no id";
}

TEST_F(TrafficManagerTest, APolicyThatIsHandedAnIdBeginsAtZero) {
    Card small(limited({}, {{Resource::policy, 1}}));
    const CurrentCard use_small(small);
    Policies first(1), second(1);
    first[0].kind = second[0].kind = WYK_HAL_POLICY_POLICER;
    ASSERT_EQ(first.configure(), 0u);
    const u32 id = first.ids(0).stats_id;
    for (const u32 counter : {id, id + 1, id + 2}) small.traffic_manager.count(counter, 64);
    EXPECT_EQ(small.traffic_manager.counted(id), (Count{1, 64})) << "with its flag and without";
    EXPECT_EQ(small.traffic_manager.counted(id & ~PRM_TCAM_QOS_STATS_FLAG), (Count{1, 64}));
    Release release(1);
    release.name_policer(0, first.ids(0));
    ASSERT_EQ(release.release(), 0u);
    ASSERT_EQ(second.configure(), 0u);
    ASSERT_EQ(second.ids(0).stats_id, id) << "there is but one";
    for (const u32 counter : {id, id + 1, id + 2}) EXPECT_EQ(small.traffic_manager.counted(counter), Count{});
}

TEST_F(TrafficManagerTest, AReadOfAConfigurationThatIsNotThereFails) {
    u32 rc;
    EXPECT_EQ(read_config(kPort, &rc).status, 0u);
    EXPECT_EQ(rc, CARD_ERROR_NOT_FOUND);
    read_config(65, &rc);
    EXPECT_EQ(rc, CARD_ERROR_UNKNOWN_PORT);
    wyk_hal_config_request request{};
    wyk_hal_config_response response{};
    for (const u32 count : {0u, 9u, 0xFFFFFFFFu}) {
        request.count = count;
        EXPECT_EQ(wyk_hal_wrapper_get_config(&request, &response), CARD_ERROR_BAD_COUNT);
    }
    request.count = 1;
    EXPECT_EQ(wyk_hal_wrapper_get_config(&request, &response), CARD_ERROR_BAD_KIND);
}

// --- Ports -------------------------------------------------------------------------------------------------

TEST_F(TrafficManagerTest, ThePortsAreThoseOfTheInventory) {
    struct {
        u32 card_type, ports, last;
    } const kCards[] = {{PLATFORM_CARD_TYPE_A, 88, 81}, {PLATFORM_CARD_TYPE_B, 48, 41}, {0x1E1003, 2, 2}};
    for (const auto &kind : kCards) {
        Inventory inventory;
        inventory.card_type = kind.card_type;
        inventory.ports = kind.ports;
        Card other(inventory);
        CurrentCard use_other(other);
        for (const u32 port : {1u, kind.last, kind.ports}) {
            Classes classes(port);
            EXPECT_EQ(classes.configure(), 0u);
            EXPECT_EQ(classes.response->status, 0u) << port;
            EXPECT_EQ(default_queue(WYK_HAL_DEFAULT_QUEUE_ALLOCATE, port), 0u);
        }
        Classes beyond(kind.ports + 1);
        EXPECT_EQ(beyond.configure(), 0u);
        EXPECT_EQ(beyond.response->status, 21u);
        EXPECT_EQ(default_queue(WYK_HAL_DEFAULT_QUEUE_ALLOCATE, kind.ports + 1), CARD_ERROR_UNKNOWN_PORT);
    }
}

// --- Engine operations and results
// --------------------------------------------------------------------------

TEST_F(TrafficManagerTest, APortHasOneDefaultQueueFromItsAllocationToItsRelease) {
    wyk_hal_ids ids{}, same{};
    EXPECT_EQ(queue_result(1, &ids), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(default_queue(WYK_HAL_DEFAULT_QUEUE_RELEASE, 1), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(default_queue(WYK_HAL_DEFAULT_QUEUE_ALLOCATE, 1), 0u);
    EXPECT_EQ(queue_result(1, &ids), 0u);
    EXPECT_TRUE(has_queue(ids.fid0));
    EXPECT_TRUE(has_statistics(ids.commit_id));
    EXPECT_TRUE(has_statistics(ids.drop_id));
    EXPECT_EQ(default_queue(WYK_HAL_DEFAULT_QUEUE_ALLOCATE, 1), 0u);
    EXPECT_EQ(queue_result(1, &same), 0u);
    EXPECT_EQ(ids.fid0, same.fid0);
    EXPECT_EQ(used(Resource::queue), 1u);
    EXPECT_EQ(default_queue(WYK_HAL_DEFAULT_QUEUE_RELEASE, 1), 0u);
    EXPECT_FALSE(has_queue(ids.fid0));
    EXPECT_EQ(used(Resource::queue), 0u);
    for (const u32 port : {0u, 65u, 0x80000000u}) {
        EXPECT_EQ(default_queue(WYK_HAL_DEFAULT_QUEUE_ALLOCATE, port), CARD_ERROR_UNKNOWN_PORT);
        EXPECT_EQ(default_queue(WYK_HAL_DEFAULT_QUEUE_RELEASE, port), CARD_ERROR_UNKNOWN_PORT);
    }
    EXPECT_EQ(queue_result(0, &ids), CARD_ERROR_UNKNOWN_PORT);
}

TEST_F(TrafficManagerTest, APlatformPolicersHandleExistsOnceItWasAskedFor) {
    Block<wyk_hal_result_request> request(wyk_hal_result_request_size(2));
    Block<wyk_hal_result_response> response(wyk_hal_result_response_size(2));
    request->count = 2;
    wyk_hal_result_item &item = *wyk_hal_result_item_at(request.head(), 0);
    item.select = WYK_HAL_RESULT_POLICER;
    item.word32 = 10;
    EXPECT_FALSE(card.traffic_manager.has_policer(10));
    EXPECT_EQ(wyk_hal_wrapper_get_result(request, response), 0u);
    const wyk_hal_ids &ids = *wyk_hal_result_ids_at(response.head(), 0);
    EXPECT_TRUE(card.traffic_manager.has_policer(ids.policer_id));
    for (const u32 id : {ids.stats_id, ids.exceed_id, ids.violate_id}) EXPECT_TRUE(has_statistics(id));
    EXPECT_EQ(wyk_hal_result_ids_at(response.head(), 1)->policer_id, 0u) << "selects nothing, gets nothing";
    item.word32 = 64;
    EXPECT_EQ(wyk_hal_wrapper_get_result(request, response), CARD_ERROR_NOT_FOUND);
    item.select = WYK_HAL_RESULT_POLICER | WYK_HAL_RESULT_QUEUE;
    EXPECT_EQ(wyk_hal_wrapper_get_result(request, response), CARD_ERROR_BAD_KIND);
}

TEST_F(TrafficManagerTest, ARefusedResultRequestHandsNothingOut) {
    Block<wyk_hal_result_request> request(wyk_hal_result_request_size(2));
    Block<wyk_hal_result_response> response(wyk_hal_result_response_size(2));
    request->count = 2;
    for (u32 i = 0; i < 2; ++i) {
        wyk_hal_result_item_at(request.head(), i)->select = WYK_HAL_RESULT_POLICER;
        wyk_hal_result_item_at(request.head(), i)->word32 = i == 0 ? 10 : 1000;
    }
    EXPECT_EQ(wyk_hal_wrapper_get_result(request, response), CARD_ERROR_NOT_FOUND);
    EXPECT_TRUE(response.all_zero());
    EXPECT_FALSE(card.traffic_manager.has_policer(10));
}

TEST_F(TrafficManagerTest, ShaperAndInformationAnswerAndUnknownTypesDoNot) {
    wyk_hal_port_shaper shaper{};
    wyk_hal_port_shaper_removal removal{};
    wyk_hal_policy_response response{};
    wyk_hal_tm_info info{};
    EXPECT_EQ(wyk_hal_wrapper_engine_op(WYK_HAL_PORT_SHAPER_CONFIGURE, &shaper, &response), 0u);
    EXPECT_EQ(wyk_hal_wrapper_engine_op(WYK_HAL_PORT_SHAPER_REMOVE, &removal, &response), 0u);
    EXPECT_EQ(wyk_hal_wrapper_engine_op(WYK_HAL_PORT_SHAPER_REMOVE, &removal, &response), 0u);
    EXPECT_EQ(wyk_hal_wrapper_engine_op(WYK_HAL_TM_INFO, nullptr, &info), 0u);
    for (const u32 type : {1u, 2u, 3u, 6u, 7u, 8u, 11u, 21u, 0xFFFFFFFFu}) {
        EXPECT_EQ(wyk_hal_wrapper_engine_op(type, nullptr, nullptr), 22u) << type;
    }
}

TEST_F(TrafficManagerTest, AShaperIsKeptFromItsConfigurationToItsRemoval) {
    wyk_hal_port_shaper shaper{};
    wyk_hal_port_shaper_removal removal{};
    wyk_hal_policy_response response{};
    shaper.reserved0[100] = 7;
    EXPECT_FALSE(card.traffic_manager.port_shaper());
    ASSERT_EQ(wyk_hal_wrapper_engine_op(WYK_HAL_PORT_SHAPER_CONFIGURE, &shaper, &response), 0u);
    ASSERT_TRUE(card.traffic_manager.port_shaper());
    EXPECT_EQ(card.traffic_manager.port_shaper()->reserved0[100], 7);
    ASSERT_EQ(wyk_hal_wrapper_engine_op(WYK_HAL_PORT_SHAPER_REMOVE, &removal, &response), 0u);
    EXPECT_FALSE(card.traffic_manager.port_shaper());
}

TEST_F(TrafficManagerTest, InformationIsAnsweredFromWhatThereIs) {
    const auto ask = [] {
        wyk_hal_tm_info response;
        memset(&response, 0xEE, sizeof response);
        EXPECT_EQ(wyk_hal_wrapper_engine_op(WYK_HAL_TM_INFO, nullptr, &response), 0u);
        TmInfo info;
        memcpy(&info, &response, sizeof info);
        EXPECT_EQ(response.reserved0[sizeof info], 0xEE);
        return std::vector<u32>{info.ports, info.default_queues, info.class_queues, info.policies};
    };
    EXPECT_EQ(ask(), (std::vector<u32>{64, 0, 0, 0}));
    Classes classes(kPort);
    Policies policies(2);
    ASSERT_EQ(classes.configure(), 0u);
    ASSERT_EQ(policies.configure(), 0u);
    ASSERT_EQ(default_queue(WYK_HAL_DEFAULT_QUEUE_ALLOCATE, 3), 0u);
    EXPECT_EQ(ask(), (std::vector<u32>{64, 1, 8, 2}));
}

TEST_F(TrafficManagerTest, ADefaultQueueHasTheRateThatWasAskedForLast) {
    wyk_hal_ids ids{};
    ASSERT_EQ(default_queue(WYK_HAL_DEFAULT_QUEUE_ALLOCATE, 3), 0u);
    ASSERT_EQ(queue_result(3, &ids), 0u);
    EXPECT_EQ(card.traffic_manager.queue(ids.fid0)->rate, 100000000u);
    wyk_hal_default_queue slower = {.port_index = 2, .word4 = 1, .word8 = 5};
    wyk_hal_default_queue_response response{};
    ASSERT_EQ(wyk_hal_wrapper_engine_op(WYK_HAL_DEFAULT_QUEUE_ALLOCATE, &slower, &response), 0u);
    EXPECT_EQ(card.traffic_manager.queue(ids.fid0)->rate, 5u);
    EXPECT_EQ(used(Resource::queue), 1u);
}

TEST_F(TrafficManagerTest, NullBlocksAreRefusedByEveryOperation) {
    u8 block[8192] = {};
    u32 status = 7;
    EXPECT_EQ(wyk_hal_wrapper_config_policy_in_tm(nullptr, block), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(wyk_hal_wrapper_config_policy_in_tm(block, nullptr, 1), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(wyk_hal_wrapper_get_result(nullptr, block), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(wyk_hal_wrapper_get_result(block, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(wyk_hal_wrapper_get_stats(nullptr, block), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(wyk_hal_wrapper_get_stats(block, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(wyk_hal_wrapper_get_queue_depth(nullptr, block), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(wyk_hal_wrapper_get_queue_depth(block, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(wyk_hal_wrapper_get_config(nullptr, block), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(wyk_hal_wrapper_get_config(block, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(wyk_hal_wrapper_deallocate_nodes(nullptr, &status), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(wyk_hal_wrapper_deallocate_nodes(block, nullptr), CARD_ERROR_NULL_POINTER);
    for (const u32 type : {0u, 4u, 5u, 10u}) {
        EXPECT_EQ(wyk_hal_wrapper_engine_op(type, nullptr, block), CARD_ERROR_NULL_POINTER) << type;
    }
    for (const u32 type : {0u, 4u, 5u, 9u}) {
        EXPECT_EQ(wyk_hal_wrapper_engine_op(type, block, nullptr), CARD_ERROR_NULL_POINTER) << type;
    }
}

}  // namespace
}  // namespace sim
