// The dissector against kivctl itself: what Wireshark shows of every field of every operation is what
// kivctl trace show --json has.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>
#include <pugixml.hpp>
#include <random>
#include <sstream>

#include "card/records/registry.h"
#include "tests/kivctl/run.h"
#include "tests/kivctl/trace/sample_trace.h"

namespace kivctl::test {
namespace {

using Fields = std::map<std::string, std::string>;

struct DissectedCall {
    std::vector<uint64_t> arguments;
    Fields in, out;
};

// Calls of every operation with bytes of all kinds; of its records every alternative is chosen once.
class AllOperations {
  public:
    explicit AllOperations(SampleTrace &trace) : trace_(trace) {}

    void call_all() {
        for (size_t i = 0; i < card::kOperationCount; ++i) {
            const auto id = static_cast<card::OperationId>(i);
            const std::vector<Choice> choices = choices_of(id);
            for (const Choice &choice : choices) call(id, choice, 0);
            call(id, choices.front(), 0x5ca25800);
        }
    }

  private:
    // What a selector of the record is set to; `hal_type` is that of the operation that takes one.
    struct Choice {
        prm_selector selector;
        uint64_t value = 0;
        uint64_t hal_type = 0;
    };

    static void add_choices(prm_list<prm_field> fields, std::vector<Choice> *found) {
        for (const prm_field &field : fields) {
            for (const prm_choice &choice : field.choices) {
                found->push_back({field.selector, choice.value, 0});
                add_choices(choice.fields, found);
            }
            for (const prm_buffer_choice &choice : field.items)
                found->push_back({field.selector, choice.value, 0});
        }
    }

    static std::vector<Choice> choices_of(card::OperationId id) {
        std::vector<Choice> found{{}, {}};
        if (const prm_record *const record = card::record_layout(id).before; record != nullptr)
            add_choices(record->fields, &found);
        if (id == card::OperationId::wyk_hal_wrapper_engine_op)
            for (uint64_t type = 0; type < 16; ++type) found.push_back({{}, 0, type});
        return found;
    }

    void fill(std::vector<uint8_t> *bytes) {
        // Small numbers, zeros and anything: names, flags and reserved areas are met.
        for (uint8_t &byte : *bytes)
            byte = static_cast<uint8_t>(random_() % 3 == 0   ? 0
                                        : random_() % 2 == 0 ? random_() % 8
                                                             : random_());
    }

    static void set(std::vector<uint8_t> *bytes, const prm_selector &selector, uint64_t value) {
        if (selector.name != nullptr) std::memcpy(bytes->data() + selector.offset, &value, selector.width);
    }

    // Buffers of a record are real memory with few items.
    void prepare(const prm_record &record, const Choice &choice, std::vector<uint8_t> *bytes) {
        set(bytes, choice.selector, choice.value);
        set(bytes, record.items.count, 2);
        for (const prm_field &field : record.fields) {
            if (field.kind != PRM_FIELD_BUFFER) continue;
            const auto address = reinterpret_cast<uint64_t>(buffer_.data());
            std::memcpy(bytes->data() + field.offset, &address, sizeof address);
            set(bytes, field.used, 2);
            set(bytes, field.item_size, item_size_of(field, *bytes));
        }
    }

    static uint64_t item_size_of(const prm_field &field, const std::vector<uint8_t> &bytes) {
        uint64_t selected = 0;
        if (field.selector.name != nullptr)
            std::memcpy(&selected, bytes.data() + field.selector.offset, field.selector.width);
        for (const prm_buffer_choice &choice : field.items)
            if (choice.record != nullptr && (choice.otherwise || choice.value == selected))
                return choice.record->size;
        return 8;
    }

    void call(card::OperationId id, const Choice &choice, uint32_t status) {
        const card::OperationRow &row = card::row(id);
        std::vector<std::vector<uint8_t>> blocks(row.parameters.size(), std::vector<uint8_t>(kRoom));
        std::vector<uint64_t> arguments;
        fill(&buffer_);
        for (size_t p = 0; p < row.parameters.size(); ++p) {
            if (!row.parameters[p].is_pointer()) {
                const bool is_type = id == card::OperationId::wyk_hal_wrapper_engine_op && p == 0;
                const bool is_count =
                    row.parameters[p].name == "count" || row.parameters[p].name == "policies";
                arguments.push_back(is_type ? choice.hal_type : is_count ? 2 : random_() % 1000);
                continue;
            }
            fill(&blocks[p]);
            if (row.parameters[p].type.starts_with("const char")) blocks[p][20] = 0;
            const prm_record *const record =
                row.parameters[p].name == "record"
                    ? card::record_layout(id).before
                    : card::hal_layout(id, static_cast<u32>(choice.hal_type)).request;
            if (record != nullptr && record->size <= kRoom) prepare(*record, choice, &blocks[p]);
            arguments.push_back(reinterpret_cast<uint64_t>(blocks[p].data()));
        }
        trace_.call(id, arguments, status, [&] {
            for (size_t p = 0; p < row.parameters.size(); ++p) {
                if (row.parameters[p].direction != card::Direction::OUT &&
                    row.parameters[p].direction != card::Direction::INOUT)
                    continue;
                for (size_t at = random_() % 8; at < kRoom; at += 8)
                    blocks[p][at] = static_cast<uint8_t>(random_());
            }
            for (size_t at = 3; at < buffer_.size(); at += 16) buffer_[at] = static_cast<uint8_t>(random_());
        });
    }

    static constexpr size_t kRoom = 16 * 1024;

    SampleTrace &trace_;
    std::mt19937 random_{20};
    std::vector<uint8_t> buffer_ = std::vector<uint8_t>(kRoom);
};

// What Wireshark cuts has this in front.
constexpr std::string_view kTruncated = "[truncated]";

std::string value(const pugi::xml_node &field) {
    std::string text = field.attribute(field.attribute("showname") ? "showname" : "show").value();
    if (const size_t at = text.find(kTruncated); at <= 1) text.erase(0, at + kTruncated.size());
    return text;
}

bool is_field(const std::string &name) {
    return name == "kiv.other" || (name.starts_with("kiv.") && std::ranges::count(name, '.') == 2);
}

std::map<uint64_t, DissectedCall> dissected(const std::string &document) {
    std::map<uint64_t, DissectedCall> calls;
    pugi::xml_document xml;
    EXPECT_TRUE(xml.load_string(document.c_str()));
    for (const pugi::xpath_node packet : xml.select_nodes("//packet")) {
        int kind = 0;
        uint64_t sequence = 0;
        for (const pugi::xpath_node found : packet.node().select_nodes(".//field")) {
            const pugi::xml_node field = found.node();
            const std::string name = field.attribute("name").value(), text = value(field);
            EXPECT_EQ(text.find("Lua Error"), std::string::npos) << text;
            if (name == "kiv.kind") kind = field.attribute("show").as_int();
            if (name == "kiv.sequence") {
                sequence = field.attribute("show").as_ullong();
                calls.try_emplace(sequence);
            }
            if (name == "kiv.argument")
                calls[sequence].arguments.push_back(
                    std::stoull(text.substr(text.find(" = ") + 3), nullptr, 16));
            if (!is_field(name)) continue;
            const size_t colon = text.find(": ");
            (kind == 2 ? calls[sequence].in : calls[sequence].out)[text.substr(0, colon)] =
                text.substr(colon + 2);
        }
    }
    return calls;
}

// Of a parameter that is no pointer the number among the arguments is what compares.
Fields fields_of(const nlohmann::json &told, const std::string &operation) {
    Fields fields;
    const auto &row = *std::ranges::find(card::kOperations, operation, &card::OperationRow::name);
    for (const auto &[path, text] : told.items()) {
        const auto parameter = std::ranges::find(row.parameters, path, &card::Parameter::name);
        const std::string shown = text.is_string() ? text.get<std::string>() : text.dump();
        const bool is_plain = parameter != row.parameters.end() &&
                              (!parameter->is_pointer() || shown == "null" || shown == "out");
        if (!is_plain) fields[path] = shown;
    }
    return fields;
}

// Wireshark cuts what it shows of a field; what is left is the begin.
constexpr size_t kLongestShown = 220;

void expect_same(const Fields &shown, const Fields &told, const std::string &what, size_t *compared) {
    for (const auto &[path, text] : told) {
        const auto found = shown.find(path);
        if (found == shown.end()) {
            ADD_FAILURE() << what << " " << path << " is not shown: " << text;
            continue;
        }
        const size_t length =
            path.size() + text.size() > kLongestShown ? kLongestShown - path.size() : text.size();
        EXPECT_EQ(found->second.substr(0, length), text.substr(0, length)) << what << " " << path;
        ++*compared;
    }
    for (const auto &[path, text] : shown)
        EXPECT_TRUE(told.contains(path)) << what << " " << path << " " << text;
}

class Dissector : public testing::Test {
  protected:
    void SetUp() override {
        if (shell("command -v tshark").status != 0) GTEST_SKIP() << "there is no tshark (Debian: tshark)";
    }
    std::string tshark(const std::string &arguments) {
        return shell("tshark -n -X lua_script:" + directory_.path("kiv.lua") + " -r " + arguments).out;
    }
    TemporaryDirectory directory_;
};

TEST_F(Dissector, ShowsEveryFieldOfEveryOperationAsTheTraceHasIt) {
    const std::string path = directory_.path("all.pcap");
    SampleTrace trace(path);
    trace.begin_case("l2", "all");
    AllOperations(trace).call_all();
    trace.done();
    ASSERT_EQ(kivctl("trace dissector > " + directory_.path("kiv.lua")).status, 0);
    const std::map<uint64_t, DissectedCall> shown = dissected(tshark(path + " -T pdml"));
    std::istringstream lines(kivctl("trace show --raw --json --operation '*' " + path).out);
    std::map<std::string, size_t> operations;
    size_t compared = 0;
    for (std::string line; std::getline(lines, line) && !HasFailure();) {
        const auto told = nlohmann::json::parse(line);
        const std::string operation = told["operation"];
        const auto call = shown.find(told["sequence"].get<uint64_t>());
        ASSERT_NE(call, shown.end()) << line;
        ++operations[operation];
        EXPECT_EQ(call->second.arguments, told["arguments"].get<std::vector<uint64_t>>()) << operation;
        expect_same(call->second.in, fields_of(told["in"], operation), operation + " in", &compared);
        expect_same(call->second.out, fields_of(told["out"], operation), operation + " out", &compared);
    }
    EXPECT_EQ(operations.size(), card::kOperationCount);
    EXPECT_GT(compared, 10'000U);
}

TEST_F(Dissector, FiltersByField) {
    const std::string path = directory_.path("some.pcap");
    SampleTrace trace(path);
    trace.begin_case("l2", "x");
    trace.add_bridge_domain(1, 5);
    trace.add_bridge_domain(1, 6, 0x5ca25800);
    trace.done();
    ASSERT_EQ(kivctl("trace dissector > " + directory_.path("kiv.lua")).status, 0);
    const std::string info = " -T fields -e _ws.col.Info ";
    EXPECT_EQ(tshark(path + info + "-Y 'kiv.prm_bd_request.bd_id == 6'"), "#2 prm_srh_bd_add\n");
    EXPECT_EQ(tshark(path + info + "-Y 'kiv.status == \"CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN\"'"),
              "#2 prm_srh_bd_add = CARD_ERROR_UNKNOWN_BRIDGE_DOMAIN\n");
    EXPECT_EQ(tshark(path + info + "-Y kiv.place"), "case begins l2/x\n");
}

TEST_F(Dissector, SaysWhenATraceIsOfAnotherBuild) {
    const std::string path = directory_.path("other.pcap");
    SampleTrace trace(path);
    trace.add_bridge_domain(1, 5);
    trace.done();
    std::string bytes = kiv_test::read_text(path);
    bytes[bytes.find("bridge_domain")] = 'f';
    directory_.write("other.pcap", bytes);
    const std::string foreign = path + " -T fields -e frame.number -Y kiv.foreign";
    ASSERT_EQ(kivctl("trace dissector > " + directory_.path("kiv.lua")).status, 0);
    EXPECT_NE(tshark(foreign), "");
    ASSERT_EQ(kivctl("trace dissector " + path + " > " + directory_.path("kiv.lua")).status, 0);
    EXPECT_EQ(tshark(foreign), "");
    EXPECT_NE(tshark(path + " -Y kiv.prm_bd_request.bd_id"), "");
}

}  // namespace
}  // namespace kivctl::test
