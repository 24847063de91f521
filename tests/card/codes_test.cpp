// Codes, their names and texts.
#include "card/codes.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

namespace card {
namespace {

TEST(CodesTest, NumbersAndTextsAreUnique) {
    std::map<u32, std::string> codes;
    std::set<std::string> texts;
#define CODE(name, number, text)                                \
    EXPECT_TRUE(codes.emplace(CARD_ERROR_##name, text).second); \
    EXPECT_TRUE(texts.insert(text).second) << text;
#include "card/codes.def"
    for (const auto &[code, text] : codes) {
        EXPECT_EQ(code_text(code), text);
        EXPECT_EQ(code & 0x1FF, 0u);
    }
}

TEST(CodesTest, RequiredCodesHaveTextsAndUnknownOnesAFixedOne) {
    EXPECT_STREQ(code_text(CERR_SUCCESS), "success");
    EXPECT_STREQ(code_text(PRM_ERROR_INVALID_ARG), "invalid argument");
    EXPECT_STREQ(code_text(PRM_ERROR_INVALID_MSG), "invalid message");
    EXPECT_STREQ(code_text(PRM_ERROR_BCM_E_BUSY), "operation still running or resource busy");
    EXPECT_STREQ(code_text(PRM_ERROR_BCM_E_BADID), "identifier out of range");
    EXPECT_STREQ(code_text(PRM_ERROR_BCM_E_PORT), "invalid port");
    EXPECT_STREQ(code_text(0xDEADBEEF), "unknown code");
    EXPECT_EQ(code_text(0xDEADBEEF), code_text(0x12345678));
    EXPECT_STREQ(code_name(PRM_ERROR_BCM_E_PORT), "PRM_ERROR_BCM_E_PORT");
    EXPECT_EQ(code_name(0xDEADBEEF), nullptr);
}

}  // namespace
}  // namespace card
