// TCAM operations: what they keep, what they hand back, and what they refuse.
#include <sys/mman.h>

#include <cstring>
#include <functional>
#include <random>

#include "tests/card/sim/card_test.h"
#include "tests/card/sim/hal_requests.h"
#include "tests/card/sim/tcam_request.h"

namespace sim {
namespace {

constexpr u32 kAcl = PRM_TCAM_FEATURE_ACL;
constexpr u32 kQos = PRM_TCAM_FEATURE_QOS;

class TcamTest : public CardTest {
  protected:
    u64 create(u32 feature, u16 entries = 1) {
        TcamRequest request(feature, PRM_TCAM_CREATE, 0, 0, entries);
        EXPECT_EQ(zor_vop_prm_tcam_vmr_create(client, &request.info), 0u);
        return request.info.vmr_id;
    }
    u32 allocate_statistics() {
        prm_info info{};
        info.opcode = PRM_TCAM_STATS_ALLOC;
        EXPECT_EQ(zor_vop_prm_tcam_vmr_stats_alloc(client, &info), 0u);
        return info.stats_id;
    }
    u32 release_statistics(u32 id, u64 vmr_id = 0) {
        prm_info info{};
        info.opcode = PRM_TCAM_STATS_DEALLOC;
        info.stats_id = id;
        info.vmr_id = vmr_id;
        return zor_vop_prm_tcam_vmr_stats_dealloc(client, &info);
    }
    // What the traffic manager hands out for a policer.
    wyk_hal_ids policer() {
        Policies policies(1);
        policies[0].kind = WYK_HAL_POLICY_POLICER;
        EXPECT_EQ(policies.configure(), 0u);
        return policies.ids(0);
    }
    // Inserts an entry and reads it back.
    void round_trip(TcamRequest &programmed, TcamRequest &read_back) {
        ASSERT_EQ(zor_vop_prm_tcam_vmr_insert(client, &programmed.info), 0u);
        ASSERT_EQ(zor_vop_prm_tcam_vmr_read(client, &read_back.info), 0u);
    }
};

TEST_F(TcamTest, TheHandleCarriesTheFeatureAndIsNeverReused) {
    const u64 acl = create(kAcl), qos = create(kQos), other = create(kAcl);
    EXPECT_EQ((acl & PRM_TCAM_VMR_FEATURE) >> PRM_TCAM_VMR_FEATURE_SHIFT, kAcl);
    EXPECT_EQ((qos & PRM_TCAM_VMR_FEATURE) >> PRM_TCAM_VMR_FEATURE_SHIFT, kQos);
    EXPECT_EQ(qos & ~PRM_TCAM_VMR_USED, 0u);
    EXPECT_NE(acl, 0u);
    EXPECT_NE(acl, other);
    TcamRequest destroy(kAcl, PRM_TCAM_DESTROY, acl);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_destroy(client, &destroy.info), 0u);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_destroy(client, &destroy.info), PRM_ERROR_INVALID_ARG);
    EXPECT_NE(create(kAcl), acl);
}

TEST_F(TcamTest, AccountsFollowTcamsEntriesAndStatistics) {
    const u64 acl = create(kAcl, 3);
    EXPECT_EQ(used(Resource::tcam), 1u);
    EXPECT_EQ(used(Resource::tcam_entry), 3u);
    TcamRequest insert(kAcl, PRM_TCAM_INSERT, acl, 2, 2);  // over the last one and one further
    EXPECT_EQ(zor_vop_prm_tcam_vmr_insert(client, &insert.info), 0u);
    EXPECT_EQ(used(Resource::tcam_entry), 4u);
    TcamRequest erase(kAcl, PRM_TCAM_DELETE, acl, 0, 2);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_delete(client, &erase.info), 0u);
    EXPECT_EQ(used(Resource::tcam_entry), 2u);
    const u32 statistics = allocate_statistics();
    EXPECT_NE(statistics, allocate_statistics());
    EXPECT_EQ(used(Resource::acl_statistics), 2u);
    TcamRequest destroy(kAcl, PRM_TCAM_DESTROY, acl);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_destroy(client, &destroy.info), 0u);
    EXPECT_EQ(release_statistics(statistics), 0u);
    EXPECT_EQ(used(Resource::tcam), 0u);
    EXPECT_EQ(used(Resource::tcam_entry), 0u);
    EXPECT_EQ(used(Resource::acl_statistics), 1u);
}

TEST_F(TcamTest, AQosTcamIsDestroyedByEitherOpcode) {
    for (const u32 opcode : {PRM_TCAM_CREATE, PRM_TCAM_DESTROY}) {
        TcamRequest destroy(kQos, opcode, create(kQos));
        destroy.info.value = destroy.info.mask = destroy.info.result = nullptr;
        EXPECT_EQ(zor_vop_prm_tcam_vmr_destroy(client, &destroy.info), 0u);
    }
    EXPECT_EQ(used(Resource::tcam), 0u);
}

TEST_F(TcamTest, AnAclTcamIsDestroyedByItsOwnOpcodeAlone) {
    const u64 acl = create(kAcl);
    TcamRequest wrong(kAcl, PRM_TCAM_CREATE, acl), right(kAcl, PRM_TCAM_DESTROY, acl);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_destroy(client, &wrong.info), PRM_ERROR_INVALID_ARG);
    EXPECT_NE(card.tcam.table(acl), nullptr);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_destroy(client, &right.info), 0u);
}

TEST_F(TcamTest, ATcamKeepsThePortWordsOfItsCreate) {
    TcamRequest request(kQos, PRM_TCAM_CREATE);
    request.info.word4 = 7;
    request.info.word312 = 8;
    request.info.port_num = 63;
    ASSERT_EQ(zor_vop_prm_tcam_vmr_create(client, &request.info), 0u);
    TcamRequest insert(kQos, PRM_TCAM_INSERT, request.info.vmr_id, 1);
    ASSERT_EQ(zor_vop_prm_tcam_vmr_insert(client, &insert.info), 0u);
    const Tcam *const tcam = card.tcam.tcams().find(request.info.vmr_id);
    EXPECT_EQ(tcam->word4, 7u);
    EXPECT_EQ(tcam->word312, 8);
    EXPECT_EQ(tcam->port_num, 63);
}

// --- What entries name -------------------------------------------------------------------------------------

TEST_F(TcamTest, AclEntriesNameStatisticsThatWereAllocatedAndKeepThem) {
    const u32 id = allocate_statistics(), other = allocate_statistics();
    TcamRequest request(kAcl, PRM_TCAM_CREATE, 0, 0, 2);
    request.acl(1).stats_id = other + 1;
    EXPECT_EQ(zor_vop_prm_tcam_vmr_create(client, &request.info), CARD_ERROR_UNKNOWN_STATISTICS);
    EXPECT_EQ(used(Resource::tcam), 0u);
    request.acl(0).stats_id = request.acl(1).stats_id = id;
    ASSERT_EQ(zor_vop_prm_tcam_vmr_create(client, &request.info), 0u);
    const u64 tcam = request.info.vmr_id;
    EXPECT_EQ(release_statistics(id), CARD_ERROR_IN_USE);
    // Replaced, deleted, destroyed: every entry lets go what it names.
    TcamRequest replace(kAcl, PRM_TCAM_INSERT, tcam, 0), erase(kAcl, PRM_TCAM_DELETE, tcam, 1);
    replace.acl().stats_id = other + 1;
    EXPECT_EQ(zor_vop_prm_tcam_vmr_insert(client, &replace.info), CARD_ERROR_UNKNOWN_STATISTICS);
    EXPECT_EQ(card.tcam.statistics_users(id), 2u);
    replace.acl().stats_id = other;
    ASSERT_EQ(zor_vop_prm_tcam_vmr_insert(client, &replace.info), 0u);
    EXPECT_EQ(release_statistics(id), CARD_ERROR_IN_USE) << "the other entry";
    ASSERT_EQ(zor_vop_prm_tcam_vmr_delete(client, &erase.info), 0u);
    EXPECT_EQ(release_statistics(id), 0u);
    EXPECT_EQ(release_statistics(other), CARD_ERROR_IN_USE);
    TcamRequest destroy(kAcl, PRM_TCAM_DESTROY, tcam);
    ASSERT_EQ(zor_vop_prm_tcam_vmr_destroy(client, &destroy.info), 0u);
    EXPECT_EQ(release_statistics(other), 0u);
}

TEST_F(TcamTest, QosEntriesNameStatisticsAndPolicersOfTheTrafficManagerAndKeepThem) {
    const wyk_hal_ids ids = policer();
    TcamRequest request(kQos, PRM_TCAM_CREATE);
    request.qos().stats_id = ids.stats_id + 4;
    EXPECT_EQ(zor_vop_prm_tcam_vmr_create(client, &request.info), CARD_ERROR_UNKNOWN_STATISTICS);
    request.qos().stats_id = ids.stats_id;
    request.qos().token_bucket_id = ids.policer_id + 1;
    EXPECT_EQ(zor_vop_prm_tcam_vmr_create(client, &request.info), CARD_ERROR_UNKNOWN_REFERENCE);
    request.qos().token_bucket_id = ids.policer_id;
    ASSERT_EQ(zor_vop_prm_tcam_vmr_create(client, &request.info), 0u);
    Release release(1);
    release.name_policer(0, ids);
    EXPECT_EQ(release.release(), CARD_ERROR_IN_USE);
    EXPECT_EQ(release.status, 0u);
    TcamRequest destroy(kQos, PRM_TCAM_CREATE, request.info.vmr_id);
    ASSERT_EQ(zor_vop_prm_tcam_vmr_destroy(client, &destroy.info), 0u);
    EXPECT_EQ(release.release(), 0u);
}

TEST_F(TcamTest, EveryStatisticsIdCountsForItselfFromItsAllocation) {
    const u32 id = allocate_statistics(), other = allocate_statistics();
    card.tcam.count(id, 64);
    card.tcam.count(id, 1500);
    EXPECT_EQ(card.tcam.counted(id), (Count{2, 1564}));
    EXPECT_EQ(card.tcam.counted(other), Count{});
    // Whoever is handed the id later begins at 0.
    Card small(limited({}, {{Resource::acl_statistics, 1}}));
    const CurrentCard use_small(small);
    evm = event_manager_create(0, 0, 14, 0);
    ASSERT_EQ(prm_mgr_open(evm, 0, "client", ignore_notification, 7, 0, &connection), 0u);
    ASSERT_EQ(prm_srh_register(&client, 1, evm, ignore_notification), 0u);
    const u32 only = allocate_statistics();
    small.tcam.count(only, 64);
    ASSERT_EQ(release_statistics(only), 0u);
    ASSERT_EQ(allocate_statistics(), only);
    EXPECT_EQ(small.tcam.counted(only), Count{});
}

TEST_F(TcamTest, StatisticsAreReleasedOnceWhateverHandleAccompaniesThem) {
    const u32 first = allocate_statistics(), second = allocate_statistics();
    EXPECT_EQ(release_statistics(first, 0x0700000001), 0u);
    EXPECT_EQ(release_statistics(first), PRM_ERROR_INVALID_ARG);
    EXPECT_EQ(release_statistics(second, 0), 0u);
    EXPECT_EQ(release_statistics(0), PRM_ERROR_INVALID_ARG);
}

// --- Read-back ---------------------------------------------------------------------------------------------

TEST_F(TcamTest, AddressesAndPortsComeBackSwappedAndMasksAsStored) {
    for (const u32 feature : {kAcl, kQos}) {
        const u64 vmr_id = create(feature);
        TcamRequest programmed(feature, PRM_TCAM_INSERT, vmr_id, 1),
            read(feature, PRM_TCAM_INSERT, vmr_id, 1);
        std::mt19937 random(feature);
        for (u8 &byte : programmed.keys) byte = static_cast<u8>(random());
        memset(programmed.info.result, 0, PRM_TCAM_RESULT_KEY_SZ);
        programmed.value().qos_key_type = PRM_TCAM_QOS_KEY_MPLS;
        programmed.value().src_ipv4 = 0x01020304;
        programmed.value().dst_ipv4 = 0x0A0B0C0D;
        programmed.value().src_port = 1000;
        programmed.value().dst_port = 2000;
        round_trip(programmed, read);
        EXPECT_EQ(read.value().src_ipv4, 0x04030201u);
        EXPECT_EQ(read.value().dst_ipv4, 0x0D0C0B0Au);
        EXPECT_EQ(read.value().src_port, 0xE803);
        EXPECT_EQ(read.value().dst_port, 0xD007);
        EXPECT_EQ(memcmp(read.info.mask, programmed.info.mask, PRM_TCAM_VALUE_MASK_KEY_SZ), 0);
        // All the rest of the value as programmed.
        read.value().src_ipv4 = programmed.value().src_ipv4;
        read.value().dst_ipv4 = programmed.value().dst_ipv4;
        read.value().src_port = programmed.value().src_port;
        read.value().dst_port = programmed.value().dst_port;
        EXPECT_EQ(memcmp(read.info.value, programmed.info.value, PRM_TCAM_VALUE_MASK_KEY_SZ), 0);
    }
}

TEST_F(TcamTest, AShiftedQosKeyComesBackWithItsAddressesAndMasksAtThePlainPlaces) {
    const u64 vmr_id = create(kQos);
    TcamRequest programmed(kQos, PRM_TCAM_INSERT, vmr_id, 1), read(kQos, PRM_TCAM_INSERT, vmr_id, 1);
    programmed.value().qos_key_type = PRM_TCAM_QOS_KEY_SHIFTED;
    programmed.value().src_ipv4_shifted = 0x03030304;
    programmed.value().dst_ipv4_shifted = 0x04050607;
    programmed.mask().src_ipv4_shifted = 0x00FFFFFF;
    programmed.mask().dst_ipv4_shifted = 0x0000FFFF;
    round_trip(programmed, read);
    EXPECT_EQ(read.value().src_ipv4, 0x04030303u);
    EXPECT_EQ(read.value().dst_ipv4, 0x07060504u);
    EXPECT_EQ(read.mask().src_ipv4, 0x00FFFFFFu);
    EXPECT_EQ(read.mask().dst_ipv4, 0x0000FFFFu);
    EXPECT_EQ(read.value().src_ipv4_shifted, 0u);
    EXPECT_EQ(read.mask().dst_ipv4_shifted, 0u);
}

TEST_F(TcamTest, AnAclKeyIsNeverShifted) {
    const u64 vmr_id = create(kAcl);
    TcamRequest programmed(kAcl, PRM_TCAM_INSERT, vmr_id, 1), read(kAcl, PRM_TCAM_INSERT, vmr_id, 1);
    prm_tcam_set_class_id(&programmed.value(), 0x80);  // the byte that tells a QoS key's type holds 1
    ASSERT_EQ(programmed.value().class_id_high, 1);
    programmed.value().src_ipv4 = 0x01020304;
    programmed.value().src_ipv4_shifted = 0x11223344;
    round_trip(programmed, read);
    EXPECT_EQ(read.value().src_ipv4, 0x04030201u);
    EXPECT_EQ(read.value().src_ipv4_shifted, 0x11223344u);
}

TEST_F(TcamTest, TheStatisticsFlagIsNotHandedBackByAQosEntry) {
    const u64 vmr_id = create(kQos);
    TcamRequest programmed(kQos, PRM_TCAM_INSERT, vmr_id, 1), read(kQos, PRM_TCAM_INSERT, vmr_id, 1);
    std::mt19937 random(1);
    for (u8 &byte : programmed.keys) byte = static_cast<u8>(random());
    const wyk_hal_ids ids = policer();
    ASSERT_NE(ids.stats_id & PRM_TCAM_QOS_STATS_FLAG, 0u);
    programmed.qos().stats_id = ids.stats_id;
    programmed.qos().token_bucket_id = ids.policer_id;
    round_trip(programmed, read);
    EXPECT_EQ(read.qos().stats_id, ids.stats_id & ~PRM_TCAM_QOS_STATS_FLAG);
    read.qos().stats_id = programmed.qos().stats_id;
    EXPECT_EQ(memcmp(read.info.result, programmed.info.result, PRM_TCAM_RESULT_KEY_SZ), 0);
}

TEST_F(TcamTest, AnAclResultComesBackAsProgrammed) {
    const u64 vmr_id = create(kAcl);
    TcamRequest programmed(kAcl, PRM_TCAM_INSERT, vmr_id, 1), read(kAcl, PRM_TCAM_INSERT, vmr_id, 1);
    memset(programmed.info.result, 0xFF, PRM_TCAM_RESULT_KEY_SZ);
    programmed.acl().stats_id = allocate_statistics();
    round_trip(programmed, read);
    EXPECT_EQ(memcmp(read.info.result, programmed.info.result, PRM_TCAM_RESULT_KEY_SZ), 0);
}

TEST_F(TcamTest, AReadBackNeedsNeitherPortNorTheBuildersWords) {
    TcamRequest read(kAcl, PRM_TCAM_CREATE, create(kAcl));
    read.info.word4 = 0;
    read.info.word312 = 0;
    read.info.port_num = 0;
    EXPECT_EQ(zor_vop_prm_tcam_vmr_read(client, &read.info), 0u);
}

TEST_F(TcamTest, AnInsertLeavesItsNeighboursAlone) {
    const u64 vmr_id = create(kAcl, 3);
    TcamRequest insert(kAcl, PRM_TCAM_INSERT, vmr_id, 1), read(kAcl, PRM_TCAM_INSERT, vmr_id, 0, 3);
    insert.value().ttl = 9;
    round_trip(insert, read);
    EXPECT_EQ(read.value(0).ttl, 0);
    EXPECT_EQ(read.value(1).ttl, 9);
    EXPECT_EQ(read.value(2).ttl, 0);
}

TEST_F(TcamTest, AFullTcamIsWrittenAndReadInOneRequest) {
    const u64 vmr_id = create(kQos);
    TcamRequest all(kQos, PRM_TCAM_INSERT, vmr_id, 0, kTcamEntries),
        read(kQos, PRM_TCAM_INSERT, vmr_id, 0, kTcamEntries);
    for (u32 i = 0; i < kTcamEntries; ++i) all.value(i).dst_port = static_cast<u16>(i);
    round_trip(all, read);
    for (u32 i = 0; i < kTcamEntries; ++i) ASSERT_EQ(prm_tcam_swap16(read.value(i).dst_port), i);
    EXPECT_EQ(used(Resource::tcam_entry), kTcamEntries);
}

TEST_F(TcamTest, TheFirstMatchOfAProgrammedTcamIsItsLowestIndex) {
    const u64 vmr_id = create(kAcl, 2);  // both match everything
    TcamRequest insert(kAcl, PRM_TCAM_INSERT, vmr_id, 0);
    insert.value().ttl = 64;
    insert.mask().ttl = 0xFF;
    ASSERT_EQ(zor_vop_prm_tcam_vmr_insert(client, &insert.info), 0u);
    prm_tcam_key key{};
    const TcamTable *const table = card.tcam.table(vmr_id);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->first_match(reinterpret_cast<const u8 *>(&key)), 1u);
    key.ttl = 64;
    EXPECT_EQ(table->first_match(reinterpret_cast<const u8 *>(&key)), 0u);
    EXPECT_EQ(card.tcam.table(vmr_id + 1), nullptr);
}

// --- Refusals ----------------------------------------------------------------------------------------------

using Call = prm_status_t (*)(prm_handle_t, prm_info *);

struct Operation {
    const char *name;
    Call call;
    u32 opcode;
    bool names_entries;  // port, number of entries, key sizes, index
    bool takes_handle;
    bool takes_keys;
};

constexpr Operation kOperations[] = {
    {"create", zor_vop_prm_tcam_vmr_create, PRM_TCAM_CREATE, true, false, true},
    {"insert", zor_vop_prm_tcam_vmr_insert, PRM_TCAM_INSERT, true, true, true},
    {"delete", zor_vop_prm_tcam_vmr_delete, PRM_TCAM_DELETE, true, true, false},
    {"destroy", zor_vop_prm_tcam_vmr_destroy, PRM_TCAM_DESTROY, true, true, false},
    {"read", zor_vop_prm_tcam_vmr_read, PRM_TCAM_INSERT, true, true, true},
    {"stats_alloc", zor_vop_prm_tcam_vmr_stats_alloc, PRM_TCAM_STATS_ALLOC, false, false, false},
    {"stats_dealloc", zor_vop_prm_tcam_vmr_stats_dealloc, PRM_TCAM_STATS_DEALLOC, false, false, false},
};

void PrintTo(const Operation &operation, std::ostream *out) {
    *out << operation.name;
}

class TcamRefusalTest : public TcamTest, public ::testing::WithParamInterface<Operation> {
  protected:
    void SetUp() override {
        TcamTest::SetUp();
        tcam = create(kAcl, 2);
        statistics = allocate_statistics();
    }
    // The operation's request with one thing changed; every call gets a fresh one.
    u32 status_of(const std::function<void(prm_info &)> &spoil) {
        TcamRequest request(kAcl, GetParam().opcode, GetParam().takes_handle ? tcam : 0, 1);
        request.info.stats_id = statistics;
        spoil(request.info);
        return GetParam().call(client, &request.info);
    }
    void expect_nothing_changed() {
        EXPECT_EQ(used(Resource::tcam), 1u);
        EXPECT_EQ(used(Resource::tcam_entry), 2u);
        EXPECT_EQ(used(Resource::acl_statistics), 1u);
        EXPECT_NE(card.tcam.table(tcam), nullptr);
    }

    u64 tcam = 0;
    u32 statistics = 0;
};

TEST_P(TcamRefusalTest, AWellFormedRequestSucceeds) {
    EXPECT_EQ(status_of([](prm_info &) {}), 0u);
}

TEST_P(TcamRefusalTest, ANullRecordIsAnInvalidArgument) {
    EXPECT_EQ(GetParam().call(client, nullptr), PRM_ERROR_INVALID_ARG);
}

TEST_P(TcamRefusalTest, AStrangersHandleIsRefused) {
    TcamRequest request(kAcl, GetParam().opcode, tcam, 1);
    request.info.stats_id = statistics;
    EXPECT_EQ(GetParam().call(stranger(), &request.info), CARD_ERROR_BAD_HANDLE);
    EXPECT_EQ(GetParam().call(nullptr, &request.info), CARD_ERROR_BAD_HANDLE);
    expect_nothing_changed();
}

TEST_P(TcamRefusalTest, AnUnknownOpcodeIsAnInvalidMessageAndTheOthersAreInvalidArguments) {
    for (const u32 opcode : {1u, 5u, 11u, 14u, 31u, 32u, 35u, 100u, 0xFFFFFFFFu}) {
        EXPECT_EQ(status_of([=](prm_info &info) { info.opcode = opcode; }), PRM_ERROR_INVALID_MSG) << opcode;
        // Whatever else is wrong.
        EXPECT_EQ(status_of([=](prm_info &info) {
                      memset(&info, 0xFF, sizeof info);
                      info.opcode = opcode;
                  }),
                  PRM_ERROR_INVALID_MSG);
    }
    for (const u32 opcode : {0u, 2u, 3u, 4u, 12u, 13u}) {
        const bool own = opcode == GetParam().opcode ||
                         (opcode == PRM_TCAM_CREATE && GetParam().call == zor_vop_prm_tcam_vmr_read);
        if (own) continue;
        EXPECT_EQ(status_of([=](prm_info &info) { info.opcode = opcode; }), PRM_ERROR_INVALID_ARG) << opcode;
    }
    expect_nothing_changed();
}

TEST_P(TcamRefusalTest, AnUnknownFeatureIsRefusedWithAndWithoutAHandleToMatch) {
    for (const u32 feature : {1u, 5u, 7u, 0x100u, 0xFFFFFFFFu}) {
        EXPECT_EQ(status_of([=](prm_info &info) { info.fea_id = feature; }), PRM_ERROR_INVALID_ARG);
        EXPECT_EQ(status_of([=](prm_info &info) {
                      info.fea_id = feature;
                      info.vmr_id |= u64{feature & 0xFF} << PRM_TCAM_VMR_FEATURE_SHIFT;
                  }),
                  PRM_ERROR_INVALID_ARG);
    }
    expect_nothing_changed();
}

TEST_P(TcamRefusalTest, AHandleOfAnotherFeatureOrOfNoTcamIsRefused) {
    if (!GetParam().takes_handle) {
        EXPECT_EQ(status_of([](prm_info &info) { info.vmr_id = 0x0700000009; }), 0u) << "not looked at";
        return;
    }
    const u64 handles[] = {0,
                           tcam + 1,
                           tcam | u64{kQos} << PRM_TCAM_VMR_FEATURE_SHIFT,
                           ~u64{0},
                           tcam | u64{1} << 40,
                           tcam | u64{1} << 63};
    for (const u64 handle : handles) {
        EXPECT_EQ(status_of([=](prm_info &info) { info.vmr_id = handle; }), PRM_ERROR_INVALID_ARG) << handle;
    }
    EXPECT_EQ(status_of([=](prm_info &info) { info.fea_id = kQos; }), PRM_ERROR_INVALID_ARG);
    expect_nothing_changed();
}

TEST_P(TcamRefusalTest, PortNumberOfEntriesKeySizesAndIndexAreBoundedWhereEntriesAreNamed) {
    const std::function<void(prm_info &)> spoilers[] = {
        [](prm_info &info) { info.port_num = 64; },  // the card has 0 to 63
        [](prm_info &info) { info.port_num = 256; },
        [](prm_info &info) { info.port_num = 0xFFFF; },
        [](prm_info &info) { info.nr_entries = 0; },
        [](prm_info &info) { info.nr_entries = 2048; },  // from index 1 on: one too many
        [](prm_info &info) { info.nr_entries = 0xFFFF; },
        [](prm_info &info) { info.value_mask_key_sz = 0; },
        [](prm_info &info) { info.value_mask_key_sz = 91; },
        [](prm_info &info) { info.value_mask_key_sz = 0xFFFF; },
        [](prm_info &info) { info.result_key_sz = 0; },
        [](prm_info &info) { info.result_key_sz = 56; },
        [](prm_info &info) { info.result_key_sz = 0xFFFF; },
        [](prm_info &info) { info.ace_index = 2048; },
        [](prm_info &info) { info.ace_index = 2049; },
        [](prm_info &info) { info.ace_index = 0xFFFF; },
    };
    for (size_t i = 0; i < std::size(spoilers); ++i) {
        const u32 status = status_of(spoilers[i]);
        if (GetParam().names_entries) {
            EXPECT_EQ(status, PRM_ERROR_INVALID_ARG) << i;
        } else if (GetParam().call == zor_vop_prm_tcam_vmr_stats_dealloc) {
            EXPECT_EQ(status, 0u) << i;
            statistics = allocate_statistics();
        } else {
            EXPECT_EQ(status, 0u) << i;
        }
    }
    if (GetParam().names_entries) expect_nothing_changed();
}

TEST_P(TcamRefusalTest, MissingAndStrayBuffersAreRefusedWhereKeysAreTaken) {
    const auto stray = reinterpret_cast<u8 *>(uintptr_t{0x1000});
    const auto low = reinterpret_cast<u8 *>(uintptr_t{0x46});
    const auto wild = reinterpret_cast<u8 *>(uintptr_t{0xDEADBEEFDEADBEEF});
    const auto last = reinterpret_cast<u8 *>(~uintptr_t{0} - 10);
    if (!GetParam().takes_keys) {
        EXPECT_EQ(status_of([=](prm_info &info) { info.value = info.mask = info.result = wild; }), 0u);
        return;
    }
    for (u8 *const pointer : {static_cast<u8 *>(nullptr), low, stray, wild, last}) {
        EXPECT_EQ(status_of([=](prm_info &info) { info.value = pointer; }), PRM_ERROR_INVALID_ARG);
        EXPECT_EQ(status_of([=](prm_info &info) { info.mask = pointer; }), PRM_ERROR_INVALID_ARG);
        EXPECT_EQ(status_of([=](prm_info &info) { info.result = pointer; }), PRM_ERROR_INVALID_ARG);
    }
    expect_nothing_changed();
}

// Nobody knows what these are for: whatever they hold is accepted.
TEST_P(TcamRefusalTest, ReservedBytesAndUnknownWordsAreNotLookedAt) {
    EXPECT_EQ(status_of([](prm_info &info) {
                  info.word4 = 77;
                  info.word272 = 77;
                  info.word312 = 77;
                  memset(info.reserved8, 0xFF, sizeof info.reserved8);
                  memset(info.reserved268, 0xFF, sizeof info.reserved268);
                  memset(info.reserved276, 0xFF, sizeof info.reserved276);
                  memset(info.reserved296, 0xFF, sizeof info.reserved296);
                  memset(info.reserved328, 0xFF, sizeof info.reserved328);
                  memset(info.reserved376, 0xFF, sizeof info.reserved376);
              }),
              0u);
}

TEST_P(TcamRefusalTest, OnlyTheStatisticsReleaseLooksAtTheStatisticsId) {
    const bool looks = GetParam().call == zor_vop_prm_tcam_vmr_stats_dealloc;
    EXPECT_EQ(status_of([](prm_info &info) { info.stats_id = 0xFFFFFFFF; }),
              looks ? PRM_ERROR_INVALID_ARG : 0u);
}

INSTANTIATE_TEST_SUITE_P(Operations, TcamRefusalTest, ::testing::ValuesIn(kOperations),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(TcamTest, EntriesThatDoNotExistAreNeitherDeletedNorReadBack) {
    const u64 vmr_id = create(kAcl, 2);
    TcamRequest erase(kAcl, PRM_TCAM_DELETE, vmr_id, 1, 2), read(kAcl, PRM_TCAM_INSERT, vmr_id, 1, 2);
    memset(read.keys.data(), 0x5A, read.keys.size());
    const std::vector<u8> before = read.keys;
    EXPECT_EQ(zor_vop_prm_tcam_vmr_delete(client, &erase.info), PRM_ERROR_INVALID_ARG);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_read(client, &read.info), PRM_ERROR_INVALID_ARG);
    EXPECT_EQ(read.keys, before);
    EXPECT_EQ(used(Resource::tcam_entry), 2u) << "none of the two was deleted";
}

TEST_F(TcamTest, StatisticsBelongToTheAclAlone) {
    prm_info info{};
    info.fea_id = kQos;
    info.opcode = PRM_TCAM_STATS_ALLOC;
    EXPECT_EQ(zor_vop_prm_tcam_vmr_stats_alloc(client, &info), PRM_ERROR_INVALID_ARG);
}

TEST_F(TcamTest, ARefusedCreateWritesNoHandle) {
    TcamRequest request(kAcl, PRM_TCAM_CREATE, 55);
    request.info.port_num = 256;
    EXPECT_EQ(zor_vop_prm_tcam_vmr_create(client, &request.info), PRM_ERROR_INVALID_ARG);
    EXPECT_EQ(request.info.vmr_id, 55u);
}

TEST_F(TcamTest, KeysInMemoryThatCannotBeWrittenAreProgrammedButNotReadBackInto) {
    constexpr size_t kSize = 4096;
    void *const page = mmap(nullptr, kSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(page, MAP_FAILED);
    const u64 vmr_id = create(kAcl);
    TcamRequest insert(kAcl, PRM_TCAM_INSERT, vmr_id, 1), read(kAcl, PRM_TCAM_INSERT, vmr_id, 1);
    insert.info.value = insert.info.mask = insert.info.result = static_cast<u8 *>(page);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_insert(client, &insert.info), 0u);
    read.info.result = static_cast<u8 *>(page);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_read(client, &read.info), PRM_ERROR_INVALID_ARG);
    munmap(page, kSize);
}

// The last key byte before a page that is not there may be used, the first byte beyond may not.
TEST_F(TcamTest, KeysMayReachToTheEndOfMemoryAndNoFurther) {
    constexpr size_t kPage = 4096;
    auto *const pages = static_cast<u8 *>(
        mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(pages, MAP_FAILED);
    ASSERT_EQ(munmap(pages + kPage, kPage), 0);
    u8 *const end = pages + kPage;
    const u64 vmr_id = create(kAcl);
    for (const size_t room : {PRM_TCAM_RESULT_KEY_SZ + 0u, PRM_TCAM_RESULT_KEY_SZ - 1u, 1u}) {
        const u32 expected = room < PRM_TCAM_RESULT_KEY_SZ ? PRM_ERROR_INVALID_ARG : PRM_ERROR_NONE;
        TcamRequest insert(kAcl, PRM_TCAM_INSERT, vmr_id, 0), read(kAcl, PRM_TCAM_INSERT, vmr_id, 0);
        insert.info.result = read.info.result = end - room;
        EXPECT_EQ(zor_vop_prm_tcam_vmr_insert(client, &insert.info), expected) << room;
        EXPECT_EQ(zor_vop_prm_tcam_vmr_read(client, &read.info), expected) << room;
    }
    munmap(pages, kPage);
}

// --- Limits ------------------------------------------------------------------------------------------------

class SmallTcamTest : public TcamTest {
  protected:
    SmallTcamTest()
        : small(limited({}, {{Resource::tcam, 2}, {Resource::tcam_entry, 5}, {Resource::acl_statistics, 1}})),
          use_small(small) {}
    Card small;
    CurrentCard use_small;
};

TEST_F(SmallTcamTest, WhatDoesNotFitIsRefusedWhole) {
    const u64 first = create(kAcl, 2);
    const u64 second = create(kQos, 2);
    EXPECT_NE(first, second);
    TcamRequest third(kAcl, PRM_TCAM_CREATE);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_create(client, &third.info), CARD_ERROR_TABLE_FULL);
    TcamRequest two(kAcl, PRM_TCAM_INSERT, first, 2, 2), replace(kAcl, PRM_TCAM_INSERT, first, 1, 2);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_insert(client, &two.info), CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_insert(client, &replace.info), 0u) << "one of the two is new";
    EXPECT_EQ(small.accounts[Resource::tcam_entry].used, 5u);
    EXPECT_EQ(small.accounts[Resource::tcam].used, 2u);
    TcamRequest destroy(kAcl, PRM_TCAM_DESTROY, first), big(kAcl, PRM_TCAM_CREATE, 0, 0, 4);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_destroy(client, &destroy.info), 0u);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_create(client, &big.info), CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(small.accounts[Resource::tcam].used, 1u);
}

TEST_F(SmallTcamTest, StatisticsRunOut) {
    const u32 only = allocate_statistics();
    prm_info info{};
    info.opcode = PRM_TCAM_STATS_ALLOC;
    EXPECT_EQ(zor_vop_prm_tcam_vmr_stats_alloc(client, &info), CARD_ERROR_POOL_EXHAUSTED);
    EXPECT_EQ(info.stats_id, 0u);
    EXPECT_EQ(release_statistics(only), 0u);
    EXPECT_EQ(zor_vop_prm_tcam_vmr_stats_alloc(client, &info), 0u);
}

}  // namespace
}  // namespace sim
