// Interface names of the adjacency cases: what a slot keeps of a name, and what of its neighbour.
#include "prm_kiv_tx_adj.h"
#include "tests/standin/suite_test.h"

namespace {

class NameTest : public SuiteTest {
  protected:
    // The 60 bytes of both slots after reading; a slot's byte that nothing wrote is '.', an ending zero '0'.
    static std::string slots_after(const std::string &lines) {
        standin::flash_file("kiv_tcs_input_file", lines);
        memset(if_name, '.', sizeof if_name);
        standin::run(tc_kiv_tx_adj_add_misc);
        std::string slots(reinterpret_cast<const char *>(&if_name), sizeof if_name);
        std::replace(slots.begin(), slots.end(), '\0', '0');
        return slots;
    }
    static std::string dots(size_t count) { return std::string(count, '.'); }
};

TEST_F(NameTest, AShortNameWritesItsCharactersAndAZero) {
    EXPECT_EQ(slots_after("INTF_NAME:abc,UIDB:1\nINTF_NAME:de,UIDB:2\n"),
              "abc0" + dots(26) + "de0" + dots(27));
}

TEST_F(NameTest, ALongFirstNameIsCutToThirtyAndEndedInTheSecondSlot) {
    EXPECT_EQ(slots_after("INTF_NAME:" + std::string(40, 'x') + ",UIDB:1\n"),
              std::string(30, 'x') + "0" + dots(29));
}

TEST_F(NameTest, ALongSecondNameIsCutToTwentyNine) {
    EXPECT_EQ(slots_after("UIDB:1\nINTF_NAME:" + std::string(40, 'x') + ",UIDB:2\n"),
              dots(30) + std::string(29, 'x') + "0");
    EXPECT_EQ(slots_after("UIDB:1\nINTF_NAME:" + std::string(29, 'x') + ",UIDB:2\n"),
              dots(30) + std::string(29, 'x') + "0");
}

TEST_F(NameTest, ANameThatJustFillsASlotIsKeptWhole) {
    EXPECT_EQ(slots_after("INTF_NAME:" + std::string(30, 'x') + ",UIDB:1\nINTF_NAME:yz,UIDB:2\n"),
              std::string(30, 'x') + "yz0" + dots(27));
    EXPECT_EQ(slots_after("INTF_NAME:" + std::string(29, 'x') + ",UIDB:1\n"),
              std::string(29, 'x') + "0" + dots(30));
}

}  // namespace
