// Statistics pointers: pools by class and direction.
#include <set>

#include "tests/card/sim/card_test.h"

namespace sim {
namespace {

class StatisticsTest : public CardTest {};

TEST_F(StatisticsTest, PointersOfAllPoolsDiffer) {
    std::set<u32> seen;
    for (u32 direction : {PRM_STATS_INGRESS, PRM_STATS_EGRESS}) {
        for (u32 stats_class : {PRM_STATS_CLASS_INTERFACE, PRM_STATS_CLASS_MPLS}) {
            for (u32 count : {1u, 3u, 1u}) {
                u32 granted = count, pointer = 0;
                ASSERT_EQ(prm_stats_cl_alloc(client, direction, stats_class, 2, &granted, &pointer), 0u);
                EXPECT_EQ(granted, count);
                for (u32 i = 0; i < granted; ++i) EXPECT_TRUE(seen.insert(pointer + i).second);
            }
        }
    }
    EXPECT_EQ(used(Resource::statistics), 20u);
}

TEST_F(StatisticsTest, BadRequestsAreRefused) {
    u32 count = 1, pointer = 77;
    EXPECT_EQ(prm_stats_cl_alloc(stranger(), PRM_STATS_INGRESS, 5, 2, &count, &pointer),
              CARD_ERROR_BAD_HANDLE);
    EXPECT_EQ(prm_stats_cl_alloc(nullptr, PRM_STATS_INGRESS, 5, 2, &count, &pointer), CARD_ERROR_BAD_HANDLE);
    EXPECT_EQ(prm_stats_cl_alloc(client, 0x30000000, 5, 2, &count, &pointer), CARD_ERROR_BAD_DIRECTION);
    EXPECT_EQ(prm_stats_cl_alloc(client, PRM_STATS_INGRESS, 7, 2, &count, &pointer),
              CARD_ERROR_BAD_STATISTICS_CLASS);
    EXPECT_EQ(prm_stats_cl_alloc(client, PRM_STATS_INGRESS, 5, 2, nullptr, &pointer),
              CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_stats_cl_alloc(client, PRM_STATS_INGRESS, 5, 2, &count, nullptr), CARD_ERROR_NULL_POINTER);
    count = 0;
    EXPECT_EQ(prm_stats_cl_alloc(client, PRM_STATS_INGRESS, 5, 2, &count, &pointer), CARD_ERROR_BAD_COUNT);
    count = 0xFFFFFFFF;
    EXPECT_EQ(prm_stats_cl_alloc(client, PRM_STATS_INGRESS, 5, 2, &count, &pointer),
              CARD_ERROR_POOL_EXHAUSTED);
    EXPECT_EQ(pointer, 77u);
    EXPECT_EQ(used(Resource::statistics), 0u);
}

TEST_F(StatisticsTest, APointerBelongsToTheClientThatAllocatedIt) {
    const auto allocate = [](prm_handle_t handle, u32 count) {
        u32 pointer = 0;
        EXPECT_EQ(
            prm_stats_cl_alloc(handle, PRM_STATS_INGRESS, PRM_STATS_CLASS_INTERFACE, 2, &count, &pointer),
            0u);
        return pointer;
    };
    prm_handle_t other = nullptr;
    ASSERT_EQ(prm_srh_register(&other, 1, evm, ignore_notification), 0u);
    const u32 first = allocate(client, 1), more = allocate(client, 2), others = allocate(other, 1),
              last = allocate(client, 1);
    ASSERT_EQ(prm_srh_unregister("client", 0), 0u);
    const auto owner = [&](u32 pointer) { return card.statistics.owner(pointer); };
    for (const u32 pointer : {first, more, more + 1, last})
        EXPECT_EQ(owner(pointer), reinterpret_cast<uintptr_t>(client)) << "also when it is gone";
    EXPECT_EQ(owner(others), reinterpret_cast<uintptr_t>(other));
    EXPECT_EQ(owner(first - 1), 0u);
    EXPECT_EQ(owner(last + 1), 0u);
    EXPECT_EQ(used(Resource::statistics), 5u);
}

TEST_F(StatisticsTest, APointerBeginsAtZero) {
    u32 count = 2, pointer = 0;
    const u32 next = 5u << 24;
    card.statistics.counters.count(next + 1, 64);
    ASSERT_EQ(prm_stats_cl_alloc(client, PRM_STATS_INGRESS, PRM_STATS_CLASS_INTERFACE, 2, &count, &pointer),
              0u);
    ASSERT_EQ(pointer, next);
    EXPECT_EQ(card.statistics.counters.of(pointer + 1), Count{});
}

}  // namespace
}  // namespace sim
