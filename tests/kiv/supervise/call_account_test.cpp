// Which failed calls of a case are accounted for.
#include "kiv/supervise/call_account.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kiv::CallAccount;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint32_t kBusy = 0xa8b89200, kArgument = 0x457c2a00;

// "2 prm_srh_bd_add 0x..." of each kind.
std::vector<std::string> unnoticed(const CallAccount &account) {
    std::vector<std::string> kinds;
    for (const kiv::FailedCalls &calls : account.failures().unnoticed)
        kinds.push_back(std::to_string(calls.count) + " " + calls.operation + " " +
                        std::to_string(calls.code));
    return kinds;
}

TEST(CallAccount, CallsAreCountedByOperationAndCode) {
    CallAccount account;
    account.failed({kBusy, "bd_add", "BUSY", "resource busy"});
    account.failed({7, "bd_add", "", ""});
    account.failed({kBusy, "bd_add", "BUSY", "resource busy"});
    account.failed({7, "bd_del", "", ""});
    EXPECT_THAT(unnoticed(account), ElementsAre("2 bd_add 2830668288", "1 bd_add 7", "1 bd_del 7"));
    EXPECT_EQ(account.failures().count, 4u);
    EXPECT_EQ(account.failures().unnoticed_count(), 4u);
    EXPECT_EQ(account.failures().unnoticed[0].code_name, "BUSY");
    EXPECT_EQ(account.failures().unnoticed[0].code_text, "resource busy");
    account.restart();
    EXPECT_EQ(account.failures().count, 0u);
    EXPECT_FALSE(account.is_open());
}

TEST(CallAccount, CheckAccountsForCallsOfItsStatusBeforeIt) {
    CallAccount account;
    account.failed({kBusy, "bd_add", "", ""});
    account.failed({7, "bd_del", "", ""});
    account.checked(kBusy);
    EXPECT_THAT(unnoticed(account), ElementsAre("1 bd_del 7"));
    account.failed({kBusy, "bd_add", "", ""});
    EXPECT_THAT(unnoticed(account), ElementsAre("1 bd_del 7", "1 bd_add 2830668288"))
        << "the check was before";
    EXPECT_EQ(account.failures().count, 3u);
}

TEST(CallAccount, LineThatTellsOfAFailureAccountsForAllBeforeIt) {
    CallAccount account;
    account.failed({kBusy, "bd_add", "", ""});
    account.failed({7, "bd_del", "", ""});
    account.failure_told();
    EXPECT_FALSE(account.is_open());
    EXPECT_EQ(account.failures().count, 2u);
    account.failed({7, "bd_del", "", ""});
    EXPECT_TRUE(account.is_open());
}

TEST(CallAccount, TextThatShowsTheCodeAccountsForItsCalls) {
    for (const char *text : {"rc = 0xa8b89200\n", "returns error a8b89200", "A8B89200", "rc 2830668288.",
                             "(-1464299008)", "called rc:0XA8B89200 twice"}) {
        CallAccount account;
        account.failed({kArgument, "other", "", ""});
        account.failed({kBusy, "bd_add", "", ""});
        account.text(text);
        EXPECT_THAT(unnoticed(account), ElementsAre("1 other 1165765120")) << text;
    }
}

TEST(CallAccount, TextBeforeTheCallSaysNothingOfIt) {
    CallAccount account;
    account.failed({7, "other", "", ""});
    account.text("rc = 0xa8b8");
    account.failed({kBusy, "bd_add", "", ""});
    account.text("9200\n");
    EXPECT_TRUE(account.is_open());
    account.text("rc = 0xa8b89200\n");
    EXPECT_THAT(unnoticed(account), ElementsAre("1 other 7"));
}

TEST(CallAccount, CodeMayComeInPieces) {
    const std::string text = "a long line, and at last the status is 0xa8b89200, which is it\n";
    for (size_t size = 1; size < text.size(); ++size) {
        CallAccount account;
        account.failed({kBusy, "bd_add", "", ""});
        for (size_t at = 0; at < text.size(); at += size) account.text(text.substr(at, size));
        EXPECT_FALSE(account.is_open()) << "in pieces of " << size;
    }
}

TEST(ShowsCode, NumbersOfOtherThingsAreNotIt) {
    for (const char *text :
         {"", "0xa8b8920", "0xa8b892000", "xa8b89200", "a8b89200h", "0xa8b89200_", "1464299008", "-"})
        EXPECT_FALSE(kiv::shows_code(text, kBusy)) << text;
}

TEST(ShowsCode, SmallCodeCountsWhereItIsCalledOne) {
    for (const char *text : {"rc = 22", "rc=0x16", "rc: 16", "Error 22", "error :16", "returns error 16",
                             "rx rc is 0x16", "status 22", "code=22", "(errno 22)", "rc 22\nrc 0"})
        EXPECT_TRUE(kiv::shows_code(text, 22)) << text;
    for (const char *text :
         {"22", "uidb 22", "22 rc", "is 22", "arc = 22", "rc = 2 22", "rc\n22", "error 122", "status 0x22"})
        EXPECT_FALSE(kiv::shows_code(text, 22)) << text;
}

TEST(CallAccount, MemoryIsBounded) {
    CallAccount account;
    for (uint32_t i = 0; i < 100'000; ++i) account.failed({0x10000 + i, "bd_add", "", ""});
    EXPECT_EQ(account.failures().count, 100'000u);
    EXPECT_EQ(account.failures().unnoticed_count(), 100'000u);
    EXPECT_EQ(account.failures().unnoticed.size(), CallAccount::kKinds + 1);
    EXPECT_EQ(account.failures().unnoticed.back().operation, "");
    for (int i = 0; i < 1000; ++i) account.text("a text without a newline ");
    account.checked(0x10000);
    account.checked(0x10000 + 99'999);
    EXPECT_EQ(account.failures().unnoticed_count(), 99'999u) << "of the others no code is known";
    account.failure_told();
    EXPECT_THAT(account.failures().unnoticed, IsEmpty());
}

}  // namespace
