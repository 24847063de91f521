// The field tables: every byte of every record belongs to exactly one field, in every alternative, and every
// record of every operation has a table.
#include <gtest/gtest.h>

#include <fmt/core.h>

#include <set>
#include <string>

#include "card/records/registry.h"

namespace card {
namespace {

// Fields that follow each other without gap or overlap from `begin` to `end`; what is wrong, or nothing.
std::string check_partition(const std::string &where, prm_list<prm_field> fields, size_t begin, size_t end,
                            bool named_alike) {
    std::set<std::string> names;
    size_t at = begin;
    for (const prm_field &field : fields) {
        const std::string here = where + "." + field.name;
        if (field.offset != at) return fmt::format("{} begins at {}, not at {}", here, field.offset, at);
        if (field.width == 0 || field.count == 0) return here + " is empty";
        at = field.end();
        if (!named_alike && field.kind != PRM_FIELD_CHOICE && !names.insert(field.name).second)
            return here + " stands there twice";
        switch (field.kind) {
            case PRM_FIELD_RECORD:
                if (field.record->size != field.width) return here + " is not as wide as its record";
                break;
            case PRM_FIELD_CHOICE:
                if (field.choices.size == 0) return here + " has no alternative";
                for (const prm_choice &choice : field.choices) {
                    const std::string wrong = check_partition(fmt::format("{}[{}]", here, choice.value),
                                                              choice.fields, field.offset, field.end(), true);
                    if (!wrong.empty()) return wrong;
                }
                if (!field.choices.items[field.choices.size - 1].otherwise)
                    return here + " has no alternative for other values";
                break;
            case PRM_FIELD_IPV4:
                if (field.width != 4) return here + " is no IPv4 address";
                break;
            case PRM_FIELD_IPV6:
                if (field.width != 16) return here + " is no IPv6 address";
                break;
            case PRM_FIELD_MAC:
                if (field.width != 6) return here + " is no MAC address";
                break;
            case PRM_FIELD_FLAGS: {
                u64 named = 0;
                for (const prm_bits &bits : field.bits) {
                    if ((bits.mask & named) != 0) return here + " has bits with two names";
                    if (field.width < 8 && (bits.mask >> 8 * field.width) != 0)
                        return here + " has bits outside the field";
                    named |= bits.mask;
                }
                break;
            }
            default:
                if (field.kind != PRM_FIELD_RESERVED && field.kind != PRM_FIELD_HEX && field.width > 8)
                    return here + " is too wide for a number";
                break;
        }
    }
    if (at != end) return fmt::format("{} ends at {}, not at {}", where, at, end);
    return {};
}

TEST(FieldTables, EveryByteOfEveryRecordBelongsToExactlyOneField) {
    EXPECT_GE(all_records().size(), 60u);
    for (const prm_record *const record : all_records())
        EXPECT_EQ(check_partition(record->name, record->fields, 0, record->size, false), "");
}

TEST(FieldTables, AnotherFieldsNumberIsOneOfTheSameRecord) {
    for (const prm_record *const record : all_records()) {
        const auto is_field = [&](const prm_selector &selector) {
            if (selector.name == nullptr) return true;
            for (const prm_field &field : record->fields) {
                if (std::string_view(field.name) == selector.name)
                    return field.offset == selector.offset && field.width == selector.width;
            }
            return false;
        };
        EXPECT_TRUE(is_field(record->items.count)) << record->name;
        for (const prm_field &field : record->fields) {
            EXPECT_TRUE(is_field(field.selector)) << record->name << '.' << field.name;
            EXPECT_TRUE(is_field(field.used)) << record->name << '.' << field.name;
            EXPECT_TRUE(is_field(field.item_size)) << record->name << '.' << field.name;
        }
    }
}

TEST(FieldTables, ReservedBytesAreNamedSo) {
    const auto named_reserved = [](const prm_field &field) {
        const std::string_view name = field.name;
        return name.starts_with("reserved") || name == "tail";
    };
    for (const prm_record *const record : all_records()) {
        for (const prm_field &field : record->fields)
            EXPECT_EQ(field.kind == PRM_FIELD_RESERVED, named_reserved(field))
                << record->name << '.' << field.name;
    }
}

TEST(FieldTables, NamesOfRecordsAreTheirOwn) {
    std::set<std::string_view> names;
    for (const prm_record *const record : all_records()) {
        EXPECT_TRUE(names.insert(record->name).second) << record->name;
        EXPECT_EQ(find_record(record->name), record);
        if (record->items.record != nullptr) {
            EXPECT_EQ(find_record(record->items.record->name), record->items.record);
        }
        for (const prm_field &field : record->fields) {
            if (field.kind == PRM_FIELD_RECORD) {
                EXPECT_EQ(find_record(field.record->name), field.record);
            }
        }
    }
    EXPECT_EQ(find_record("prm_nothing"), nullptr);
}

TEST(FieldTables, EveryOperationThatTakesARecordHasItsTable) {
    size_t with_record = 0;
    for (size_t i = 0; i < kOperationCount; ++i) {
        const OperationId operation = static_cast<OperationId>(i);
        const std::string_view name = kOperations[i].name;
        const bool hal = name.starts_with("wyk_hal_wrapper_");
        // Every other operation of the families that take records has one.
        const bool takes_record =
            !hal &&
            (name.starts_with("prm_srh_") || name.starts_with("zor_vop_") || name.starts_with("uidb_")) &&
            name != "prm_srh_register" && name != "prm_srh_set_name" && name != "prm_srh_unregister" &&
            name != "uidb_delete_interface";
        const RecordLayout layout = record_layout(operation);
        EXPECT_EQ(layout.before != nullptr, takes_record) << name;
        EXPECT_EQ(layout.after != nullptr, takes_record) << name;
        if (takes_record) {
            ++with_record;
            EXPECT_EQ(layout.before->size, layout.after->size) << name;
        }
        if (hal && operation != OperationId::wyk_hal_wrapper_engine_op) {
            EXPECT_NE(hal_layout(operation, 0).request, nullptr) << name;
            EXPECT_NE(hal_layout(operation, 0).response, nullptr) << name;
        }
        EXPECT_EQ(reserved_kind(operation) != PRM_HANDLE_NONE, name.ends_with("_reserve")) << name;
    }
    EXPECT_EQ(with_record, 57u);
    for (const u32 type : {0u, 4u, 5u, 9u, 10u}) {
        const HalLayout layout = hal_layout(OperationId::wyk_hal_wrapper_engine_op, type);
        EXPECT_TRUE(layout.request != nullptr || layout.response != nullptr) << type;
    }
    EXPECT_EQ(hal_layout(OperationId::wyk_hal_wrapper_engine_op, 21).request, nullptr);
}

TEST(FieldTables, EveryKindOfHandleHasAWord) {
    std::set<std::string_view> names;
    for (int kind = PRM_HANDLE_NONE; kind <= PRM_HANDLE_QUEUE; ++kind)
        EXPECT_TRUE(names.insert(handle_name(static_cast<prm_handle_kind>(kind))).second) << kind;
    EXPECT_FALSE(prm_handle_is_handed_out(PRM_HANDLE_MIRROR_SESSION));
    EXPECT_TRUE(prm_handle_is_handed_out(PRM_HANDLE_UIDB));
}

TEST(FieldTables, HandlesAmongTheArgumentsAreKnown) {
    EXPECT_EQ(argument_kind(OperationId::prm_srh_bd_add, "client"), PRM_HANDLE_CLIENT);
    EXPECT_EQ(argument_kind(OperationId::prm_mgr_open, "name"), PRM_HANDLE_NONE);
    EXPECT_EQ(argument_kind(OperationId::prm_mgr_open, "manager"), PRM_HANDLE_EVENT_MANAGER);
    EXPECT_EQ(argument_kind(OperationId::prm_srh_register, "manager"), PRM_HANDLE_EVENT_MANAGER);
    EXPECT_EQ(result_kind(OperationId::event_manager_create), PRM_HANDLE_EVENT_MANAGER);
    EXPECT_EQ(result_kind(OperationId::prm_mgr_open), PRM_HANDLE_NONE);
    EXPECT_EQ(argument_kind(OperationId::prm_stats_cl_alloc, "pointer"), PRM_HANDLE_STATISTICS);
    EXPECT_EQ(argument_kind(OperationId::prm_stats_cl_alloc, "count"), PRM_HANDLE_NONE);
    EXPECT_EQ(argument_kind(OperationId::uidb_delete_interface, "if_handle"), PRM_HANDLE_INTERFACE);
}

}  // namespace
}  // namespace card
