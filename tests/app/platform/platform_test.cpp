// The suite on shared libraries of a platform: opened at run time, and as an image that records its calls.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/kiv/process.h"
#include "tests/kiv/temporary.h"
#include "trace/reader.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class PlatformTest : public testing::Test {
  protected:
    // The output; the status is in status_.
    std::string run(const std::string &program, const std::string &arguments) {
        const std::string command = "SIM_PLATFORM_CARD=" SITE "/card.toml " + program +
                                    " --site " SITE " --out " + directory_.file("out") + " " + arguments +
                                    " >" + directory_.file("shown") + " 2>&1";
        status_ = WEXITSTATUS(std::system(command.c_str()));
        return kiv_test::read_text(directory_.file("shown"));
    }
    size_t calls_in(const std::string &path) {
        trace::Reader reader;
        std::string error;
        EXPECT_TRUE(reader.open(path, &error)) << error;
        size_t calls = 0;
        for (trace::Event event; reader.next(&event);) calls += event.is_call && event.call.returned;
        EXPECT_EQ(reader.problem(), "");
        return calls;
    }

    kiv_test::TemporaryDirectory directory_;
    int status_ = 0;
};

TEST_F(PlatformTest, LibraryThatIsOpenedAnswersTheWholePlan) {
    const std::string out = run(PRM_KIV, "-q --card lib:" PLATFORM);
    EXPECT_THAT(out, HasSubstr("PASSED: 240 cases, 222 passed, 18 unchecked"));
}

TEST_F(PlatformTest, OperationsThatALibraryLacksAreAllNamed) {
    const std::string source = directory_.write("less.c", "int prm_srh_bd_add(void) { return 0; }\n");
    const std::string library = directory_.file("libless.so");
    ASSERT_EQ(std::system(("cc -shared -fPIC -o " + library + " " + source).c_str()), 0);
    const std::string out = run(PRM_KIV, "--card lib:" + library);
    EXPECT_EQ(status_, 2);
    EXPECT_THAT(out,
                HasSubstr("operations that are not there: event_manager_create, event_manager_destroy, "));
    EXPECT_THAT(out, HasSubstr("cerr_strerror"));
    EXPECT_THAT(out, Not(HasSubstr("prm_srh_bd_add,")));
    // Another one may have what the first lacks.
    EXPECT_THAT(run(PRM_KIV, "prm-kiv-l2 --card lib:" PLATFORM "," + library), HasSubstr("PASSED: "));
}

TEST_F(PlatformTest, LibraryThatIsNotThereIsNamed) {
    EXPECT_THAT(run(PRM_KIV, "--card lib:/nowhere/lib.so"),
                HasSubstr("--card lib:/nowhere/lib.so: /nowhere/lib.so: "));
    EXPECT_EQ(status_, 2);
    EXPECT_THAT(run(PRM_KIV, "--card lib:"), HasSubstr("no library is named"));
}

TEST_F(PlatformTest, ImageRecordsWhatItsLibrariesAreAsked) {
    const std::string file = directory_.file("run.pcap");
    const std::string out = run(IMAGE, "-q --trace " + file);
    EXPECT_THAT(out, HasSubstr("PASSED: 240 cases, 222 passed, 18 unchecked"));
    const size_t on_image = calls_in(file);
    EXPECT_GT(on_image, 500u);
    run(PRM_KIV, "-q --trace " + file);
    EXPECT_EQ(calls_in(file), on_image);
}

TEST_F(PlatformTest, ImageAccountsForCallsThatFail) {
    EXPECT_THAT(run(IMAGE, "--json - prm-kiv-bvi/tc_kiv_bvi_cleanup"), HasSubstr("\"FailedCalls\":"));
}

}  // namespace
