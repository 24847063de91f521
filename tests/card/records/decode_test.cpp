// Decoding: records as field names and values, in every form that a record can have.
#include "card/records/decode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "card/records/registry.h"
#include "prm_srh_l2.h"
#include "prm_srh_lpts.h"
#include "prm_srh_nr_ldi.h"
#include "prm_srh_tx_adj.h"
#include "uidb.h"
#include "wyk_hal_records.h"
#include "zor_vop_prm_label.h"
#include "zor_vop_prm_leaf.h"
#include "zor_vop_prm_tcam.h"

namespace card {
namespace {

using testing::ElementsAre;
using Lines = std::vector<std::string>;

template <class Record>
Block block_of(const Record &record) {
    return {reinterpret_cast<const u8 *>(&record), sizeof record};
}

// "path=text" of what is not 0.
Lines shown(const prm_record &record, Block block) {
    Lines lines;
    decode(record, block, [&](const FieldValue &value) {
        if (!value.is_zero()) lines.push_back(std::string(value.path) + "=" + text(value));
    });
    return lines;
}

TEST(Decode, ShowsNumbersHandlesFlagsAndAddressesByTheirKind) {
    prm_tx_adj record{};
    record.nh_idx = 200001;
    record.adj_flags0 = PRM_TX_ADJ_NORMAL;
    record.adj_flags2 = PRM_TX_ADJ_EOMPLS;
    record.adj_flags3 = PRM_TX_ADJ_OPTION1 | 0x40;
    record.uidb = 24;
    const u8 dmac[] = {0x28, 0xc7, 0xce, 0x01, 0xf1, 0x58};
    std::memcpy(record.dmac, dmac, sizeof dmac);
    EXPECT_THAT(shown(prm_tx_adj_record, block_of(record)),
                ElementsAre("nh_idx=200001", "adj_flags0=normal", "adj_flags2=eompls",
                            "adj_flags3=option1|0x40", "uidb=24", "dmac=28:c7:ce:01:f1:58"));
}

TEST(Decode, ShowsReservedBytesThatAreNotZero) {
    prm_tx_adj record{};
    record.reserved120[3] = 0xAB;
    const Lines lines = shown(prm_tx_adj_record, block_of(record));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].substr(0, 24), "reserved120=000000ab0000");
}

TEST(Decode, TakesTheKeyThatTheLengthTells) {
    zor_leaf_request request{};
    request.key_len = ZOR_LEAF_IPV4_KEY_LEN;
    request.ipv4.address = 0x01010102;
    request.ipv4.vrf = 7;
    request.payload.flags0 = ZOR_LEAF_LDI;
    request.payload.tag_bits = 63 << ZOR_LEAF_TAG_SHIFT;
    request.payload.ldi_ptr = 0xC36900;
    EXPECT_THAT(shown(zor_leaf_request_record, block_of(request)),
                ElementsAre("key_len=8", "ipv4.address=1.1.1.2", "ipv4.vrf=7", "payload.flags0=ldi",
                            "payload.tag_bits=tag=63", "payload.ldi_ptr=0xc36900"));

    request = {};
    request.key_len = ZOR_LEAF_IPV6_KEY_LEN;
    request.ipv6[0] = 0x90;
    request.ipv6[1] = 0x02;
    request.ipv6[15] = 1;
    EXPECT_THAT(shown(zor_leaf_request_record, block_of(request)), ElementsAre("key_len=16", "ipv6=9002::1"));

    request.key_len = 5;
    const Lines lines = shown(zor_leaf_request_record, block_of(request));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[1].substr(0, 8), "key=9002");
}

TEST(Decode, ReadsNumbersThatStandUnaligned) {
    prm_nr_ldi record{};
    record.path_len = PRM_NR_LDI_BLOCK_LEN;
    record.block.nh_idx = 100005;
    record.block.label0 = 55002;
    EXPECT_THAT(shown(prm_nr_ldi_record, block_of(record)),
                ElementsAre("path_len=130", "block.label0=55002", "block.nh_idx=100005"));
    record = {};
    record.path_len = PRM_NR_LDI_WORDS_LEN;
    record.words.nh_idx = 100005;
    EXPECT_THAT(shown(prm_nr_ldi_record, block_of(record)),
                ElementsAre("path_len=260", "words.nh_idx=100005"));
}

TEST(Decode, ShowsPartsOfANumberByName) {
    prm_xid_request request{};
    request.xid_type = PRM_XID_TYPE_CIRCUIT;
    request.flags90 = PRM_XID_90_MAC_MOVE_SEC_ENABLED | 2 << PRM_XID_90_MAC_MOVE_SEC_ACTION_SHIFT;
    request.xid_kind = PRM_XID_KIND_BVI;
    request.member_uidb = 2016;
    EXPECT_THAT(shown(prm_xid_request_record, block_of(request)),
                ElementsAre("xid_type=circuit", "flags90=mac_move_sec_enabled|mac_move_sec_action=2",
                            "xid_kind=bvi", "member_uidb=2016"));
}

TEST(Decode, TellsTheElementsInUse) {
    uidb_lag_update update{};
    update.members[0] = 5;
    update.members[1] = 6;
    update.members[4] = 9;
    update.member_count = 2;
    Lines used, unused;
    decode(uidb_lag_update_record, block_of(update), [&](const FieldValue &value) {
        if (std::string_view(value.field.name) == "members" && !value.is_zero())
            (value.unused ? unused : used).push_back(std::string(value.path) + "=" + text(value));
    });
    EXPECT_THAT(used, ElementsAre("members[0]=5", "members[1]=6"));
    EXPECT_THAT(unused, ElementsAre("members[4]=9"));
}

TEST(Decode, ReadsAMessageWithAllItsRecords) {
    uidb_feature_batch_of<2> batch{};
    batch.head.nr_entries = 2;
    batch.entries[0].if_handle = 0x8000088;
    batch.entries[0].feature.feature_id = UIDB_FEATURE_STATS_POINTER;
    batch.entries[0].feature.value = 0x5000000;
    batch.entries[1].feature.feature_id = UIDB_FEATURE_MAC;
    batch.entries[1].feature.mac[5] = 0x31;
    EXPECT_THAT(
        shown(uidb_feature_batch_record, block_of(batch)),
        ElementsAre("nr_entries=2", "entries[0].if_handle=0x8000088",
                    "entries[0].feature.feature_id=stats_pointer", "entries[0].feature.value=0x5000000",
                    "entries[1].feature.feature_id=mac", "entries[1].feature.mac=00:00:00:00:00:31"));
    EXPECT_EQ(item_count(uidb_feature_batch_record, block_of(batch)), 2u);
    EXPECT_EQ(size_with_items(uidb_feature_batch_record, 2), sizeof batch);
}

TEST(Decode, ShowsTheItemsOfAnAnswerThatTheBlockHasRoomFor) {
    struct {
        wyk_hal_policy_response head;
        wyk_hal_ids ids[2];
    } response{};
    response.ids[1].fid0 = 0x17;
    EXPECT_THAT(shown(wyk_hal_policy_response_record, block_of(response)), ElementsAre("ids[1].fid0=0x17"));
}

TEST(Decode, TellsWhatAnAddAndAReadOfATransportEntryLeave) {
    prm_lpts_request request{};
    request.data_len = sizeof(prm_lpts_entry);
    request.entry.l3_proto = PRM_LPTS_PROTO_IPV4;
    request.entry.local_addr.v4 = 0x0A0A0A0A;
    const auto add = record_layout(OperationId::prm_srh_lpts_add);
    EXPECT_THAT(shown(*add.before, block_of(request)),
                ElementsAre("data_len=128", "entry.l3_proto=ipv4", "entry.local_addr=10.10.10.10"));
    request.entry = {};
    request.id.entry = 3;
    EXPECT_THAT(shown(*add.after, block_of(request)), ElementsAre("data_len=128", "id.entry=3"));

    request = {};
    request.data_len = sizeof(prm_lpts_id);
    request.entry.l3_proto = PRM_LPTS_PROTO_IPV6;
    request.entry.local_addr.v6[0] = 0x20;
    request.entry.local_addr.v6[15] = 1;
    EXPECT_THAT(shown(*record_layout(OperationId::prm_srh_lpts_get).after, block_of(request)),
                ElementsAre("data_len=20", "entry.l3_proto=ipv6", "entry.local_addr=2000::1"));
}

TEST(Decode, FindsTheKeysOfATcamRequest) {
    u8 value[2 * PRM_TCAM_VALUE_MASK_KEY_SZ] = {}, result[2 * PRM_TCAM_RESULT_KEY_SZ] = {};
    prm_info info{};
    info.fea_id = PRM_TCAM_FEATURE_QOS;
    info.nr_entries = 2;
    info.value_mask_key_sz = PRM_TCAM_VALUE_MASK_KEY_SZ;
    info.result_key_sz = PRM_TCAM_RESULT_KEY_SZ;
    info.value = value;
    info.result = result;
    const auto found = buffers(prm_info_record, block_of(info), false);
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0].address, reinterpret_cast<uintptr_t>(value));
    EXPECT_EQ(found[0].record, &prm_tcam_qos_key_record);
    EXPECT_EQ(found[1].address, 0u);
    EXPECT_EQ(found[2].record, &prm_tcam_qos_result_record);
    EXPECT_EQ(found[2].count, 2u);
    EXPECT_EQ(found[2].item_size, 55u);
    EXPECT_EQ(buffers(prm_info_record, block_of(info), true)[0].record, &prm_tcam_qos_key_read_record);

    reinterpret_cast<prm_tcam_qos_result *>(result + PRM_TCAM_RESULT_KEY_SZ)->stats_id =
        7 | PRM_TCAM_QOS_STATS_FLAG;
    Lines lines;
    decode_items(
        *found[2].record, found[2].item_size, found[2].count, {result, sizeof result},
        [&](const FieldValue &field) {
            if (!field.is_zero()) lines.push_back(std::string(field.path) + "=" + text(field));
        },
        "result");
    EXPECT_THAT(lines, ElementsAre("result[1].stats_id=id=7|flag"));
}

TEST(Decode, KnowsTheByteOrdersOfProgrammedAndReadBackKeys) {
    prm_tcam_key key{};
    key.src_ipv4 = prm_tcam_swap32(0x01010102);
    key.src_port = 1000;
    prm_tcam_set_class_id(&key, 0x1234);
    EXPECT_THAT(shown(prm_tcam_acl_key_record, block_of(key)),
                ElementsAre("class_id=class_id=4660", "src_port=1000", "src_ipv4=1.1.1.2"));
    key = {};
    key.src_ipv4 = 0x01010102;
    key.src_port = prm_tcam_swap16(1000);
    key.qos_key_type = PRM_TCAM_QOS_KEY_SHIFTED;
    EXPECT_THAT(shown(prm_tcam_qos_key_read_record, block_of(key)),
                ElementsAre("qos_key_type=shifted", "src_port=1000", "src_ipv4=1.1.1.2"));
}

TEST(Decode, FormatsSignedNumbersAndTexts) {
    struct Sample {
        u16 number;
        char word[6];
    };
    static constexpr prm_field Sample_fields[] = {PRM_FIELD(Sample, number).signed_number(),
                                                  PRM_FIELD(Sample, word).text()};
    static constexpr prm_record record = PRM_RECORD(Sample);
    const Sample sample{0xFFFE, {'a', '\\', 'b', '\n', 0, 'x'}};
    EXPECT_THAT(shown(record, block_of(sample)), ElementsAre("number=-2", "word=a\\x5cb\\x0a"));
}

TEST(Decode, ShowsOnlyWhatLiesWithinABlockThatIsCut) {
    zor_label_request request{};
    request.key_len = ZOR_LABEL_KEY_LEN;
    request.key.label = 24000;
    request.payload_len = 87;
    const Block whole = block_of(request);
    EXPECT_THAT(shown(zor_label_request_record, whole.first(24)),
                ElementsAre("key_len=8", "key.label=24000"));
    EXPECT_THAT(shown(zor_label_request_record, whole.first(15)), ElementsAre());
    EXPECT_THAT(shown(zor_label_request_record, {}), ElementsAre());
}

TEST(Decode, SizesOfWrapperBlocksAreThoseOfTheCall) {
    wyk_hal_policy_request head{};
    head.count = 8;
    const auto sizes = [](OperationId operation, u32 type, u32 policies, const void *request) {
        const HalSizes found = hal_sizes(operation, type, policies, request);
        return std::pair(found.request, found.response);
    };
    const auto configure = OperationId::wyk_hal_wrapper_config_policy_in_tm;
    EXPECT_EQ(sizes(configure, 0, 0, &head), std::pair(size_t{3584}, size_t{2204}));
    EXPECT_EQ(sizes(configure, 0, 1, &head), std::pair(size_t{560}, size_t{384}));
    EXPECT_EQ(sizes(configure, 0, 0, nullptr), std::pair(size_t{128}, size_t{124}));
    head.count = 0xFFFFFFFF;
    EXPECT_LE(hal_sizes(configure, 0, 0, &head).request, 0xFFFFu);
    wyk_hal_release release{};
    release.count = 8;
    EXPECT_EQ(sizes(OperationId::wyk_hal_wrapper_deallocate_nodes, 0, 0, &release),
              std::pair(size_t{504}, size_t{4}));
    EXPECT_EQ(sizes(OperationId::wyk_hal_wrapper_engine_op, WYK_HAL_TM_INFO, 0, nullptr),
              std::pair(size_t{0}, size_t{4184}));
    EXPECT_EQ(sizes(OperationId::wyk_hal_wrapper_engine_op, 21, 0, nullptr), std::pair(size_t{0}, size_t{0}));
}

// Whatever bytes a block holds, and wherever it ends.
TEST(Decode, TakesAnyBytesInBlocksOfAnySize) {
    std::mt19937 random(1);
    for (int round = 0; round < 20; ++round) {
        for (const prm_record *const record : all_records()) {
            const size_t size = random() % (record->size + 600);
            // Exactly sized, for the address sanitizer.
            const std::unique_ptr<u8[]> bytes(new u8[size]);
            for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<u8>(random());
            size_t length = 0, end = 0;
            decode(*record, {bytes.get(), size}, [&](const FieldValue &value) {
                length += text(value).size();
                EXPECT_GE(value.offset, end);
                end = value.offset + value.bytes.size();
                EXPECT_LE(end, size);
            });
            for (const Buffer &buffer : buffers(*record, {bytes.get(), size}, round % 2 != 0))
                EXPECT_LE(buffer.count, 0xFFFFu);
        }
    }
}

}  // namespace
}  // namespace card
