// Names and texts of the codes.
#include "card/codes.h"

#include <iterator>

namespace card {
namespace {

struct CodeRow {
    u32 code;
    const char *name;
    const char *text;
};

constexpr CodeRow kCodes[] = {
    {CERR_SUCCESS, "CERR_SUCCESS", "success"},
    {PRM_ERROR_INVALID_ARG, "PRM_ERROR_INVALID_ARG", "invalid argument"},
    {PRM_ERROR_INVALID_MSG, "PRM_ERROR_INVALID_MSG", "invalid message"},
    {PRM_ERROR_BCM_E_BUSY, "PRM_ERROR_BCM_E_BUSY", "operation still running or resource busy"},
    {PRM_ERROR_BCM_E_BADID, "PRM_ERROR_BCM_E_BADID", "identifier out of range"},
    {PRM_ERROR_BCM_E_PORT, "PRM_ERROR_BCM_E_PORT", "invalid port"},
#define CODE(name, number, text) {CARD_ERROR_##name, "CARD_ERROR_" #name, text},
#include "card/codes.def"
};

const CodeRow *row_of(u32 code) {
    for (const CodeRow &row : kCodes) {
        if (row.code == code) return &row;
    }
    return nullptr;
}

}  // namespace

const char *code_text(u32 code) {
    const CodeRow *const row = row_of(code);
    return row != nullptr ? row->text : "unknown code";
}

const char *code_name(u32 code) {
    const CodeRow *const row = row_of(code);
    return row != nullptr ? row->name : nullptr;
}

const char *code_name_at(size_t index, u32 *code) {
    if (index >= std::size(kCodes)) return nullptr;
    *code = kCodes[index].code;
    return kCodes[index].name;
}

}  // namespace card
