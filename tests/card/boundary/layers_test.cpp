// Backends in front of the one that answers: their order, and taking them away.
#include "card/boundary/layers.h"

#include <gtest/gtest.h>

#include <string>

#include "card/codes.h"

namespace {

std::string passed;
const card::Backend *behind_faults, *behind_recording;

const card::Backend &faults(const card::Backend &behind) {
    behind_faults = &behind;
    static card::Backend layer;
    layer = card::kNothingSupported;
    layer.prm_mgr_close = [](prm_handle_t connection) {
        passed += "faults ";
        return behind_faults->prm_mgr_close(connection);
    };
    return layer;
}

const card::Backend &recording(const card::Backend &behind) {
    behind_recording = &behind;
    static card::Backend layer;
    layer = card::kNothingSupported;
    layer.prm_mgr_close = [](prm_handle_t connection) {
        passed += "recording ";
        return behind_recording->prm_mgr_close(connection);
    };
    return layer;
}

class Layers : public testing::Test {
  protected:
    void SetUp() override {
        passed.clear();
        answering_.prm_mgr_close = [](prm_handle_t) -> prm_status_t {
            passed += "card";
            return CERR_SUCCESS;
        };
    }
    void TearDown() override {
        card::put_in_front(card::Layer::FAULTS, nullptr);
        card::put_in_front(card::Layer::RECORDING, nullptr);
    }

    card::Backend answering_ = card::kNothingSupported;
};

TEST_F(Layers, WithoutAnyTheCardAnswersItself) {
    EXPECT_EQ(&card::with_layers(answering_), &answering_);
}

TEST_F(Layers, TheRecordingSeesWhatTheSuiteSeesWhateverWasPutFirst) {
    card::put_in_front(card::Layer::RECORDING, recording);
    card::put_in_front(card::Layer::FAULTS, faults);
    EXPECT_EQ(card::with_layers(answering_).prm_mgr_close({}), CERR_SUCCESS);
    EXPECT_EQ(passed, "recording faults card");
}

TEST_F(Layers, OneThatIsTakenAwayIsNotAsked) {
    card::put_in_front(card::Layer::RECORDING, recording);
    card::put_in_front(card::Layer::FAULTS, faults);
    card::put_in_front(card::Layer::FAULTS, nullptr);
    card::with_layers(answering_).prm_mgr_close({});
    EXPECT_EQ(passed, "recording card");
}

}  // namespace
