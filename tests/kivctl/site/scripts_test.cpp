// Standard input: scripts that a case would misread are named with file, line and field.
#include "tests/kivctl/site/site_test.h"

namespace kivctl::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using ScriptsTest = SiteTest;

TEST_F(ScriptsTest, RecordsOfStandardInput) {
    const std::string file = "cases/prm-kiv-vxlan/tc_kiv_vxlan_ac_bind/stdin";
    put(file, "500,20\n\n501\n502,70000\n503,1,2\n");
    EXPECT_THAT(problems(),
                ElementsAre(file + ":3: uidb index: missing: 1 of 2 fields are there",
                            file + ":4: uidb index: 70000 does not fit 16 bits: it is cut to 4464",
                            file + ":5: 3 fields where 2 are read"));
    put(file, "\n");
    EXPECT_THAT(problems(), ElementsAre(file + ": no line: the case would do nothing"));
}

TEST_F(ScriptsTest, ListsOfVirtualPortLags) {
    const std::string file = "cases/prm-kiv-vxlan/tc_kiv_vxlan_vplag_add/stdin";
    put(file, "c0a80101;1;2;100500;c0a80202,c0a80303\nc0a80101;1;17;1;1\nc0a80101;1;0\n");
    EXPECT_THAT(problems(),
                ElementsAre(file + ":1: next hops: 1 where the number of paths is 2: the case aborts",
                            file + ":2: number of paths: 17 is more than 16: the case aborts"));
    std::string next_hops, vteps;
    for (int i = 0; i < 16; ++i) next_hops += "1,", vteps += "a,";
    put(file, "c0a80101;1;16;" + next_hops + ";" + vteps + "\n");
    EXPECT_THAT(problems(), IsEmpty());
    put(file,
        "c0a80101;1\nc0a80101;1;0;1;2\nc0a80101;x;1;1;1;1\nc0a80101;1;1x;1;1\nc0a80101;1;1;a;g\nc0a80101;1;"
        "1\n");
    EXPECT_THAT(
        problems(),
        ElementsAre(file + ":1: number of paths: missing: 2 of 3 fields are there",
                    file + ":2: number of paths: 0: the lists behind it are not read",
                    file + ":3: vplag: \"x\" is not a decimal number and is read as 0",
                    file + ":3: 6 fields where 5 are read",
                    file + ":4: number of paths: \"1x\" is not a decimal number: it is read up to the first "
                           "other character",
                    file + ":5: next hops: \"a\" is not a decimal number and is read as 0",
                    file + ":5: remote VTEPs: \"g\" is not a hexadecimal number and is read as 0",
                    file + ":6: next hops: 0 where the number of paths is 1: the case aborts",
                    file + ":6: remote VTEPs: 0 where the number of paths is 1: the case aborts"));
}

TEST_F(ScriptsTest, MacAddresses) {
    const std::string file = "cases/prm-kiv-vxlan/tc_kiv_evpn_mac_install/stdin";
    put(file, "00:1b:2c:3d:4e,500,0,1f\n00:1b:2c:3d:4e:1ff,500,1,1f\n");
    EXPECT_THAT(problems(),
                ElementsAre(file + ":1: MAC address: 5 bytes where 6 belong",
                            file + ":1: FEC: \"1f\" is not a decimal number: it is read up to the first "
                                   "other character",
                            file + ":2: MAC address: 1ff does not fit 8 bits: it is cut to ff"));
    put(file, "00:1b:2c:3d:4e:01:02,x,500\n00:1b:2c:3d:4e:01,500\n,\n00:1b:2c:3d:4e:01,500,1,1f,9\n");
    EXPECT_THAT(problems(),
                ElementsAre(file + ":1: MAC address: 7 bytes where 6 belong",
                            file + ":1: bridge domain: \"x\" is not a decimal number and is read as 0",
                            file + ":1: FEC: missing: 2 of 3 fields are there",
                            file + ":2: type: missing: 1 of 3 fields are there",
                            file + ":2: FEC: missing: 1 of 3 fields are there",
                            file + ":3: MAC address: 0 bytes where 6 belong",
                            file + ":3: bridge domain: missing: 0 of 3 fields are there",
                            file + ":3: type: missing: 0 of 3 fields are there",
                            file + ":3: FEC: missing: 0 of 3 fields are there",
                            file + ":4: 4 fields where 3 are read"));
}

TEST_F(ScriptsTest, TypeOneIsWhatMakesAnFecHexadecimal) {
    const std::string file = "cases/prm-kiv-vxlan/tc_kiv_evpn_mac_install/stdin";
    put(file, "00:1b:2c:3d:4e:01,500,1,1f\n00:1b:2c:3d:4e:01,500,2,1f\n");
    EXPECT_THAT(problems(),
                ElementsAre(file + ":2: FEC: \"1f\" is not a decimal number: it is read up to the first "
                                   "other character"));
}

TEST_F(ScriptsTest, WhiteSpaceAtTheEndOfALine) {
    put("cases/prm-kiv-vxlan/tc_kiv_vxlan_ac_bind/stdin", "500,20 \t\r\n  \n");
    put("cases/span/misc/prm_kiv_span_port_add_valid_but_nonexistent_session/stdin", "8000088 \n");
    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(ScriptsTest, ALineLongerThanTheBuffer) {
    const std::string records = "cases/prm-kiv-vxlan/tc_kiv_vxlan_ac_bind/stdin";
    const std::string handles = "cases/span/misc/prm_kiv_span_port_add_valid_but_nonexistent_session/stdin";
    put(records, std::string(495, '0') + ",20\n");
    put(handles, std::string(91, '0') + "8000088\n");
    EXPECT_THAT(problems(), IsEmpty()) << "498 and 98, and the newline";
    put(records, std::string(496, '0') + ",20\n");
    put(handles, std::string(92, '0') + "8000088\n");
    EXPECT_THAT(
        problems(),
        ElementsAre(records + ":1: 500 characters with the newline: 499 at most are read as one line",
                    handles + ":1: 100 characters with the newline: 99 at most are read as one line"));
}

TEST_F(ScriptsTest, SourcesOfMirrorSessions) {
    const std::string add = "cases/span/manual/prm_kiv_span_port_add/stdin";
    put(add, "2\n8000088\n0\n1\n80000c8\n7\n");
    EXPECT_THAT(problems(), ElementsAre(add + ":6: direction: 7 is not 0, 1 or 2",
                                        add + ":7: session: missing: the input ends before it"));
    put(add, "401\n");
    EXPECT_THAT(problems(), ElementsAre(add + ":1: count: 401 is not between 1 and 400: the case aborts"));
    put(add, "1\ndead\n0\n1\nx\n");
    EXPECT_THAT(problems(),
                ElementsAre(add + ":2: handle: 0xdead is neither in the inventory (card.toml) nor made by a "
                                  "case",
                            add + ":5: no reader gets here: 4 lines are read"));
    put(add, "1\n8000088\n2\n3\n");
    EXPECT_THAT(problems(), IsEmpty());
    put(add, "1\n8000088\n3\n4\n");
    EXPECT_THAT(problems(), ElementsAre(add + ":3: direction: 3 is not 0, 1 or 2",
                                        add + ":4: session: 4 is no session: 0 to 3 are"));
}

TEST_F(ScriptsTest, HandlesForMirroring) {
    const std::string four = "cases/span/session/prm_kiv_span_session_destroy_when_port_present/stdin";
    const std::string one = "cases/span/port/prm_kiv_span_port_add_invalid_session/stdin";
    const std::string counted = "cases/span/port/prm_kiv_span_port_add_delete/stdin";
    put(four, "8000088\n8000088\n");
    put(one, "8000088\n1\n");
    put(counted, "2\n8000088\n");
    EXPECT_THAT(problems(), ElementsAre(counted + ":3: handle: missing: 1 of 2 are there",
                                        one + ":2: no reader gets here: 1 line is read",
                                        four + ":3: handle: missing: 2 of 4 are there"));
    put(four, "8000088\n8000088\n8000088\n8000088\n");
    put(one, "8000088\n");
    put(counted, "");
    EXPECT_THAT(problems(), ElementsAre(counted + ": the file is empty"));
    put(counted, "0\n");
    EXPECT_THAT(problems(), ElementsAre(counted + ":1: count: 0 is not between 1 and 400: the case aborts"));
    std::string most = "400\n";
    for (int i = 0; i < 400; ++i) most += "8000088\n";
    put(counted, most);
    EXPECT_THAT(problems(), IsEmpty());
    put(counted, "1x\n8000088\n");
    EXPECT_THAT(problems(),
                ElementsAre(counted + ":1: count: \"1x\" is not a decimal number: it is read up to the first "
                                      "other character"))
        << "how much follows is not known";
}

TEST_F(ScriptsTest, OneForAllCasesOfAFolder) {
    remove("cases/span/misc/prm_kiv_span_port_add_valid_but_nonexistent_session");
    put("cases/span/misc/stdin", "8000088\n");
    EXPECT_THAT(problems(), IsEmpty()) << "as the runner finds it";
    put("cases/span/misc/stdin", "dead\n");
    EXPECT_THAT(problems(), ElementsAre("cases/span/misc/stdin:1: handle: 0xdead is neither in the inventory "
                                        "(card.toml) nor made by a case"));
}

}  // namespace
}  // namespace kivctl::test
