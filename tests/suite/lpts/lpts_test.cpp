// LPTS entries: programming, reading back, comparing and deleting, on success and on failure.
#include "prm_kiv_lpts.h"

#include "tests/standin/suite_test.h"

namespace {

using standin::RecordBuilder;
using standin::run;
using standin::transcript;
using testing::ElementsAre;

constexpr uint32_t kFailure = 0x1234;

RecordBuilder ipv4_bytes(size_t size = 128, size_t at = 0) {
    return RecordBuilder(size)
        .u32_at(at, 256)
        .u8_at(at + 4, 0xFF)
        .u8_at(at + 5, 0xFF)
        .u32_at(at + 8, 1)
        .u32_at(at + 44, 1)
        .u8_at(at + 48, 17)
        .u32_at(at + 60, 0x0A0A0A0A)
        .u32_at(at + 76, 32)
        .u32_at(at + 84, 0x10101010)
        .u32_at(at + 100, 32)
        .u16_at(at + 108, 9999);
}

RecordBuilder ipv6_bytes(size_t size = 128, size_t at = 0) {
    return RecordBuilder(size)
        .u32_at(at, 256)
        .u8_at(at + 4, 0xFF)
        .u8_at(at + 5, 0xFF)
        .u32_at(at + 8, 1)
        .u32_at(at + 44, 2)
        .u8_at(at + 48, 6)
        .u8_at(at + 60, 0x20)
        .u8_at(at + 75, 1)
        .u32_at(at + 76, 128)
        .u8_at(at + 84, 0x30)
        .u8_at(at + 99, 1)
        .u32_at(at + 100, 128)
        .u16_at(at + 116, 5555);
}

template <class T>
standin::Bytes bytes_of(const T &value) {
    const uint8_t *bytes = reinterpret_cast<const uint8_t *>(&value);
    return standin::Bytes(bytes, bytes + sizeof value);
}

template <class T>
T from_bytes(const standin::Bytes &bytes) {
    T value;
    std::memcpy(static_cast<void *>(&value), bytes.data(), sizeof value);
    return value;
}

// The read and delete requests of the identifier {7, 8, 9, 10, 11}, or of another entry id.
standin::Bytes id_request(uint32_t entry, uint32_t word16) {
    return RecordBuilder(2116)
        .u32_at(0, 10)
        .u32_at(60, 20)
        .u32_at(68, 7)
        .u32_at(72, entry)
        .u32_at(76, 9)
        .u32_at(80, 10)
        .u32_at(84, word16);
}

class LptsTest : public SuiteTest {
  protected:
    void SetUp() override {
        SuiteTest::SetUp();
        ipv4_entry = prm_lpts_entry();
        ipv6_entry = prm_lpts_entry();
        fp_id_v4 = {7, 8, 9, 10, 11};
        fp_id_v6 = {7, 8, 9, 10, 11};
    }
    // Adds hand out the identifier {1, 2, 3, 4, 5}.
    void hand_out_ids() {
        standin::on("prm_srh_lpts_add").does([](standin::Call &call) {
            for (uint32_t i = 0; i < 5; ++i) call.put<uint32_t>(1, 68 + 4 * i, i + 1);
        });
    }
    // Reads answer with the entry's bytes.
    void answer_reads(const standin::Bytes &entry) {
        standin::on("prm_srh_lpts_get").does([entry](standin::Call &call) {
            std::memcpy(call.pointer<uint8_t>(1) + 68, entry.data(), entry.size());
        });
    }
};

TEST_F(LptsTest, GlobalsHaveTheSizesOfEntriesAndIdentifiers) {
    EXPECT_EQ(sizeof ipv4_entry, 128u);
    EXPECT_EQ(sizeof ipv6_entry, 128u);
    EXPECT_EQ(sizeof fp_id_v4, 20u);
    EXPECT_EQ(sizeof fp_id_v6, 20u);
}

TEST_F(LptsTest, Ipv4AddSendsTheEntryAndTellsTheIdentifier) {
    hand_out_ids();
    EXPECT_EQ(run(tc_kiv_lpts_v4_entry_add), 0);
    EXPECT_EQ(standin::calls("prm_srh_lpts_add").at(0).record(),
              ipv4_bytes(2116, 68).u32_at(0, 10).u32_at(60, 128).bytes());
    EXPECT_THAT(standin::outline(),
                ElementsAre("call prm_srh_lpts_add", "print \"SUCCESS: FP programmed: 2\\n\"",
                            "print \"SUCCESS: IPv4 LPTS created: FP Grp Id 1, Entry ID 2, Stat ID 4, Policer "
                            "ID 3\\n\""));
    EXPECT_EQ(bytes_of(ipv4_entry), ipv4_bytes().bytes());
    EXPECT_EQ(bytes_of(fp_id_v4),
              RecordBuilder(20).u32_at(0, 1).u32_at(4, 2).u32_at(8, 3).u32_at(12, 4).u32_at(16, 5).bytes());
}

TEST_F(LptsTest, Ipv6AddSendsTheEntryAndTellsTheIdentifier) {
    hand_out_ids();
    EXPECT_EQ(run(tc_kiv_lpts_v6_entry_add), 0);
    EXPECT_EQ(standin::calls("prm_srh_lpts_add").at(0).record(),
              ipv6_bytes(2116, 68).u32_at(0, 10).u32_at(60, 128).bytes());
    EXPECT_THAT(standin::outline(),
                ElementsAre("call prm_srh_lpts_add", "print \"SUCCESS: FP programmed: 2\\n\"",
                            "print \"SUCCESS: IPv6 LPTS created: FP Grp Id 1, Entry ID 2, Stat ID 4, Policer "
                            "ID 3\\n\""));
    EXPECT_EQ(bytes_of(ipv6_entry), ipv6_bytes().bytes());
    EXPECT_EQ(fp_id_v6.entry, 2u);
}

TEST_F(LptsTest, AFailedAddLeavesTheIdentifierCleared) {
    hand_out_ids();
    standin::on("prm_srh_lpts_add").returns(kFailure);
    run(tc_kiv_lpts_v4_entry_add);
    run(tc_kiv_lpts_v6_entry_add);
    EXPECT_THAT(standin::outline(),
                ElementsAre("call prm_srh_lpts_add", "print \"ERROR: Failed to program LPTS entry: 1234\\n\"",
                            "print \"ERROR: IPv4 LPTS creation failed. rc = 0x1234\\n\"",
                            "call prm_srh_lpts_add", "print \"ERROR: Failed to program LPTS entry: 1234\\n\"",
                            "print \"ERROR: IPv6 LPTS creation failed. rc = 0x1234\\n\""));
    EXPECT_EQ(bytes_of(fp_id_v4), standin::Bytes(20));
    EXPECT_EQ(bytes_of(fp_id_v6), standin::Bytes(20));
    EXPECT_EQ(bytes_of(ipv4_entry), ipv4_bytes().bytes());
}

TEST_F(LptsTest, ReadSendsTheIdentifierAndComparesWhatComesBack) {
    kiv_util_lpts_build_v4_entry(&ipv4_entry, 0);
    answer_reads(ipv4_bytes());
    EXPECT_EQ(run(tc_kiv_lpts_v4_entry_read), 0);
    const standin::Event read = standin::calls("prm_srh_lpts_get").at(0);
    EXPECT_EQ(read.record(), id_request(8, 11));
    EXPECT_EQ(read.arguments.at(2).number, 1u);
    EXPECT_THAT(standin::outline(),
                ElementsAre("call prm_srh_lpts_get", "print \"SUCCESS: Read the LPTS entry with ID 8\\n\"",
                            "print \"SUCCESS: Read and compared the LPTS entry\\n\""));
}

TEST_F(LptsTest, Ipv6ReadComparesWithTheIpv6Entry) {
    kiv_util_lpts_build_v6_entry(&ipv6_entry, 0);
    fp_id_v6.entry = 42;
    answer_reads(ipv6_bytes());
    run(tc_kiv_lpts_v6_entry_read);
    EXPECT_EQ(standin::calls().at(0).field<uint32_t>(72), 42u);
    EXPECT_THAT(standin::outline(),
                ElementsAre("call prm_srh_lpts_get", "print \"SUCCESS: Read the LPTS entry with ID 42\\n\"",
                            "print \"SUCCESS: Read and compared the LPTS entry\\n\""));
}

TEST_F(LptsTest, AMismatchIsToldAfterItsField) {
    kiv_util_lpts_build_v4_entry(&ipv4_entry, 0);
    answer_reads(ipv4_bytes().u16_at(108, 80));
    run(tc_kiv_lpts_v4_entry_read);
    EXPECT_THAT(standin::outline(),
                ElementsAre("call prm_srh_lpts_get", "print \"SUCCESS: Read the LPTS entry with ID 8\\n\"",
                            "print \"ERROR: Local ports do not match, expected 9999, read 80\\n\"",
                            "print \"ERROR: Programmed and read keys do not match\\n\""));
}

TEST_F(LptsTest, AFailedReadSkipsTheComparison) {
    answer_reads(ipv4_bytes());
    standin::on("prm_srh_lpts_get").returns(kFailure);
    for (kiv_function_t function : {tc_kiv_lpts_v4_entry_read, tc_kiv_lpts_v6_entry_read}) {
        const size_t before = standin::log().size();
        run(function);
        std::vector<std::string> lines = standin::outline();
        lines.erase(lines.begin(), lines.begin() + static_cast<long>(before));
        EXPECT_THAT(lines,
                    ElementsAre("call prm_srh_lpts_get",
                                "print \"ERROR: Failed to read programmed LPTS entry, error :1234\\n\"",
                                "print \"ERROR: Failed to read programmed LPTS entry\\n\""));
    }
}

TEST_F(LptsTest, AFailedReadLeavesTheCallersEntry) {
    answer_reads(ipv4_bytes());
    standin::on("prm_srh_lpts_get").returns(kFailure);
    prm_lpts_entry entry = {};
    EXPECT_EQ(kiv_util_lpts_read(&fp_id_v4, &entry), kFailure);
    EXPECT_EQ(bytes_of(entry), standin::Bytes(128));
}

TEST_F(LptsTest, InvalidReadTakesAFixedEntryIdAndExpectsFailure) {
    standin::on("prm_srh_lpts_get").returns(kFailure);
    run(tc_kiv_lpts_invalid_entry_read);
    EXPECT_EQ(standin::calls().at(0).record(), id_request(65518, 0));
    EXPECT_THAT(standin::outline(),
                ElementsAre("call prm_srh_lpts_get",
                            "print \"ERROR: Failed to read programmed LPTS entry, error :1234\\n\"",
                            "print \"SUCCESS: Reading invalid entry failed. Error 4660\\n\""));
    EXPECT_EQ(fp_id_v4.entry, 8u);
}

TEST_F(LptsTest, InvalidReadThatSucceedsIsAnError) {
    run(tc_kiv_lpts_invalid_entry_read);
    EXPECT_THAT(standin::outline(), ElementsAre("call prm_srh_lpts_get",
                                                "print \"SUCCESS: Read the LPTS entry with ID 65518\\n\"",
                                                "print \"ERROR: Strange! Invalid entry read\\n\""));
}

TEST_F(LptsTest, DeleteSendsTheIdentifier) {
    run(tc_kiv_lpts_entry_delete);
    EXPECT_EQ(standin::calls("prm_srh_lpts_del").at(0).record(), id_request(8, 11));
    EXPECT_THAT(standin::outline(),
                ElementsAre("call prm_srh_lpts_del", "print \"SUCCESS: Deleted the LPTS entry\\n\""));
}

TEST_F(LptsTest, AFailedDeleteIsTold) {
    standin::on("prm_srh_lpts_del").returns(kFailure);
    run(tc_kiv_lpts_entry_delete);
    EXPECT_THAT(standin::outline(),
                ElementsAre("call prm_srh_lpts_del",
                            "print \"ERROR: Unable to delete LPTS entry created. Error 4660\\n\""));
}

TEST_F(LptsTest, InvalidDeleteTakesAFixedEntryIdAndExpectsFailure) {
    standin::on("prm_srh_lpts_del").returns(kFailure);
    run(tc_kiv_lpts_invalid_entry_delete);
    EXPECT_EQ(standin::calls().at(0).record(), id_request(65518, 0));
    EXPECT_THAT(standin::outline(),
                ElementsAre("call prm_srh_lpts_del",
                            "print \"SUCCESS: Deleting invalid LPTS entrye returns error 1234\\n\""));
}

TEST_F(LptsTest, InvalidDeleteThatSucceedsIsAnError) {
    run(tc_kiv_lpts_invalid_entry_delete);
    EXPECT_THAT(
        standin::outline(),
        ElementsAre("call prm_srh_lpts_del",
                    "print \"ERROR: Strange! Deleting non-exiting LPTS entry did not return error\\n\""));
}

TEST_F(LptsTest, OnlySelectorZeroFillsAnEntry) {
    prm_lpts_entry entry;
    std::memset(static_cast<void *>(&entry), 0xA5, sizeof entry);
    kiv_util_lpts_build_v4_entry(&entry, 1);
    EXPECT_EQ(bytes_of(entry), standin::Bytes(128));
    std::memset(static_cast<void *>(&entry), 0xA5, sizeof entry);
    kiv_util_lpts_build_v6_entry(&entry, 7);
    EXPECT_EQ(bytes_of(entry), standin::Bytes(128));
    kiv_util_lpts_build_v6_entry(&entry, 0);
    EXPECT_EQ(bytes_of(entry), ipv6_bytes().bytes());
}

// --- Comparison ---

void expect_mismatch(const standin::Bytes &expected, const standin::Bytes &read, const std::string &line) {
    standin::reset();
    const auto a = from_bytes<prm_lpts_entry>(expected), b = from_bytes<prm_lpts_entry>(read);
    EXPECT_EQ(kiv_util_lpts_compare(&a, &b), line.empty() ? 1 : 0);
    EXPECT_EQ(standin::printed(), line);
}

TEST_F(LptsTest, EveryIpv4FieldIsCompared) {
    const standin::Bytes e = ipv4_bytes();
    expect_mismatch(e, ipv4_bytes(), "");
    expect_mismatch(e, ipv4_bytes().u32_at(44, 2), "ERROR: L3 protoocls do not match, expected 1, read 2\n");
    expect_mismatch(e, ipv4_bytes().u8_at(48, 200),
                    "ERROR: L4 protoocls do not match, expected 17, read 200\n");
    expect_mismatch(e, ipv4_bytes().u16_at(108, 65535),
                    "ERROR: Local ports do not match, expected 9999, read 65535\n");
    expect_mismatch(e, ipv4_bytes().u16_at(116, 1), "ERROR: Remote ports do not match, expected 0, read 1\n");
    expect_mismatch(e, ipv4_bytes().u32_at(60, 0xFFFFFFFF),
                    "ERROR: Local V4 addresses do not match, expected 168430090, read -1\n");
    expect_mismatch(e, ipv4_bytes().u32_at(84, 0),
                    "ERROR: Remote V4 addresses do not match, expected 269488144, read 0\n");
    expect_mismatch(e, ipv4_bytes().u32_at(76, 24),
                    "ERROR: Local V4 prefix len  do not match, expected 32, read 24\n");
    expect_mismatch(e, ipv4_bytes().u32_at(100, 0),
                    "ERROR: Remote V4 prefix len  do not match, expected 32, read 0\n");
}

TEST_F(LptsTest, EveryIpv6FieldIsCompared) {
    const standin::Bytes e = ipv6_bytes();
    expect_mismatch(e, ipv6_bytes(), "");
    expect_mismatch(e, ipv6_bytes().u16_at(108, 1), "ERROR: Local ports do not match, expected 0, read 1\n");
    expect_mismatch(e, ipv6_bytes().u16_at(116, 0),
                    "ERROR: Remote ports do not match, expected 5555, read 0\n");
    // The words show as they lie in memory, little-endian.
    expect_mismatch(e, ipv6_bytes().bytes_at(60, {0x20, 0x01, 0x0D, 0xB8, 0, 1}),
                    "ERROR: Local V6 addresses do not match, expected 20:0:0:0, read 120:b80d:100:0\n");
    expect_mismatch(e, ipv6_bytes().u8_at(99, 2),
                    "ERROR: Remote V6 addresses do not match, expected 30:0:0:0, read 30:0:0:0\n");
    expect_mismatch(e, ipv6_bytes().u32_at(76, 64),
                    "ERROR: Local V6 prefix len  do not match, expected 128, read 64\n");
    expect_mismatch(e, ipv6_bytes().u32_at(100, 0),
                    "ERROR: Remote V6 prefix len  do not match, expected 128, read 0\n");
}

TEST_F(LptsTest, ComparisonStopsAtTheFirstMismatch) {
    expect_mismatch(ipv4_bytes(), ipv4_bytes().u8_at(48, 6).u16_at(108, 0).u32_at(60, 0),
                    "ERROR: L4 protoocls do not match, expected 17, read 6\n");
}

TEST_F(LptsTest, OfAnIpv4AddressOnlyFourBytesCount) {
    expect_mismatch(ipv4_bytes(), ipv4_bytes().u8_at(64, 1).u8_at(75, 1).u8_at(88, 1), "");
}

TEST_F(LptsTest, OtherProtocolsMatchOnceTheProtocolsAgree) {
    expect_mismatch(ipv4_bytes().u32_at(44, 3), ipv6_bytes().u32_at(44, 3).u8_at(48, 17), "");
}

}  // namespace
