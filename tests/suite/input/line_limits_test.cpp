// How far each reader of the input files reads: the lines past its last are left alone, and numbers have as
// many digits as they like.
#include "prm_kiv_bvi.h"
#include "prm_kiv_vpls.h"
#include "tests/suite/input/reader_test.h"

namespace {

using standin::flash_file;
using standin::printed;
using standin::run;
using standin::transcript;
using testing::ElementsAre;

class LineLimitsTest : public ReaderTest {};

// --- The lines that a reader leaves alone ---

TEST_F(LineLimitsTest, NpPortReaderReadsTwoLines) {
    flash_file(kInput, "NP_PORT:11\nNP_PORT:12\nNP_PORT:13\n");
    read(kiv_util_read_np_ports);
    EXPECT_THAT(port.number, ElementsAre(11, 12));
    EXPECT_STREQ(token_port, "12\n");
}

TEST_F(LineLimitsTest, BundleReaderReadsOneLine) {
    flash_file(kTcsInput, "BDL_IFH:1c0,LAG_ID:11\nBDL_IFH:1d0,LAG_ID:12\n");
    read(kiv_util_read_bdl_params);
    EXPECT_EQ(bdl_ifh, 0x1C0u);
    EXPECT_EQ(lag_id, 11);
}

TEST_F(LineLimitsTest, BundleSubInterfaceReaderReadsTwoLines) {
    flash_file(kTcsInput, "SUB_IFH:10,OTPID:8100\nSUB_IFH:11,OTPID:9100\nSUB_IFH:12,OTPID:9200\n");
    read(kiv_util_read_bdl_subif_params);
    EXPECT_THAT(create_ifh, ElementsAre(0x10u, 0x11u, 0u, 0u));
    EXPECT_EQ(printed(), "otpid = 33024\notpid = 37120\n");
}

TEST_F(LineLimitsTest, MainInterfaceReaderReadsTwoLines) {
    flash_file(kInput, "NP_PORT:11\nNP_PORT:12\nNP_PORT:13\n");
    read_subifs(1);
    EXPECT_THAT(port.byte, ElementsAre(11, 12, 0, 0));
    EXPECT_EQ(printed(), " token = NP_PORT, value = 11\n\n token = NP_PORT, value = 12\n\n");
}

TEST_F(LineLimitsTest, SubInterfaceReaderReadsFourLines) {
    flash_file(kTcsInput, "OVLAN:10\nOVLAN:11\nOVLAN:12\nOVLAN:13\nOVLAN:14\n");
    read_subifs(0);
    EXPECT_THAT(ovlan.word, ElementsAre(10u, 11u, 12u, 13u));
    EXPECT_STREQ(token_ovlan, "13\n");
}

TEST_F(LineLimitsTest, CrossConnectReadersReadTwoLines) {
    for (auto reader :
         {kiv_util_read_xconnect_uidbs, kiv_util_read_xconnect_subifs, kiv_util_read_xconnect_rewrites}) {
        SetUp();
        flash_file(kTcsInput, "UIDB:10\nUIDB:11\nUIDB:12\n");
        read(reader);
        EXPECT_THAT(uidb, ElementsAre(10u, 11u));
        EXPECT_STREQ(token_uidb, "11\n");
    }
}

TEST_F(LineLimitsTest, BviReaderReadsOneLine) {
    flash_file(kTcsInput, "IFH:10,UIDB:10\nIFH:11,UIDB:11\n");
    run([] { return static_cast<int>(kiv_util_read_bvi_input()); });
    EXPECT_EQ(ifh[0], 0x10u);
    EXPECT_EQ(uidb[0], 10u);
}

TEST_F(LineLimitsTest, AdjacencyReaderReadsTwoLines) {
    flash_file(kTcsInput, "UIDB:10\nUIDB:11\nUIDB:12\n");
    run(tc_kiv_tx_adj_add_misc);
    EXPECT_EQ(transcript().front(), "stdout \"uidb = 10\\nuidb = 11\\n\"");
}

// --- What a field leaves behind ---

TEST_F(LineLimitsTest, InterfaceNameIsTheTextOfItsFieldAlone) {
    flash_file(kInput, "INTF_NAME:Gi0,NP_PORT:1\nINTF_NAME:Gi1,NP_PORT:2,MAIN_IFH:3\n");
    read_subifs(1);
    EXPECT_STREQ(intf_name, "Gi1");
}

// Ten in decimal is another number in every other base.
TEST_F(LineLimitsTest, DecimalFieldsAreDecimal) {
    flash_file(kInput, "NP_PORT:10\nNP_PORT:10\n");
    read(kiv_util_read_np_ports);
    EXPECT_THAT(port.number, ElementsAre(10, 10));
    read_subifs(1);
    EXPECT_THAT(port.byte, ElementsAre(10, 10, 10, 0));  // the second element stays

    flash_file(kTcsInput, "LAG_ID:10\n");
    read(kiv_util_read_bdl_params);
    EXPECT_EQ(lag_id, 10);
    flash_file(kTcsInput, "OVLAN:10,IVLAN:10,LAG_ID:10\n");
    read(kiv_util_read_bdl_subif_params);
    EXPECT_EQ(ovlan.word[0], 10u);
    EXPECT_EQ(ivlan.word[0], 10u);
    EXPECT_EQ(sub_lag_id[0], 10);

    flash_file(kTcsInput, "UIDB:10,OVLAN:10,IVLAN:10,ROVLAN:10,RIVLAN:10\n");
    read(kiv_util_read_xconnect_rewrites);
    EXPECT_EQ(uidb[0], 10u);
    EXPECT_EQ(ovlan.slot[0], 10);
    EXPECT_EQ(ivlan.slot[0], 10);
    EXPECT_EQ(rovlan[0], 10);
    EXPECT_EQ(rivlan[0], 10);

    flash_file(kTcsInput, "UIDB:10,NP_PORT:10\n");
    run(tc_kiv_tx_adj_add_misc);
    EXPECT_EQ(uidb[0], 10u);
    EXPECT_EQ(np_port[0], 10u);

    flash_file(kTcsInput,
               "UIDB:10,BD-ID:10,ING-DIS:10,EGR-DIS:10,MAC_MOVE_SEC_ENABLED:10,MAC_MOVE_SEC_ACTION:10,"
               "MAC_LEARN_ENABLE:10\n");
    uidb[0] = 0;
    read(kiv_util_read_bd_params);
    for (u32 number :
         {uidb[0], bd_id, ing_dis, egr_dis, mac_move_sec_enabled, mac_move_sec_action, mac_learn_enable})
        EXPECT_EQ(number, 10u);
    bd_id = mac_learn_enable = 1;
    ing_dis = egr_dis = mac_move_sec_enabled = mac_move_sec_action = stp_state_changed = 0;
}

TEST_F(LineLimitsTest, HexadecimalFieldsAreHexadecimal) {
    flash_file(kInput, "MAIN_IFH:10\n");
    flash_file(kTcsInput, "SUB_IFH:10,OTPID:10,BDL_IFH:10\n");
    read_subifs(1);
    EXPECT_EQ(parent_ifh[0], 0x10u);
    EXPECT_EQ(create_ifh[0], 0x10u);
    EXPECT_EQ(otpid.word[0], 0x10u);
    parent_ifh[0] = create_ifh[0] = otpid.word[0] = 0;
    read(kiv_util_read_bdl_subif_params);
    EXPECT_EQ(parent_ifh[0], 0x10u);
    EXPECT_EQ(create_ifh[0], 0x10u);
    EXPECT_EQ(otpid.word[0], 0x10u);

    flash_file(kTcsInput, "BDL_IFH:10\n");
    read(kiv_util_read_bdl_params);
    EXPECT_EQ(bdl_ifh, 0x10u);

    flash_file(kTcsInput, "IFH:10,OTPID:10,ROTPID:10\n");
    read(kiv_util_read_xconnect_rewrites);
    EXPECT_EQ(ifh[0], 0x10u);
    EXPECT_EQ(otpid.slot[0], 0x10);
    EXPECT_EQ(rotpid[0], 0x10);

    flash_file(kTcsInput, "IFH:11\n");
    read(kiv_util_read_bd_params);
    EXPECT_EQ(ifh[0], 0x11u);
    flash_file(kTcsInput, "IFH:12\n");
    run([] { return static_cast<int>(kiv_util_read_bvi_input()); });
    EXPECT_EQ(ifh[0], 0x12u);
    flash_file(kTcsInput, "IFH:13\n");
    run(tc_kiv_tx_adj_add_misc);
    EXPECT_EQ(ifh[0], 0x13u);
}

}  // namespace
