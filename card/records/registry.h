// Which field table belongs to what: records by the name of their type, and the arguments of every platform
// operation.
#ifndef CARD_RECORDS_REGISTRY_H
#define CARD_RECORDS_REGISTRY_H

#include <span>
#include <string_view>

#include "card/boundary/operation.h"
#include "card/records/decode.h"
#include "prm_fields.h"

namespace card {

// Every record that has a table, those inside others included.
std::span<const prm_record *const> all_records();

// By the name of the table, which is that of the type; null when there is none.
const prm_record *find_record(std::string_view name);

// The record that an operation takes in the parameter called `record`; null for those that take none.
struct RecordLayout {
    const prm_record *before = nullptr;
    const prm_record *after = nullptr;  // of what a successful call leaves
};
RecordLayout record_layout(OperationId operation);

// Whether a successful call fills the buffers of its record with what the hardware holds.
bool reads_back(OperationId operation);

// The two blocks of an operation of the NP HAL wrapper; null where it has none. `hal_type` is that of
// wyk_hal_wrapper_engine_op and counts there alone.
struct HalLayout {
    const prm_record *request = nullptr;
    const prm_record *response = nullptr;
};
HalLayout hal_layout(OperationId operation, u32 hal_type);

// Bytes of the two blocks, as the operation's arguments and the request's head tell. Blocks are made with
// 16-bit sizes: what a head claims beyond that does not count.
struct HalSizes {
    size_t request = 0;
    size_t response = 0;
};
HalSizes hal_sizes(OperationId operation, u32 hal_type, u32 policies, const void *request);

// What the parameter of that name names, where it is a handle: in, or out through a pointer.
prm_handle_kind argument_kind(OperationId operation, std::string_view parameter);

// What the number that an operation returns names, where it is a handle.
prm_handle_kind result_kind(OperationId operation);

// What PRM_HANDLE_RESERVED_INDEX is in an operation's record. Of a load-distribution reservation the pointers
// of a block lie 1 << PRM_NR_LDI_PTR_SHIFT apart, else indices follow each other.
prm_handle_kind reserved_kind(OperationId operation);

// "next_hop", "ldi": the word that state, trace and show use for a kind.
std::string_view handle_name(prm_handle_kind kind);

}  // namespace card

#endif
