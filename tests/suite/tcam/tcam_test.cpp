// TCAM toolkit: the request record, its key buffers, address texts, read-back and every line of the
// comparison.
#include "prm_kiv_tcam.h"

#include "tests/suite/tcam_hardware.h"

namespace {

using standin::Bytes;
using standin::printed;
using standin::RecordBuilder;
using standin::run;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr char kVerify[] = "tc_kiv_tcam_verify";
constexpr char kValidate[] = "tc_kiv_tcam_validate_vmr";

std::string verdict(uint32_t matches) {
    return check_text(matches, 1, "TRUE", "prm_kiv_tcam", kValidate);
}

class TcamTest : public SuiteTest {};

Bytes bytes_of(const prm_info &info) {
    const uint8_t *const bytes = reinterpret_cast<const uint8_t *>(&info);
    return Bytes(bytes, bytes + sizeof info);
}

TEST_F(TcamTest, InitialisedRequestHasTheDefaultsAndNoBuffers) {
    prm_info info;
    std::memset(&info, 0xEE, sizeof info);
    run([&] {
        tc_kiv_tcam_init_prm_info(&info, 6, 3, 0x1122334455667788, 0x10801);
        return 0;
    });
    EXPECT_EQ(bytes_of(info), RecordBuilder(384)
                                  .u32_at(0, 6)
                                  .u32_at(4, 1)
                                  .u32_at(264, 3)
                                  .at<uint64_t>(288, 0x1122334455667788)
                                  .u16_at(312, 1)
                                  .u16_at(314, 1)
                                  .u16_at(316, 0x0801)
                                  .u16_at(318, 1)
                                  .u16_at(320, 92)
                                  .u16_at(322, 55)
                                  .bytes());
    EXPECT_EQ(standin::allocations(), 0);
}

TEST_F(TcamTest, BuffersStandInOneClearedBlock) {
    prm_info info;
    EXPECT_EQ(run([&] {
                  tc_kiv_tcam_init_prm_info(&info, 0, 0, 0, 0);
                  info.nr_entries = 3;
                  return tc_kiv_tcam_allocate_and_offset_vmr(&info);
              }),
              0);
    EXPECT_EQ(standin::allocations(), 1);
    EXPECT_EQ(standin::live_bytes(), 3u * (55 + 2 * 92));
    EXPECT_EQ(info.mask - info.value, 3 * 92);
    EXPECT_EQ(info.result - info.mask, 3 * 92);
    EXPECT_EQ(Bytes(info.value, info.value + 717), Bytes(717));
    run([&] {
        free_vmr(&info);
        return 0;
    });
    EXPECT_EQ(standin::live_blocks(), 0u);
    EXPECT_NE(info.value, nullptr);
    EXPECT_THAT(standin::transcript(), IsEmpty());
}

TEST_F(TcamTest, NoEntriesNeedNoRoom) {
    prm_info info;
    EXPECT_EQ(run([&] {
                  tc_kiv_tcam_init_prm_info(&info, 0, 0, 0, 0);
                  info.nr_entries = 0;
                  const int rc = tc_kiv_tcam_allocate_and_offset_vmr(&info);
                  free_vmr(&info);
                  return rc;
              }),
              0);
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(TcamTest, FailedAllocationIsToldAndIs12) {
    standin::fail_allocation(1);
    prm_info info;
    EXPECT_EQ(run([&] {
                  tc_kiv_tcam_init_prm_info(&info, 0, 0, 0, 0);
                  return tc_kiv_tcam_allocate_and_offset_vmr(&info);
              }),
              12);
    EXPECT_EQ(printed(), "Error!!! Memory Allocation Failure under tc_kiv_tcam_allocate_and_offset_vmr \n");
    EXPECT_EQ(info.value, nullptr);
}

TEST_F(TcamTest, ReleaseTellsOfNullRequestsAndBuffers) {
    run([&] {
        free_vmr(nullptr);
        prm_info info;
        tc_kiv_tcam_init_prm_info(&info, 0, 0, 0, 0);
        free_vmr(&info);
        return 0;
    });
    EXPECT_EQ(printed(),
              "Error!!! info_p is NULL in free_vmr \n"
              "Error!!! info_p->value is NULL in free_vmr \n");
}

uint32_t address(const char *text, uint32_t before = 0) {
    tc_kiv_tcam_ip_str_to_u32(&before, text);
    return before;
}

TEST_F(TcamTest, AddressTextsBecomeHostOrder) {
    EXPECT_EQ(address("255.255.255.255"), 0xFFFFFFFFu);
    EXPECT_EQ(address("1.1.1.1"), 0x01010101u);
    EXPECT_EQ(address("10.20.30.40"), 0x0A141E28u);
    EXPECT_EQ(prm_kiv_tcam_address("10.20.30.40"), 0x281E140Au);
}

TEST_F(TcamTest, AddressEndsAfterTheFourthOctet) {
    EXPECT_EQ(address("1.2.3.4.5.6.7.8."), 0x01020304u);
    EXPECT_EQ(address("1-2/3 4x"), 0x01020304u);
    EXPECT_EQ(address("....9"), 0u);
}

TEST_F(TcamTest, AddressEndsAfterSixteenCharacters) {
    EXPECT_EQ(address("0000000001.2.3.4"), 0x00010203u);  // the fourth octet has no end within the sixteen
    EXPECT_EQ(address("00000000000001.2"), 0x00000001u);
    const char short_text[16] = {'7', '.', '8', 0, 0, '9'};  // read on past the terminator
    EXPECT_EQ(address(short_text), 0x07080009u);
}

TEST_F(TcamTest, AddressAddsToWhatIsThere) {
    EXPECT_EQ(address("1.2.3.4", 0xFF), 0x01020304u);
    const char one_octet[16] = {'0', '0', '0', '0', '0', '0', '0', '0',
                                '0', '0', '0', '0', '0', '5', '.', '1'};
    EXPECT_EQ(address(one_octet, 0x00ABCDEF), 0xABCDEF05u);
}

// --- Comparison

// A programmed and a read-back request of which every field that is compared is set and alike.
class ComparisonTest : public TcamTest {
  protected:
    void SetUp() override {
        TcamTest::SetUp();
        set_feature(0);
    }

    void set_feature(uint32_t feature) {
        in = {Bytes(92), Bytes(92), Bytes(55)};
        tc_kiv_tcam_init_prm_info(&programmed, feature, 0, 0, 0);
        bytes(in.value, 2, {0x0B, 0x00});  // class id 5, above a bit of another field
        in.value[7] = 3;
        in.value[26] = 0xC0;
        in.value[27] = 89;
        in.value[28] = 17;
        in.value[31] = 100;
        in.mask[31] = 255;
        in.value[32] = 0x40;
        bytes(in.value, 40, {0xE8, 0x03});  // port 1000
        bytes(in.value, 43, {0xD0, 0x07});  // port 2000
        bytes(in.value, 46, {10, 1, 2, 3});
        bytes(in.mask, 46, {255, 255, 255, 0});
        bytes(in.value, 62, {20, 4, 5, 6});
        bytes(in.mask, 62, {255, 255, 0, 0});
        out = in;
        bytes(out.value, 46, {3, 2, 1, 10});
        bytes(out.value, 62, {6, 5, 4, 20});
        bytes(out.value, 40, {0x03, 0xE8});
        bytes(out.value, 43, {0x07, 0xD0});
        if (feature == 6) {
            for (Bytes *result : {&in.result, &out.result}) {
                bytes(*result, 8, {0x53, 1, 2, 0x64, 3, 4});
                bytes(*result, 36, {0x11, 0x22, 0x33, 0x44});
                bytes(*result, 44, {0x99, 0x88, 0x77, 0x86});
            }
            in.result[47] |= 0x20;  // the flag that the hardware does not return
        } else {
            for (Bytes *result : {&in.result, &out.result}) bytes(*result, 7, {0x34, 0x12, 0x00, 0x80});
        }
    }

    static void bytes(Bytes &record, size_t offset, std::initializer_list<int> values) {
        for (int v : values) record[offset++] = static_cast<uint8_t>(v);
    }

    // The events of a comparison, without line numbers.
    std::vector<std::string> compare() {
        read_back = programmed;
        attach(programmed, in);
        attach(read_back, out);
        run([this] {
            tc_kiv_tcam_validate_vmr(&programmed, &read_back);
            return 0;
        });
        return outline_without_lines();
    }

    struct Keys {
        Bytes value, mask, result;
    };
    static void attach(prm_info &info, Keys &keys) {
        info.value = keys.value.data();
        info.mask = keys.mask.data();
        info.result = keys.result.data();
    }

    prm_info programmed, read_back;
    Keys in, out;
};

struct Spoil {
    enum Key { value, mask, result } key;
    size_t offset;
    int now;  // the byte read back
    const char *mismatch;
};

const char *const kKeyLines[] = {
    "SrcIP inserted correctly\\n",
    "DstIP inserted correctly\\n",
    "TTL inserted correctly\\n",
    "VLAN COS inserted correctly\\n",
    "TOS EXP inserted correctly\\n",
    "Protocol inserted correctly\\n",
    "SrcPort inserted correctly\\n",
    "DstPort inserted correctly\\n",
    "TCP Flags inserted correctly\\n",
    "TCP Value inserted correctly\\n",
    "Fragment Value inserted correctly\\n",
};
const char *const kAclLines[] = {"ClassID inserted correctly\\n", "ACL Stats ID inserted correctly\\n"};
const char *const kQosLines[] = {
    "Stats ID inserted correctly\\n",
    "Token Bucket ID inserted correctly\\n",
    "Police Conform Mark Opcode1 inserted correctly\\n",
    "Police Conform Mark Value1 inserted correctly\\n",
    "Police Conform Mark Opcode2 inserted correctly\\n",
    "Police Conform Mark Value2 inserted correctly\\n",
    "Police Exceed Mark Opcode1 inserted correctly\\n",
    "Police Exceed Marking Value1 inserted correctly\\n",
    "Police Exceed Mark Opcode2 inserted correctly\\n",
    "Police Exceed Marking Value2 inserted correctly\\n",
};

// The success lines of a layout, in order.
std::vector<std::string> success_lines(uint32_t feature) {
    std::vector<std::string> lines;
    for (const char *line : kKeyLines) lines.push_back(print_text(line));
    if (feature == 6)
        for (const char *line : kQosLines) lines.push_back(print_text(line));
    else
        for (const char *line : kAclLines) lines.push_back(print_text(line));
    return lines;
}

// One row for each byte that is compared: which field it belongs to and what its mismatch says.
struct FieldSpoil {
    size_t field;
    Spoil spoil;
};

const FieldSpoil kKeySpoils[] = {
    {0, {Spoil::value, 46, 0x63, "Mismatch in SrcIP value In 0xa010203/0xffffff Out 0xa010263/0xffffff\\n"}},
    {0, {Spoil::value, 49, 0x6A, "Mismatch in SrcIP value In 0xa010203/0xffffff Out 0x6a010203/0xffffff\\n"}},
    {0, {Spoil::mask, 49, 0x80, "Mismatch in SrcIP value In 0xa010203/0xffffff Out 0xa010203/0x80ffffff\\n"}},
    // The line ends in a backslash and an n.
    {1, {Spoil::value, 62, 0x66, "Mismatch in DstIP value In 0x14040506/0xffff Out 0x14040566/0xffff\\\\n"}},
    {1,
     {Spoil::mask, 65, 0x80, "Mismatch in DstIP value In 0x14040506/0xffff Out 0x14040506/0x8000ffff\\\\n"}},
    {2, {Spoil::value, 31, 99, "Mismatch in TTL value In 100/255 Out 99/255\\n"}},
    {2, {Spoil::mask, 31, 254, "Mismatch in TTL value In 100/255 Out 100/254\\n"}},
    {3, {Spoil::value, 7, 4, "Mismatch in VLAN COS In 3 Out 4\\n"}},
    {4, {Spoil::value, 32, 0x80, "Mismatch in TOS EXP In 64 Out 128\\n"}},
    {5, {Spoil::value, 27, 0, "Mismatch in Protocol In 89 Out 0\\n"}},
    {6, {Spoil::value, 40, 0x04, "Mismatch in SrcPort In 1000 Out 1256\\n"}},
    {6, {Spoil::value, 41, 0xE9, "Mismatch in SrcPort In 1000 Out 1001\\n"}},
    {7, {Spoil::value, 43, 0x08, "Mismatch in DstPort In 2000 Out 2256\\n"}},
    {7, {Spoil::value, 44, 0xD1, "Mismatch in DstPort In 2000 Out 2001\\n"}},
    {8, {Spoil::value, 26, 0x40, "Mismatch in TCP Flags In 1 Out 0\\n"}},
    {9, {Spoil::value, 28, 18, "Mismatch in TCP Value In 17 Out 18\\n"}},
    {10, {Spoil::value, 26, 0x80, "Mismatch in Fragment Value In 1 Out 0\\n"}},
};

const FieldSpoil kAclSpoils[] = {
    {11, {Spoil::value, 2, 0x0D, "Mismatch in ClassID value In 5 Out 6\\n"}},
    {11, {Spoil::value, 3, 0x80, "Mismatch in ClassID value In 5 Out 16389\\n"}},
    {12, {Spoil::result, 7, 0x35, "Mismatch in ACL Stats ID In -2147478988 Out -2147478987\\n"}},
    {12, {Spoil::result, 10, 0x00, "Mismatch in ACL Stats ID In -2147478988 Out 4660\\n"}},
};

const FieldSpoil kQosSpoils[] = {
    {11, {Spoil::result, 44, 0x98, "Mismatch in Stats ID In -2038986599 Out -2038986600\\n"}},
    {11, {Spoil::result, 47, 0x06, "Mismatch in Stats ID In -2038986599 Out 108497049\\n"}},
    {12, {Spoil::result, 36, 0x12, "Mismatch in Token Bucket ID In 1144201745 Out 1144201746\\n"}},
    {12, {Spoil::result, 39, 0x84, "Mismatch in Token Bucket ID In 1144201745 Out -2077023727\\n"}},
    {13, {Spoil::result, 8, 0x63, "Mismatch in Police Confirm Mark Opcode1 In 5 Out 6\\n"}},
    {14, {Spoil::result, 9, 200, "Mismatch in Police Confirm Mark Val1 In 1 Out 200\\n"}},
    {15, {Spoil::result, 8, 0x54, "Mismatch in Police Confirm Mark Opcode2 In 3 Out 4\\n"}},
    {16, {Spoil::result, 10, 9, "Mismatch in Police Confirm Mark Val2 In 2 Out 9\\n"}},
    {17, {Spoil::result, 11, 0x74, "Mismatch in Police Exceed Mark Opcode1 In 6 Out 7\\n"}},
    {18, {Spoil::result, 12, 9, "Mismatch in Police Exceed Mark Val1 In 3 Out 9\\n"}},
    {19, {Spoil::result, 11, 0x65, "Mismatch in Police Exceed Mark Opcode2 In 4 Out 5\\n"}},
    {20, {Spoil::result, 13, 9, "Mismatch in Police Exceed Mark Val2 In 4 Out 9\\n"}},
};

class SpoiltFieldTest : public ComparisonTest {
  protected:
    // The fields before the spoilt one are told, then its mismatch; nothing after it.
    void expect_mismatch(uint32_t feature, const FieldSpoil &row) {
        SCOPED_TRACE(row.spoil.mismatch);
        standin::reset();
        set_feature(feature);
        Bytes &key = row.spoil.key == Spoil::value  ? out.value
                     : row.spoil.key == Spoil::mask ? out.mask
                                                    : out.result;
        key[row.spoil.offset] = static_cast<uint8_t>(row.spoil.now);
        std::vector<std::string> expected = success_lines(feature);
        expected.resize(row.field);
        expected.push_back(print_text(row.spoil.mismatch));
        expected.push_back(verdict(0));
        EXPECT_THAT(compare(), ElementsAreArray(expected));
    }
};

TEST_F(ComparisonTest, AclFieldsAlikeAreToldInOrder) {
    std::vector<std::string> expected = success_lines(0);
    expected.push_back(verdict(1));
    EXPECT_THAT(compare(), ElementsAreArray(expected));
}

TEST_F(ComparisonTest, QosFieldsAlikeAreToldInOrder) {
    set_feature(6);
    std::vector<std::string> expected = success_lines(6);
    expected.push_back(verdict(1));
    EXPECT_THAT(compare(), ElementsAreArray(expected));
}

TEST_F(SpoiltFieldTest, EveryKeyFieldEndsTheComparisonOfEitherLayout) {
    for (uint32_t feature : {0u, 6u})
        for (const FieldSpoil &row : kKeySpoils) expect_mismatch(feature, row);
}

TEST_F(SpoiltFieldTest, EveryAclFieldEndsTheComparison) {
    for (const FieldSpoil &row : kAclSpoils) expect_mismatch(0, row);
}

TEST_F(SpoiltFieldTest, AnyFeatureButQosIsComparedAsAcl) {
    for (const FieldSpoil &row : kAclSpoils) expect_mismatch(7, row);
}

TEST_F(SpoiltFieldTest, EveryQosFieldEndsTheComparison) {
    for (const FieldSpoil &row : kQosSpoils) expect_mismatch(6, row);
}

TEST_F(ComparisonTest, FieldsProgrammedAsZeroAreNotCompared) {
    for (uint32_t feature : {0u, 6u}) {
        standin::reset();
        set_feature(feature);
        in = {Bytes(92), Bytes(92), Bytes(55)};
        EXPECT_THAT(compare(), ElementsAre(verdict(1)));
    }
}

TEST_F(ComparisonTest, BitsOfOtherFieldsAreNotCompared) {
    out.value[2] ^= 0x01;
    out.value[26] |= 0x3F;
    out.mask[7] = out.mask[27] = out.mask[28] = out.mask[32] = out.mask[40] = out.mask[43] = 0x55;
    EXPECT_EQ(compare().back(), verdict(1));
}

TEST_F(ComparisonTest, AFlagProgrammedAsZeroMayReadBackAsOne) {
    in.value[26] = 0x80;
    EXPECT_EQ(compare().back(), verdict(1));
    standin::reset();
    in.value[26] = 0x40;
    EXPECT_EQ(compare().back(), verdict(1));
}

TEST_F(ComparisonTest, PortsReadBackInTheOrderProgrammedFail) {
    bytes(out.value, 40, {0xE8, 0x03});
    const std::vector<std::string> lines = compare();
    EXPECT_EQ(lines[lines.size() - 2], print_text("Mismatch in SrcPort In 1000 Out 59395\\n"));
    EXPECT_EQ(lines.back(), verdict(0));
}

TEST_F(ComparisonTest, KeyTypeOneShiftsTheProgrammedAddressesOnly) {
    set_feature(6);
    in.value[3] = 1;
    bytes(in.value, 58, {30, 7, 8, 9});
    bytes(in.mask, 58, {255, 0, 0, 0});
    bytes(in.value, 74, {40, 10, 11, 12});
    bytes(in.mask, 74, {0, 255, 0, 0});
    std::vector<std::string> lines = compare();
    EXPECT_EQ(lines[0], print_text("Mismatch in SrcIP value In 0x1e070809/0xff Out 0xa010203/0xffffff\\n"));

    standin::reset();
    bytes(out.value, 46, {9, 8, 7, 30});
    bytes(out.mask, 46, {255, 0, 0, 0});
    lines = compare();
    EXPECT_EQ(lines[0], print_text("SrcIP inserted correctly\\n"));
    EXPECT_EQ(lines[1],
              print_text("Mismatch in DstIP value In 0x280a0b0c/0xff00 Out 0x14040506/0xffff\\\\n"));

    standin::reset();
    bytes(out.value, 62, {12, 11, 10, 40});
    bytes(out.mask, 62, {0, 255, 0, 0});
    EXPECT_EQ(compare().back(), verdict(1));
}

TEST_F(ComparisonTest, OnlyQosKeyTypeOneExactlyShiftsTheAddresses) {
    in.value[3] = out.value[3] = 1;  // of an ACL: a bit of the class id
    EXPECT_EQ(compare().back(), verdict(1));
    for (int type : {0, 2, 3, 0x81}) {
        standin::reset();
        set_feature(6);
        in.value[3] = static_cast<uint8_t>(type);
        EXPECT_EQ(compare().back(), verdict(1)) << type;
    }
}

TEST_F(ComparisonTest, FlagOfTheStatisticsIdIsClearedOnTheProgrammedSideOnly) {
    set_feature(6);
    out.result[47] |= 0x20;
    EXPECT_THAT(compare(),
                testing::Contains(print_text("Mismatch in Stats ID In -2038986599 Out -1502115687\\n")));

    standin::reset();
    set_feature(6);
    bytes(in.result, 44, {0, 0, 0, 0x20});
    bytes(out.result, 44, {1, 0, 0, 0});
    EXPECT_THAT(compare(), testing::Contains(print_text("Mismatch in Stats ID In 0 Out 1\\n")));

    standin::reset();
    bytes(out.result, 44, {0, 0, 0, 0});
    EXPECT_THAT(compare(), testing::Contains(print_text("Stats ID inserted correctly\\n")));
}

// --- Read-back

// Programs a request with buffers and verifies it.
void verify(prm_info &info) {
    run([&] {
        tc_kiv_tcam_init_prm_info(&info, 6, 3, 0x0102030405060708, 0x99);
        info.nr_entries = 2;
        if (tc_kiv_tcam_allocate_and_offset_vmr(&info) != 0) return 0;
        info.value[7] = 1;
        tc_kiv_tcam_verify(&info);
        free_vmr(&info);
        return 0;
    });
}

TEST_F(TcamTest, VerifyReadsTheEntryIntoItsOwnBuffers) {
    standin::on("zor_vop_prm_tcam_vmr_read").does([](standin::Call &call) {
        call.pointer<prm_info>(1)->value[7] = 1;
    });
    prm_info info;
    verify(info);
    EXPECT_THAT(outline_without_lines(),
                ElementsAre("call zor_vop_prm_tcam_vmr_read", none_text(0, "prm_kiv_tcam", kVerify),
                            print_text("VLAN COS inserted correctly\\n"), verdict(1)));
    const standin::Event read = standin::calls("zor_vop_prm_tcam_vmr_read").at(0);
    Bytes record = read.record();
    record.resize(352);
    // Port, word 4 and word 312 stay 0.
    EXPECT_EQ(record, RecordBuilder(352)
                          .u32_at(0, 6)
                          .u32_at(264, 3)
                          .at<uint64_t>(288, 0x0102030405060708)
                          .u16_at(316, 0x99)
                          .u16_at(318, 2)
                          .u16_at(320, 92)
                          .u16_at(322, 55)
                          .bytes());
    EXPECT_THAT(read.keys, ElementsAre(Bytes(184), Bytes(184), Bytes(110)));
    EXPECT_EQ(read.arguments.at(0).number, reinterpret_cast<uint64_t>(standin::kAsync));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(TcamTest, FailedReadIsToldAndNotChecked) {
    standin::fail_call(1, 0x1234);
    prm_info info;
    verify(info);
    EXPECT_THAT(outline_without_lines(),
                ElementsAre("call zor_vop_prm_tcam_vmr_read",
                            print_text("tc_kiv_tcam_verify: Failure in getting info from h/w\\n")));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(TcamTest, VerifyWithoutMemoryReadsNothing) {
    standin::fail_allocation(2);
    prm_info info;
    verify(info);
    EXPECT_THAT(standin::outline(),
                ElementsAre(print_text(
                    "Error!!! Memory Allocation Failure under tc_kiv_tcam_allocate_and_offset_vmr \\n")));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

// --- Requests with something wrong

TEST_F(TcamTest, SpoiltFeatureStandsInTheHandleToo) {
    prm_info info;
    tc_kiv_tcam_init_prm_info(&info, 0, 3, 0x1234ABCD55667788, 1);
    prm_kiv_tcam_spoil_fea_id(&info);
    EXPECT_EQ(info.fea_id, 7u);
    EXPECT_EQ(uint64_t{info.vmr_id}, 0x0000AB0755667788u);
}

TEST_F(TcamTest, ClassIdLeavesTheBitOfItsNeighbour) {
    prm_tcam_key key = {};
    key.class_id_low = 0xFF;
    key.class_id_high = 0xFF;
    prm_tcam_set_class_id(&key, 1);
    EXPECT_EQ(key.class_id_low, 0x03);
    EXPECT_EQ(key.class_id_high, 0);
    prm_tcam_set_class_id(&key, 0x7FFE);
    EXPECT_EQ(key.class_id_low, 0xFD);
    EXPECT_EQ(key.class_id_high, 0xFF);
    EXPECT_EQ(prm_tcam_class_id(&key), 0x7FFE);
}

TEST_F(TcamTest, ACodeOutsideTheSetCallsNothing) {
    for (uint32_t opcode : {1u, 3u, 31u, 32u, 100u, 0xFFFFFFFFu}) {
        standin::reset();
        EXPECT_EQ(run([&] {
                      return static_cast<int>(
                          prm_kiv_tcam_call(opcode, PRM_KIV_TCAM_CREATE | PRM_KIV_TCAM_DESTROY, nullptr));
                  }),
                  0);
        EXPECT_THAT(standin::outline(), ElementsAre(print_text("Error!!! Invalid opcode \\n"))) << opcode;
    }
}

}  // namespace
