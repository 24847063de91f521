// A registered suite for the tests of the framework's pieces.
#ifndef TESTS_KIV_SUITE_H
#define TESTS_KIV_SUITE_H

#include <string>
#include <vector>

#include "kiv/registry.h"

namespace kiv_test {

inline int does_nothing() {
    return 0;
}

class Suite {
  public:
    Suite() { kiv_create(&context_); }
    ~Suite() { kiv_destroy(&context_); }
    Suite(const Suite &) = delete;
    Suite &operator=(const Suite &) = delete;

    kiv_folder *folder(const char *name, kiv_folder *parent = nullptr) {
        return kiv_create_test_folder(context_, parent, name, name);
    }
    void test(kiv_folder *folder, const char *name, int mode = KIV_MODE_AUTOMATIC,
              const char *description = "") {
        kiv_create_test_case(context_, folder, name, description, does_nothing, mode);
    }
    kiv_context &context() {
        context_->number_duplicates();
        return *context_;
    }
    std::vector<std::string> names(const std::vector<uint32_t> &cases) {
        std::vector<std::string> names;
        for (const uint32_t index : cases) names.push_back(context_->cases[index].selector());
        return names;
    }

  private:
    kiv_context_t context_ = nullptr;
};

}  // namespace kiv_test

#endif
