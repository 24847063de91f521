// The standard-input readers of the VXLAN cases: what they print, fill and keep, and what they never
// overwrite.
#include <string.h>

#include "prm_kiv_vxlan.h"
#include "tests/standin/suite_test.h"

namespace {

using standin::printed;
using standin::run;
using standin::transcript;
using testing::ElementsAre;

constexpr char kVplag[] = "prm_kiv_util_get_vplag_params status 1\n";

// Reads every line of `input` into one entry; returns the status of the last one that was there.
template <class Entry>
int read(int (*reader)(Entry *), const std::string &input, Entry *entry) {
    standin::standard_input(input);
    int lines = 1;
    for (const char c : input)
        if (c == '\n') ++lines;
    if (!input.empty() && input.back() == '\n') --lines;
    return run([=] {
        int status = 0;
        for (int i = 0; i < lines; ++i) status = reader(entry);
        return status;
    });
}

class VxlanReadersTest : public SuiteTest {
  protected:
    void SetUp() override {
        SuiteTest::SetUp();
        memset(&vplag, 0, sizeof vplag);
        memset(&mac, 0, sizeof mac);
    }
    // What the check that fails last says, once the process has ended.
    std::string abort_message(const std::string &line) {
        standin::reset();
        read(prm_kiv_util_get_vplag_params, line, &vplag);
        EXPECT_TRUE(standin::aborted());
        EXPECT_EQ(transcript().back(), "abort");
        return transcript().at(transcript().size() - 2);
    }
    prm_vplag_info vplag;
    prm_evpn_mac_entry mac;
};

TEST_F(VxlanReadersTest, BridgeDomainReaderPrintsNothing) {
    prm_kiv_vxlan_bd_params bd = {};
    EXPECT_EQ(read(prm_kiv_util_get_vxlan_bd_params, "5,100,0a000001\n", &bd), 1);
    EXPECT_EQ(bd.bd_id, 5u);
    EXPECT_EQ(bd.vni, 100u);
    EXPECT_EQ(bd.source_vtep, 0x0A000001u);
    EXPECT_EQ(read(prm_kiv_util_get_vxlan_bd_params, " \n", &bd), -1);
    EXPECT_EQ(read(prm_kiv_util_get_vxlan_bd_params, "", &bd), 0);
    EXPECT_EQ(printed(), "");
}

TEST_F(VxlanReadersTest, EmptyLineAndEndOfInputAreToldByTheOthers) {
    prm_kiv_ac_params ac = {9, 9};
    EXPECT_EQ(read(prm_kiv_util_get_ac_params, "\n", &ac), -1);
    EXPECT_EQ(read(prm_kiv_util_get_ac_params, "", &ac), 0);
    EXPECT_EQ(printed(), "prm_kiv_util_get_ac_params status -1\nprm_kiv_util_get_ac_params status 0\n");
    EXPECT_EQ(ac.bd_id, 9u);
}

TEST_F(VxlanReadersTest, CircuitReaders) {
    prm_kiv_ac_params ac = {};
    EXPECT_EQ(read(prm_kiv_util_get_ac_params, "5,65543\n", &ac), 1);
    EXPECT_EQ(ac.uidb_index, 7);
    prm_kiv_vsp_ac_params vsp = {};
    EXPECT_EQ(read(prm_kiv_util_get_vsp_ac_params, "5,0x8010,7", &vsp), 1);
    EXPECT_EQ(vsp.ac_xid, 0x8010u);
    EXPECT_EQ(printed(),
              "prm_kiv_util_get_ac_params status 1\nprm_kiv_util_get_ac_params: bd 5  uidb_index 7\n"
              "prm_kiv_util_get_vsp_ac_params status 1\n"
              "prm_kiv_util_get_vsp_ac_params: bd 5 ac_xid: 0x8010, uidb_index 7\n");
}

TEST_F(VxlanReadersTest, OverlayAndSplitHorizonReaders) {
    prm_kiv_ole_params ole = {};
    EXPECT_EQ(read(prm_kiv_util_get_ole_params, "5,a000002,100053\n", &ole), 1);
    prm_shg_df_entry shg = {};
    EXPECT_EQ(read(prm_kiv_util_get_shg_df_params, "a000001,8000038,1\n", &shg), 1);
    EXPECT_EQ(printed(),
              "prm_kiv_util_get_ole_params status 1\n"
              "prm_kiv_util_get_ole_params: bd 5 r_vtep 0x0a000002 nh 100053\n"
              "prm_kiv_util_get_shg_df_params status 1\nipaddr/vni 0xa000001, ifh 0x8000038 is_shg = 1 \n");
    EXPECT_EQ(ole.nh_id, 100053u);
    EXPECT_EQ(shg.is_shg, 1u);
}

TEST_F(VxlanReadersTest, AbsentFieldsKeepTheEarlierLinesValues) {
    prm_kiv_vsp_ac_params vsp = {};
    EXPECT_EQ(read(prm_kiv_util_get_vsp_ac_params, "5\n6,10\n7\n", &vsp), 1);
    EXPECT_EQ(vsp.bd_id, 7u);
    EXPECT_EQ(vsp.ac_xid, 0x10u);
    EXPECT_EQ(vsp.uidb_index, 0);
}

TEST_F(VxlanReadersTest, JunkIsZeroAndNumbersAreCut) {
    prm_kiv_ole_params ole = {1, 1, 1};
    EXPECT_EQ(read(prm_kiv_util_get_ole_params, "x,zz,4294967301\n", &ole), 1);
    EXPECT_EQ(ole.bd_id, 0u);
    EXPECT_EQ(ole.remote_vtep, 0u);
    EXPECT_EQ(ole.nh_id, 5u);
}

TEST_F(VxlanReadersTest, MoreThanTwentyTokensAreTold) {
    prm_kiv_ac_params ac = {};
    EXPECT_EQ(
        read(prm_kiv_util_get_ac_params, "1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21\n", &ac), 1);
    EXPECT_THAT(transcript().front(), "print \"prm_kiv_util_line_input: reached max tokens\\n\"");
    EXPECT_EQ(ac.uidb_index, 2);
}

TEST_F(VxlanReadersTest, LongLineIsReadInPieces) {
    prm_kiv_ac_params ac = {};
    standin::standard_input("5,7," + std::string(495, 'x') + "6,8\n");  // 499 characters, then the rest
    run([&] { return prm_kiv_util_get_ac_params(&ac); });
    EXPECT_EQ(ac.uidb_index, 7);
    const std::string second = std::string(495, 'x') + "6,8";
    standin::standard_input("5,7," + second + "\n");
    run([&] {
        prm_kiv_util_get_ac_params(&ac);
        return prm_kiv_util_get_ac_params(&ac);
    });
    EXPECT_EQ(ac.bd_id, 6u);
    EXPECT_EQ(ac.uidb_index, 8);
}

// --- vplag ---

TEST_F(VxlanReadersTest, VplagLinePrintsItsLists) {
    EXPECT_EQ(read(prm_kiv_util_get_vplag_params, "0a000001;3;2;100,101;0a000002,c0a80101\n", &vplag), 1);
    EXPECT_THAT(
        transcript(),
        ElementsAre(
            "print \"prm_kiv_util_get_vplag_params status 1\\n\"",
            "print \"s_vtep 0x0a000001;vplag_id 3;num paths 2;\"",
            "condition true \"vplag_info->num_paths <= ZOR_L2_ECMP_MAX_PATHS\" prm/test/src/prm_kiv_vxlan "
            "prm_kiv_util_get_vplag_params 435 \"prm_kiv_util_get_vplag_params 435 max path number 2 beyond "
            "supported limit 16\\n\"",
            "condition true \"vplag_info->num_paths == i\" prm/test/src/prm_kiv_vxlan "
            "prm_kiv_util_get_vplag_params 445 \"num_paths 2 mismatch with nh num 2\\n\"",
            "condition true \"vplag_info->num_paths == i\" prm/test/src/prm_kiv_vxlan "
            "prm_kiv_util_get_vplag_params 455 \"num_paths 2 mismatch with r_vtep num 2\\n\"",
            "print \"nh_list \"", "print \"100,\"", "print \"101;\"", "print \"r_vtep_list \"",
            "print \"0x0a000002,\"", "print \"0xc0a80101;\"", "print \"\\n\""));
    EXPECT_EQ(vplag.nh_id[1], 101u);
    EXPECT_EQ(vplag.remote_vtep[1], 0xC0A80101u);
}

TEST_F(VxlanReadersTest, SinglePathHasNoComma) {
    read(prm_kiv_util_get_vplag_params, "1;2;1;7;9\n", &vplag);
    EXPECT_EQ(printed(), std::string(kVplag) +
                             "s_vtep 0x00000001;vplag_id 2;num paths 1;nh_list 7;r_vtep_list 0x00000009;\n");
}

TEST_F(VxlanReadersTest, SixteenPathsFillTheEntry) {
    std::string list = "1";
    for (int i = 2; i <= 16; ++i) list += "," + std::to_string(i);
    EXPECT_EQ(read(prm_kiv_util_get_vplag_params, "1;2;16;" + list + ";" + list + "\n", &vplag), 1);
    EXPECT_EQ(vplag.nh_id[15], 16u);
    EXPECT_EQ(vplag.remote_vtep[15], 0x16u);
}

TEST_F(VxlanReadersTest, ZeroPathsReadNoLists) {
    EXPECT_EQ(read(prm_kiv_util_get_vplag_params, "1;2;0;7,8;9\n", &vplag), 1);
    EXPECT_EQ(printed(), std::string(kVplag) + "s_vtep 0x00000001;vplag_id 2;num paths 0;\n");
    EXPECT_THAT(standin::checks(), testing::IsEmpty());
    EXPECT_EQ(vplag.nh_id[0], 0u);
}

TEST_F(VxlanReadersTest, ShorterLaterLineKeepsTheFurtherWords) {
    EXPECT_EQ(read(prm_kiv_util_get_vplag_params, "1;2;2;7,8;9,a\n1;2;1;5;6\n", &vplag), 1);
    EXPECT_EQ(vplag.nh_id[0], 5u);
    EXPECT_EQ(vplag.nh_id[1], 8u);
    EXPECT_EQ(vplag.remote_vtep[1], 0xAu);
}

TEST_F(VxlanReadersTest, TooManyPathsEndTheProcess) {
    EXPECT_EQ(
        abort_message("1;2;17;1;1\n"),
        "condition false \"vplag_info->num_paths <= ZOR_L2_ECMP_MAX_PATHS\" prm/test/src/prm_kiv_vxlan "
        "prm_kiv_util_get_vplag_params 435 \"prm_kiv_util_get_vplag_params 435 max path number 17 beyond "
        "supported limit 16\\n\"");
    // Compared unsigned, printed signed.
    EXPECT_THAT(abort_message("1;2;4294967295\n"), testing::HasSubstr("max path number -1 beyond"));
}

TEST_F(VxlanReadersTest, ListsOfAnotherLengthEndTheProcess) {
    const std::string at =
        "condition false \"vplag_info->num_paths == i\" prm/test/src/prm_kiv_vxlan "
        "prm_kiv_util_get_vplag_params ";
    EXPECT_EQ(abort_message("1;2;2;7;8,9\n"), at + "445 \"num_paths 2 mismatch with nh num 1\\n\"");
    EXPECT_EQ(abort_message("1;2;2;7,8;9\n"), at + "455 \"num_paths 2 mismatch with r_vtep num 1\\n\"");
    EXPECT_EQ(abort_message("1;2;2\n"), at + "445 \"num_paths 2 mismatch with nh num 0\\n\"");
    EXPECT_EQ(abort_message("1;2;2;7,8\n"), at + "455 \"num_paths 2 mismatch with r_vtep num 0\\n\"");
}

TEST_F(VxlanReadersTest, ListPastSixteenWordsIsCountedWholeAndStoredAsFarAsItFits) {
    std::string list = "1";
    for (int i = 2; i <= 40; ++i) list += "," + std::to_string(i);
    vplag.remote_vtep[0] = 0xFEED;
    EXPECT_THAT(abort_message("1;2;16;" + list + ";1\n"), testing::HasSubstr("mismatch with nh num 40"));
    EXPECT_EQ(vplag.nh_id[15], 16u);
    EXPECT_EQ(vplag.remote_vtep[0], 0xFEEDu);

    std::string sixteen = "1";
    for (int i = 2; i <= 16; ++i) sixteen += "," + std::to_string(i);
    struct {
        prm_vplag_info info;
        u8 guard[64];
    } guarded = {};
    standin::reset();
    read(prm_kiv_util_get_vplag_params, "1;2;16;" + sixteen + ";" + list + "\n", &guarded.info);
    EXPECT_THAT(transcript().at(transcript().size() - 2), testing::HasSubstr("mismatch with r_vtep num 40"));
    EXPECT_THAT(guarded.guard, testing::Each(0));
}

// --- EVPN MACs ---

TEST_F(VxlanReadersTest, MacLineWithHexadecimalForwardingClass) {
    EXPECT_EQ(read(prm_kiv_util_get_mac_params, "02:5e:3B:a7:38:31,5,1,10\n", &mac), 1);
    EXPECT_THAT(transcript(),
                ElementsAre("print \"prm_kiv_util_get_mac_params status 1\\n\"", "print \"mac \"",
                            "print \"02:\"", "print \"5e:\"", "print \"3b:\"", "print \"a7:\"",
                            "print \"38:\"", "print \"31,\"", "print \"bd id 5, type 1 fec 0x10\\n\""));
    EXPECT_EQ(mac.fec, 0x10u);
}

TEST_F(VxlanReadersTest, OtherTypesHaveADecimalForwardingClass) {
    for (const char *type : {"0", "2", "257"}) {
        EXPECT_EQ(read(prm_kiv_util_get_mac_params, std::string("1:2:3:4:5:6,5,") + type + ",10\n", &mac), 1);
        EXPECT_EQ(mac.fec, 10u);
    }
}

TEST_F(VxlanReadersTest, BytesAreCutAndShortAddressesKeepTheRest) {
    EXPECT_EQ(read(prm_kiv_util_get_mac_params, "1:2:3:4:5:6,5,1,1\n1ff:zz\n", &mac), 1);
    EXPECT_THAT(mac.mac, ElementsAre(0xFF, 0, 3, 4, 5, 6));
    EXPECT_EQ(mac.fec, 1u);
}

TEST_F(VxlanReadersTest, LongAddressRunsOnInsideTheEntryOnly) {
    struct {
        prm_evpn_mac_entry entry;
        u8 guard[64];
    } guarded = {};
    std::string address = "1";
    for (int i = 2; i <= 40; ++i) {
        char part[8];
        snprintf(part, sizeof part, ":%x", static_cast<unsigned>(i));
        address += part;
    }
    EXPECT_EQ(read(prm_kiv_util_get_mac_params, address + "\n", &guarded.entry), 1);
    EXPECT_EQ(guarded.entry.reserved10, 7);
    EXPECT_EQ(guarded.entry.type, 0x0B0A0908u);
    EXPECT_EQ(guarded.entry.fec, 0x0F0E0D0Cu);
    EXPECT_THAT(guarded.guard, testing::Each(0));
    // The line's other fields come after the address.
    EXPECT_EQ(read(prm_kiv_util_get_mac_params, address + ",5,1,20\n", &guarded.entry), 1);
    EXPECT_EQ(guarded.entry.bd_id, 5u);
    EXPECT_EQ(guarded.entry.type, 1u);
    EXPECT_EQ(guarded.entry.fec, 0x20u);
    EXPECT_EQ(guarded.entry.reserved10, 7);
}

}  // namespace
