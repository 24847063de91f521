// Some thousand pseudo-random inputs through every reader of the suite: what the fuzz targets do for minutes,
// for a second in every test run. Fails by a sanitizer's report, a trap or a time-out.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/fuzz/suite/feed.h"

namespace {

// Lines put together from what the readers know, spoiled here and there.
class InputMaker {
  public:
    explicit InputMaker(uint32_t seed) : random_(seed) {}

    std::vector<uint8_t> make() {
        std::string text;
        const size_t pieces = below(120);
        for (size_t i = 0; i < pieces; ++i) text += piece();
        return std::vector<uint8_t>(text.begin(), text.end());
    }
    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(random_() % limit); }

  private:
    std::string piece() {
        static const char *const kWords[] = {"NP_PORT",
                                             "BDL_IFH",
                                             "LAG_ID",
                                             "SUB_IFH",
                                             "OVLAN",
                                             "IVLAN",
                                             "OTPID",
                                             "INTF_NAME",
                                             "MAIN_IFH",
                                             "IFH",
                                             "UIDB",
                                             "ROVLAN",
                                             "RIVLAN",
                                             "ROTPID",
                                             "BD-ID",
                                             "ING-DIS",
                                             "EGR-DIS",
                                             "MAC_MOVE_SEC_ENABLED",
                                             "MAC_MOVE_SEC_ACTION",
                                             "MAC_LEARN_ENABLE",
                                             "0x",
                                             "-1",
                                             "16",
                                             "17",
                                             "1",
                                             "99999999999999999999"};
        switch (below(10)) {
            case 0:
                return ",";
            case 1:
                return ":";
            case 2:
                return "\n";
            case 3:
                return ";";
            case 4:
            case 5:
                return kWords[below(sizeof kWords / sizeof kWords[0])];
            case 6:
                return std::to_string(random_());
            case 7:
                return below(20) == 0 ? std::string(below(1200), 'a') : "a:";
            case 8:
                return std::string(1, static_cast<char>(below(256)));
            default:
                return vplag_line();
        }
    }
    // A vplag line whose lists are sometimes as long as it says.
    std::string vplag_line() {
        const uint32_t paths = below(20);
        std::string line = "\na000001;3;" + std::to_string(paths);
        for (int list = 0; list < 2; ++list) {
            line += ";";
            const uint32_t length = below(8) == 0 ? below(60) : paths;
            for (uint32_t i = 0; i < length; ++i) line += (i ? "," : "") + std::to_string(i);
        }
        return line + "\n";
    }

    std::mt19937 random_;
};

TEST(RandomInputTest, FlashReaders) {
    InputMaker maker(1);
    for (int i = 0; i < 3000; ++i) {
        const std::vector<uint8_t> input = maker.make();
        feed_flash_readers(input.data(), input.size());
    }
}

TEST(RandomInputTest, StandardInputReaders) {
    InputMaker maker(2);
    for (int i = 0; i < 3000; ++i) {
        std::vector<uint8_t> input = maker.make();
        input.insert(input.begin(), static_cast<uint8_t>(maker.below(30)));
        feed_standard_input(input.data(), input.size());
    }
}

TEST(RandomInputTest, NoInputAtAll) {
    feed_flash_readers(nullptr, 0);
    const uint8_t all = 0xFF;
    feed_standard_input(&all, 1);
}

}  // namespace
