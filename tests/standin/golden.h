// Texts that were reviewed and are compared to the byte.
#ifndef TESTS_STANDIN_GOLDEN_H
#define TESTS_STANDIN_GOLDEN_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

// Compares with the file at `path`; with KIV_UPDATE_GOLDEN set the file is written anew first, for a review
// of what git then shows.
inline void expect_golden_file(const std::string &path, const std::string &content) {
    if (std::getenv("KIV_UPDATE_GOLDEN") != nullptr) std::ofstream(path, std::ios::binary) << content;
    std::ifstream file(path, std::ios::binary);
    ASSERT_TRUE(file) << path;
    std::ostringstream golden;
    golden << file.rdbuf();
    EXPECT_EQ(content, golden.str()) << path;
}

#endif
