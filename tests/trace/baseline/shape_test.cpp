// Calls by shape: two sites whose names, handles, indices, VLANs and ports are others make the same ones.
#include "trace/shape.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "trace/baseline.h"

namespace trace {
namespace {

namespace fs = std::filesystem;

// The calls of a site, by folder.
std::map<std::string, std::vector<std::string>> calls_of(const std::string &site) {
    std::map<std::string, std::vector<std::string>> calls;
    const std::string top = SOURCES "/site/" + site + "/baseline";
    for (const auto &entry : fs::recursive_directory_iterator(top)) {
        if (!entry.is_regular_file()) continue;
        Baseline baseline;
        bool exists = false;
        std::string error;
        EXPECT_TRUE(baseline.read_file(entry.path().string(), &exists, &error)) << error;
        for (const BaselineSection &section : baseline.sections())
            for (const std::string_view call : section.calls)
                calls[fs::relative(entry.path(), top).string()].emplace_back(call);
    }
    return calls;
}

TEST(Shape, IsTheSameOnTwoSites) {
    const auto here = calls_of("sim"), there = calls_of("lab");
    ASSERT_EQ(here.size(), 18u);
    ASSERT_EQ(there.size(), here.size());
    size_t differ = 0;
    for (const auto &[folder, calls] : here) {
        const auto &others = there.at(folder);
        ASSERT_EQ(calls.size(), others.size()) << folder;
        for (size_t i = 0; i < calls.size(); ++i) {
            differ += calls[i] != others[i];
            EXPECT_EQ(shape_of(calls[i]), shape_of(others[i])) << folder;
        }
    }
    EXPECT_GT(differ, 300u);
}

// The values that a call has in the fields of a row.
std::vector<std::string> values_of(const std::string &line, const SiteField &row) {
    CallLine call, dropped;
    EXPECT_TRUE(read_call_line(line, &call));
    std::vector<std::string> values;
    for (const LineField &field : call.fields) {
        const std::string_view path = field.path;
        if (!path.substr(path.find_last_of(". ") + 1).starts_with(row.name)) continue;
        const std::string beside = field.path.substr(0, path.rfind('.') + 1) + "feature_id";
        bool fits = row.feature.empty();
        for (const LineField &other : call.fields) fits |= other.path == beside && other.value == row.feature;
        if (fits) values.emplace_back(field.value);
    }
    return values;
}

TEST(Shape, LeavesOutNothingThatIsTheSameEverywhere) {
    const auto here = calls_of("sim"), there = calls_of("lab");
    for (const SiteField &row : site_fields()) {
        bool differs = false;
        for (const auto &[folder, calls] : here)
            for (size_t i = 0; i < calls.size() && !differs; ++i)
                differs = values_of(calls[i], row) != values_of(there.at(folder)[i], row);
        EXPECT_TRUE(differs) << row.name << " of " << row.feature;
    }
}

TEST(Shape, KeepsWhatASiteDoesNotChoose) {
    const std::string set =
        "uidb_set_feature(0, {if_handle 0x10, features[0].feature_id ip_mtu, features[0].value ";
    EXPECT_NE(shape_of(set + "1}) = 0"), shape_of(set + "2}) = 0"));
    EXPECT_NE(shape_of(set + "1}) = 0"), shape_of(set + "1}) = CARD_ERROR_TABLE_FULL"));
    const std::string vlan =
        "uidb_set_feature(0, {if_handle 0x10, features[0].feature_id outer_vlan, features[0].value ";
    EXPECT_EQ(shape_of(vlan + "1}) = 0"), shape_of(vlan + "2}) = 0"));
    EXPECT_EQ(shape_of("not a call"), "not a call");
}

}  // namespace
}  // namespace trace
