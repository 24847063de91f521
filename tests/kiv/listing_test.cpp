// What --list and its kin print.
#include "kiv/listing.h"

#include <gtest/gtest.h>

#include "tests/kiv/suite.h"

namespace {

TEST(Listing, JsonIsTextWhateverBytesTheNamesHold) {
    kiv_test::Suite suite;
    suite.test(suite.folder("f"), "a\"b\\c\n\x01\xFF");
    const kiv_context &context = suite.context();
    EXPECT_EQ(
        kiv::list_cases(context, {0}, kiv::ListKind::json),
        "[\n{\"folder\":\"f\",\"name\":\"a\\\"b\\\\c\\n\\u0001\xEF\xBF\xBD\",\"selector\":"
        "\"f/a\\\"b\\\\c\\n\\u0001\xEF\xBF\xBD\",\"description\":\"\",\"mode\":1,\"manual\":false}\n]\n");
}

}  // namespace
