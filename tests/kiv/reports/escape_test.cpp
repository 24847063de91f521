// Escaping, UTF-8 and base64.
#include "kiv/reports/escape.h"

#include <gtest/gtest.h>

#include "tests/kiv/reports/report_test.h"

namespace kiv::reports {
namespace {

using kiv::test::appended;

TEST(Utf8, KnowsWellFormedSequences) {
    EXPECT_EQ(utf8_length("a"), 1u);
    EXPECT_EQ(utf8_length("\xC3\xA9x"), 2u);
    EXPECT_EQ(utf8_length("\xE2\x82\xAC"), 3u);
    EXPECT_EQ(utf8_length("\xF0\x9F\x99\x82"), 4u);
    EXPECT_EQ(utf8_length("\xC3"), 0u);
    EXPECT_EQ(utf8_length("\xC0\x80"), 0u) << "overlong";
    EXPECT_EQ(utf8_length("\xED\xA0\x80"), 0u) << "surrogate";
    EXPECT_EQ(utf8_length("\xF4\x90\x80\x80"), 0u) << "beyond U+10FFFF";
    EXPECT_EQ(utf8_length("\x80"), 0u);
    EXPECT_EQ(utf8_length(""), 0u);
    EXPECT_EQ(utf8_length("\xC2\x80"), 2u) << "the first of two bytes";
    EXPECT_EQ(utf8_length("\xDF\xBF"), 2u) << "the last";
    EXPECT_EQ(utf8_length("\xC1\xBF"), 0u);
    EXPECT_EQ(utf8_length("\xE0\xA0\x80"), 3u) << "the first of three";
    EXPECT_EQ(utf8_length("\xE0\x9F\xBF"), 0u) << "overlong";
    EXPECT_EQ(utf8_length("\xED\x9F\xBF"), 3u) << "before the surrogates";
    EXPECT_EQ(utf8_length("\xEE\x80\x80"), 3u) << "behind them";
    EXPECT_EQ(utf8_length("\xEF\xBF\xBD"), 3u);
    EXPECT_EQ(utf8_length("\xF0\x90\x80\x80"), 4u) << "the first of four";
    EXPECT_EQ(utf8_length("\xF0\x8F\xBF\xBF"), 0u) << "overlong";
    EXPECT_EQ(utf8_length("\xF4\x8F\xBF\xBF"), 4u) << "the last there is";
    EXPECT_EQ(utf8_length("\xF5\x80\x80\x80"), 0u);
    EXPECT_EQ(utf8_length("\xE2\x82q"), 0u);
    EXPECT_EQ(utf8_length("\xF0\x9F\x99q"), 0u);
    EXPECT_EQ(utf8_length("\xF0\x9Fq\x82"), 0u);
}

TEST(Utf8, LooksNoFurtherThanTheText) {
    const std::string_view euro = "\xE2\x82\xAC", smile = "\xF0\x9F\x99\x82", e_acute = "\xC3\xA9";
    EXPECT_EQ(utf8_length(e_acute.substr(0, 1)), 0u);
    EXPECT_EQ(utf8_length(euro.substr(0, 1)), 0u);
    EXPECT_EQ(utf8_length(euro.substr(0, 2)), 0u);
    EXPECT_EQ(utf8_length(smile.substr(0, 3)), 0u);
    EXPECT_TRUE(is_utf8("a\xE2\x82\xACz"));
    EXPECT_FALSE(is_utf8("a\xE2\x82"));
    EXPECT_TRUE(is_utf8(""));
}

TEST(Xml, EscapesWhatItMustAndReplacesWhatItCannotCarry) {
    const char bytes[] = "a<b>&\"c\x01\xFF\xC3\xA9\xEF\xBF\xBF\r\n\t\0z";
    const std::string_view text(bytes, sizeof bytes - 1);
    EXPECT_EQ(appended([&](std::string &to) { append_xml(to, text); }),
              "a&lt;b&gt;&amp;\"c\xEF\xBF\xBD\xEF\xBF\xBD\xC3\xA9\xEF\xBF\xBD&#13;\n\t\xEF\xBF\xBDz");
    EXPECT_EQ(appended([&](std::string &to) { append_xml_attribute(to, "\"\n\t"); }), "&quot;&#10;&#9;");
}

TEST(Json, EscapesControlsAndMarkupInPages) {
    EXPECT_EQ(appended([](std::string &to) { append_json(to, "\"\\\n\x01\x7f<\xFE"); }),
              "\\\"\\\\\\n\\u0001\\u007f<\xEF\xBF\xBD");
    EXPECT_EQ(appended([](std::string &to) { append_json(to, "</script>&", true); }),
              "\\u003c/script\\u003e\\u0026");
}

TEST(Base64, GoesThereAndBack) {
    std::string bytes;
    for (int length = 0; length < 20; ++length) {
        std::string back;
        EXPECT_TRUE(from_base64(base64(bytes), &back));
        EXPECT_EQ(back, bytes);
        bytes += static_cast<char>(length * 37 + 200);
    }
    EXPECT_EQ(base64("any carnal"), "YW55IGNhcm5hbA==");
    for (const char *const bad : {"a", "ab=c", "a===", "ab==abcd", "ab*d"})
        EXPECT_FALSE(from_base64(bad, &bytes));
}

}  // namespace
}  // namespace kiv::reports
