// What this build says of its operations, records and codes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cerr.h"
#include "trace/call.h"
#include "trace/schema_bytes.h"

namespace {

TEST(Schema, HasEveryOperationWithItsHandles) {
    const trace::Schema &schema = trace::this_build();
    ASSERT_EQ(schema.operations.size(), card::kOperationCount);
    const trace::Operation *const open = schema.operation("prm_mgr_open");
    ASSERT_NE(open, nullptr);
    EXPECT_EQ(open->arguments[0], PRM_HANDLE_EVENT_MANAGER);
    EXPECT_EQ(open->arguments[6], PRM_HANDLE_CONNECTION);
    EXPECT_TRUE(open->row.answers_status);
    EXPECT_EQ(schema.operation("event_manager_create")->result, PRM_HANDLE_EVENT_MANAGER);
    EXPECT_EQ(schema.operation("prm_srh_vplag_buddy_reserve")->reserved, PRM_HANDLE_VPLAG);
    EXPECT_EQ(schema.operation("prm_srh"), nullptr);
}

TEST(Schema, KnowsRecordsAndCodes) {
    const trace::Schema &schema = trace::this_build();
    ASSERT_NE(schema.record("prm_bd_request"), nullptr);
    EXPECT_STREQ(schema.record("prm_bd_request")->name, "prm_bd_request");
    EXPECT_EQ(schema.record("bd"), nullptr);
    ASSERT_NE(schema.code(PRM_ERROR_BCM_E_BUSY), nullptr);
    EXPECT_EQ(schema.code(PRM_ERROR_BCM_E_BUSY)->name, "PRM_ERROR_BCM_E_BUSY");
    EXPECT_EQ(schema.code(CERR_SUCCESS)->text, "success");
    EXPECT_EQ(schema.code(1), nullptr);
}

// Everything that a table says.
std::string described(prm_list<prm_field> fields);

std::string described(const prm_selector &selector) {
    return selector.name == nullptr ? "-"
                                    : selector.name + std::to_string(selector.offset * 100 + selector.width);
}

std::string described(const prm_field &field) {
    std::string text = std::string(field.name) + " " + std::to_string(field.offset) + " " +
                       std::to_string(field.width) + " " + std::to_string(field.count) + " " +
                       std::to_string(field.kind) + " " + std::to_string(field.order) + " " +
                       std::to_string(field.handle) + " " + std::to_string(field.written) + " " +
                       described(field.selector) + described(field.used) + described(field.item_size);
    for (const prm_name &name : field.names) text += " " + std::to_string(name.value) + "=" + name.text;
    for (const prm_bits &bits : field.bits) {
        text += " " + std::to_string(bits.mask) + "=" + (bits.name != nullptr ? bits.name : "");
        for (const prm_name &name : bits.names) text += "," + std::to_string(name.value) + "=" + name.text;
        text += std::to_string(bits.handle);
    }
    for (const prm_choice &choice : field.choices)
        text += " " + std::to_string(choice.value) + std::to_string(choice.otherwise) + "{" +
                described(choice.fields) + "}";
    for (const prm_buffer_choice &choice : field.items)
        text += " " + std::to_string(choice.value) + std::to_string(choice.otherwise) +
                (choice.record != nullptr ? choice.record->name : "-") +
                (choice.answer != nullptr ? choice.answer->name : "-");
    if (field.record != nullptr) text += std::string(" of ") + field.record->name;
    return text;
}

std::string described(prm_list<prm_field> fields) {
    std::string text;
    for (const prm_field &field : fields) text += described(field) + "\n";
    return text;
}

std::string described(const prm_record &record) {
    std::string text =
        std::string(record.name) + " " + std::to_string(record.size) + "\n" + described(record.fields);
    if (record.items.record != nullptr)
        text += std::string(record.items.name) + " " + record.items.record->name +
                described(record.items.count) + std::to_string(record.items.tail);
    return text;
}

trace::Bytes bytes_of(const std::string &text) {
    return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

TEST(SchemaBytes, SchemaThatWasReadSaysTheSame) {
    const trace::Schema &here = trace::this_build();
    trace::ReadSchema read;
    std::string error;
    for (const std::string &piece : trace::schema_pieces(here))
        ASSERT_TRUE(read.add(bytes_of(piece), &error)) << error;
    const trace::Schema &there = read.schema();
    ASSERT_EQ(there.operations.size(), here.operations.size());
    for (size_t i = 0; i < here.operations.size(); ++i) {
        const trace::Operation &a = here.operations[i], &b = there.operations[i];
        EXPECT_EQ(a.row.name, b.row.name);
        EXPECT_EQ(a.row.family, b.row.family);
        EXPECT_EQ(a.row.answers_status, b.row.answers_status);
        EXPECT_EQ(a.result, b.result);
        EXPECT_EQ(a.reserved, b.reserved);
        ASSERT_EQ(a.row.parameters.size(), b.row.parameters.size());
        for (size_t p = 0; p < a.row.parameters.size(); ++p) {
            EXPECT_EQ(a.row.parameters[p].type, b.row.parameters[p].type);
            EXPECT_EQ(a.row.parameters[p].name, b.row.parameters[p].name);
            EXPECT_EQ(a.row.parameters[p].direction, b.row.parameters[p].direction);
            EXPECT_EQ(a.arguments[p], b.arguments[p]);
        }
        EXPECT_TRUE(std::equal(a.row.resources.begin(), a.row.resources.end(), b.row.resources.begin(),
                               b.row.resources.end()));
    }
    ASSERT_EQ(there.records.size(), here.records.size());
    for (size_t i = 0; i < here.records.size(); ++i)
        EXPECT_EQ(described(*there.records[i]), described(*here.records[i]));
    ASSERT_EQ(there.codes.size(), here.codes.size());
    for (size_t i = 0; i < here.codes.size(); ++i) {
        EXPECT_EQ(there.codes[i].value, here.codes[i].value);
        EXPECT_EQ(there.codes[i].name, here.codes[i].name);
        EXPECT_EQ(there.codes[i].text, here.codes[i].text);
    }
}

TEST(SchemaBytes, PieceWithAnyByteChangedIsTakenOrRefusedButNeverFollowedAstray) {
    const std::vector<std::string> pieces = trace::schema_pieces(trace::this_build());
    size_t refused = 0;
    for (size_t at = 0; at < pieces.size(); at += 31) {
        for (size_t byte = 0; byte < pieces[at].size(); byte += 5) {
            std::string spoiled = pieces[at];
            spoiled[byte] = static_cast<char>(spoiled[byte] ^ 0xff);
            trace::ReadSchema read;
            std::string error;
            for (size_t i = 0; i < at; ++i) read.add(bytes_of(pieces[i]), &error);
            refused += !read.add(bytes_of(spoiled), &error);
            if (byte % 40 != 0) continue;
            for (const prm_record *const record : read.schema().records)
                if (record != nullptr) described(record->fields);
        }
    }
    EXPECT_GT(refused, 10u);
}

TEST(SchemaBytes, LaterFormatIsRefused) {
    std::string piece = "F";
    const uint64_t format = 2;
    piece.append(reinterpret_cast<const char *>(&format), sizeof format);
    trace::ReadSchema read;
    std::string error;
    EXPECT_FALSE(read.add(bytes_of(piece), &error));
    EXPECT_EQ(error, "written by a later build, in format 2");
}

}  // namespace
