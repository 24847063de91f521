// Every byte that the suite sends lies in a named field of a field table: every case is run against the
// stand-in, with the default site's values and with the widest values that the readers take.
#include <fmt/core.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "card/records/registry.h"
#include "tests/standin/registration.h"
#include "tests/standin/suite_test.h"
#include "wyk_hal_records.h"

namespace {

using card::Block;
using card::FieldValue;
using standin::Bytes;
using standin::Case;
namespace fs = std::filesystem;

// Counts what was sent, and collects what no named field covers.
class Coverage {
  public:
    void record(const std::string &what, const prm_record &record, const Bytes &bytes) {
        decode_into(what, bytes, [&](card::FieldVisitor visit) { card::decode(record, bytes, visit); });
    }
    void items(const std::string &what, const prm_record &record, size_t item_size, const Bytes &bytes) {
        decode_into(what, bytes, [&](card::FieldVisitor visit) {
            card::decode_items(record, item_size, ~size_t{0}, bytes, visit, "");
        });
    }

    std::set<std::string> uncovered;
    std::set<std::string> fields;  // set by some case
    size_t bytes = 0;              // that were not 0

  private:
    template <class Decode>
    void decode_into(const std::string &what, const Bytes &block, Decode decode) {
        std::vector<bool> covered(block.size());
        const auto visit = [&](const FieldValue &value) {
            const bool raw = value.field.kind == PRM_FIELD_HEX && value.bytes.size() > 8;
            if (value.is_reserved() || raw) return;
            u64 unnamed = 0;
            if (value.field.kind == PRM_FIELD_FLAGS) {
                card::for_each_part(value.field.bits, value.number(), [&](const card::Part &part) {
                    if (part.name == nullptr) unnamed = part.value;
                });
            }
            if (unnamed != 0) uncovered.insert(fmt::format("{}.{}: bits {:#x}", what, value.path, unnamed));
            if (!value.is_zero()) fields.insert(what + "." + value.field.name);
            std::fill_n(covered.begin() + static_cast<ptrdiff_t>(value.offset), value.bytes.size(), true);
        };
        decode(card::FieldVisitor(visit));
        for (size_t i = 0; i < block.size(); ++i) {
            if (block[i] == 0) continue;
            ++bytes;
            if (!covered[i]) uncovered.insert(fmt::format("{}: byte {} of {}", what, i, block.size()));
        }
    }
};

class RecordsTest : public SuiteTest {
  protected:
    // One case with its files from the site, its values through `change`, and what the platform hands out
    // made of `pattern`.
    template <class Change>
    void run_case(const Case &each, u32 pattern, Change change) {
        SuiteTest::SetUp();
        for (const char *const name : {"kiv_input_file", "kiv_tcs_input_file"}) {
            const std::string content = site_file(each, name);
            if (!content.empty()) standin::flash_file(name, change(each, content));
        }
        standin::standard_input(change(each, site_file(each, "stdin")));
        standin::on("platform_get_my_card_type").returns(0x1E1001);
        standin::on("wyk_np_info_num_local_ports").returns(3);
        for (size_t i = 0; i < card::kOperationCount; ++i) {
            const std::string name(card::kOperations[i].name);
            standin::on(name).does([this, name, i, pattern](standin::Call &call) {
                look_at(static_cast<card::OperationId>(i), call);
                hand_out(name, call, pattern);
            });
        }
        standin::run(each.function);
    }

    // The most specific file of the default site.
    static std::string site_file(const Case &each, const std::string &name) {
        const fs::path cases_of_site = fs::path(DEFAULT_SITE) / "cases";
        std::vector<fs::path> places = {cases_of_site / each.folder->path / each.name};
        for (fs::path folder = each.folder->path; !folder.empty(); folder = folder.parent_path())
            places.push_back(cases_of_site / folder);
        if (name != "stdin") places.push_back(fs::path(DEFAULT_SITE) / "disk0");
        for (const fs::path &place : places) {
            std::ifstream file(place / name);
            if (!file) continue;
            std::ostringstream content;
            content << file.rdbuf();
            return content.str();
        }
        return "";
    }

    void look_at(card::OperationId operation, const standin::Call &call) {
        const standin::Event event = standin::log().back();
        const std::string what = event.name;
        if (const card::HalLayout hal =
                card::hal_layout(operation, call.arguments.empty() ? 0 : static_cast<u32>(call.arguments[0]));
            hal.request != nullptr) {
            const bool typed = operation == card::OperationId::wyk_hal_wrapper_engine_op;
            const size_t request = typed ? 1 : 0;
            const u32 type = typed ? static_cast<u32>(call.arguments[0]) : 0;
            const u32 policies = operation == card::OperationId::wyk_hal_wrapper_config_policy_in_tm
                                     ? static_cast<u32>(call.arguments[2])
                                     : 0;
            const void *const block = call.pointer<void>(request);
            if (block == nullptr) return;
            // A block of the heap is known whole, one on the stack by what the call tells.
            Bytes bytes = event.arguments[request].bytes;
            if (bytes.empty()) {
                const u8 *const begin = static_cast<const u8 *>(block);
                bytes.assign(begin, begin + card::hal_sizes(operation, type, policies, block).request);
            }
            ++calls_;
            coverage_.record(typed ? fmt::format("{}({})", what, type) : what, *hal.request, bytes);
            return;
        }
        const prm_record *const record = card::record_layout(operation).before;
        if (record == nullptr || (event.arguments.size() > 1 && event.arguments[1].number == 0)) return;
        ++calls_;
        const Bytes &bytes = event.record();
        coverage_.record(what, *record, bytes);
        size_t key = 0;
        for (const card::Buffer &buffer : card::buffers(*record, bytes, card::reads_back(operation))) {
            const Bytes &keys = event.keys.at(key++);
            if (!keys.empty())
                coverage_.items(fmt::format("{}.{}", what, buffer.field->name), *buffer.record,
                                buffer.item_size, keys);
        }
    }

    static void hand_out(const std::string &name, standin::Call &call, u32 pattern) {
        if (call.arguments.size() > 1 && call.arguments[1] == 0) return;  // a request without its record
        if (name == "prm_stats_cl_alloc") {
            call.put<u32>(5, 0, pattern);
        } else if (name.ends_with("_reserve")) {
            call.put<u32>(1, 16, pattern);
        } else if (name.ends_with("vmr_create")) {
            call.put<u64>(1, 288, u64{pattern} << 16 | pattern);
        } else if (name.ends_with("vmr_stats_alloc")) {
            call.put<u32>(1, 324, pattern);
        } else if (name.ends_with("lpts_add")) {
            for (size_t i = 0; i < 5; ++i) call.put<u32>(1, 68 + 4 * i, pattern);
        } else if (name == "wyk_hal_wrapper_config_policy_in_tm") {
            const u32 policies = static_cast<u32>(call.arguments[2]);
            const card::HalSizes sizes = card::hal_sizes(
                card::OperationId::wyk_hal_wrapper_config_policy_in_tm, 0, policies, call.pointer<void>(0));
            for (size_t i = sizeof(wyk_hal_policy_response); i + 4 <= sizes.response; i += 4)
                call.put<u32>(1, i, pattern);
        }
    }

    // Of the suite's own main.
    const std::deque<Case> &cases_ = standin::register_suite().cases;
    Coverage coverage_;
    size_t calls_ = 0;
};

TEST_F(RecordsTest, EveryByteThatTheSuiteSendsWithTheDefaultSiteLiesInANamedField) {
    ASSERT_EQ(cases_.size(), 240u);
    for (const Case &each : cases_)
        run_case(each, 0x01020304, [](const Case &, std::string content) { return content; });
    EXPECT_THAT(coverage_.uncovered, testing::IsEmpty());
    EXPECT_GT(calls_, 800u);
    EXPECT_GT(coverage_.fields.size(), 200u) << "too little was sent for this to prove anything";
}

TEST_F(RecordsTest, EveryByteThatTheWidestValuesReachLiesInANamedField) {
    const std::regex hexadecimal("(IFH|TPID):[0-9a-fA-F]+"), number(":[0-9]+"), word("[0-9a-fA-F]+");
    for (const Case &each : cases_) {
        run_case(each, 0xFEDCBA98, [&](const Case &running, std::string content) {
            // How often the mirroring cases repeat is a value as well: theirs stay.
            if (running.folder->path.starts_with("span")) return content;
            if (running.folder->path == "prm-kiv-vxlan")
                return std::regex_replace(content, word, "4294967295");
            content = std::regex_replace(content, hexadecimal, "$1:ffffffff");
            return std::regex_replace(content, number, ":4294967295");
        });
    }
    EXPECT_THAT(coverage_.uncovered, testing::IsEmpty());
    EXPECT_GT(coverage_.fields.size(), 200u);
}

// The check itself: a byte outside the named fields, and a bit without a name, are told.
TEST_F(RecordsTest, AByteOrABitWithoutANameIsTold) {
    Bytes adjacency(2124);
    adjacency[1] = 1;
    coverage_.record("adjacency", *card::find_record("prm_tx_adj"), adjacency);
    EXPECT_THAT(coverage_.uncovered, testing::ElementsAre("adjacency: byte 1 of 2124"));
    coverage_.uncovered.clear();
    adjacency[1] = 0;
    adjacency[72] = 0x91;
    coverage_.record("adjacency", *card::find_record("prm_tx_adj"), adjacency);
    EXPECT_THAT(coverage_.uncovered, testing::ElementsAre("adjacency.adj_flags0: bits 0x81"));
}

}  // namespace
