// The cases for GoogleTest.
#include <gtest/gtest.h>

#include <string>

#define BENCH_CHECK(status) EXPECT_EQ(status, 0u)
#include "bench/kiv/cases.h"

#ifdef BENCH_240
#define CASE(n)             \
    TEST(bench, case_##n) { \
        bench::trivial();   \
    }
BENCH_EACH_OF_240(CASE)
#else
class Case : public testing::Test {
  public:
    explicit Case(void (*function)()) : function_(function) {}
    void TestBody() override { function_(); }

  private:
    void (*function_)();
};

static void register_cases() {
    const bench::Load load = bench::load();
    for (int i = 0; i < load.count; ++i) {
        void (*const function)() = load.at(i);
        testing::RegisterTest("bench", ("case_" + std::to_string(i)).c_str(), nullptr, nullptr, __FILE__,
                              __LINE__, [function]() -> Case * { return new Case(function); });
    }
}
#endif

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
#ifndef BENCH_240
    register_cases();
#endif
    return RUN_ALL_TESTS();
}
