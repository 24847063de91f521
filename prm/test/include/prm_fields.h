// Field tables: what the bytes of a record are, as data beside its struct, for whatever shows, compares or
// traces records. A table is constant and costs nothing where nobody reads it.
//
// A record's fields stand in the order of their offsets, and every byte belongs to one of them: what is not
// known is a reserved field. Where the layout of an area depends on another field, the area is one choice,
// whose alternatives cover it likewise.
#ifndef PRM_FIELDS_H
#define PRM_FIELDS_H

#include <type_traits>

#include "prm_types.h"

enum prm_field_kind : u8 {
    PRM_FIELD_RESERVED,     // sent as 0, meaning unknown
    PRM_FIELD_AS_IS,        // a number that is sent as is, meaning unknown
    PRM_FIELD_NUMBER,       // decimal
    PRM_FIELD_SIGNED,       // decimal, two's complement
    PRM_FIELD_HEX,          // hexadecimal; bytes in their order when wider than a number
    PRM_FIELD_IPV4,         // four bytes
    PRM_FIELD_IPV6,         // sixteen bytes, always in network order
    PRM_FIELD_MAC,          // six bytes
    PRM_FIELD_TEXT,         // characters, up to the first zero
    PRM_FIELD_FLAGS,        // parts of a number, named by bits
    PRM_FIELD_ENUMERATION,  // one of names
    PRM_FIELD_RECORD,       // `count` records of another table
    PRM_FIELD_CHOICE,       // an area whose fields another field chooses
    PRM_FIELD_BUFFER,       // address of records outside
};

enum prm_byte_order : u8 { PRM_LITTLE_ENDIAN, PRM_NETWORK_ORDER };

// What a field names. The first group are names that the caller gives: the same on every card. The others are
// handles that the platform hands out: they differ from card to card, and only what they stand for compares.
enum prm_handle_kind : u8 {
    PRM_HANDLE_NONE,
    PRM_HANDLE_INTERFACE,       // interface handle
    PRM_HANDLE_PORT,            // NP port
    PRM_HANDLE_BUNDLE,          // bundle id
    PRM_HANDLE_BRIDGE_DOMAIN,   // bridge-domain id
    PRM_HANDLE_XID,             // xid of a pseudowire or of a VSP circuit
    PRM_HANDLE_MIRROR_SESSION,  // session number

    PRM_HANDLE_EVENT_MANAGER,
    PRM_HANDLE_CONNECTION,
    PRM_HANDLE_CLIENT,
    PRM_HANDLE_RESERVED_INDEX,  // of the pool that the operation reserves from
    PRM_HANDLE_UIDB,            // interface-database index
    PRM_HANDLE_STATISTICS,      // statistics pointer
    PRM_HANDLE_NEXT_HOP,
    PRM_HANDLE_TUNNEL,
    PRM_HANDLE_LDI,          // load-distribution pointer
    PRM_HANDLE_LABEL_INDEX,  // label-entry index
    PRM_HANDLE_LEAF_INDEX,
    PRM_HANDLE_LPTS_ENTRY,
    PRM_HANDLE_LPTS_POLICER,
    PRM_HANDLE_LPTS_STATISTICS,
    PRM_HANDLE_VPLAG,  // layer-2 ECMP group
    PRM_HANDLE_TCAM,
    PRM_HANDLE_ACL_STATISTICS,
    PRM_HANDLE_TM_STATISTICS,  // of a policy or of a class
    PRM_HANDLE_POLICER,        // token bucket
    PRM_HANDLE_QUEUE,
};

constexpr bool prm_handle_is_handed_out(prm_handle_kind kind) {
    return kind >= PRM_HANDLE_EVENT_MANAGER;
}

struct prm_field;
struct prm_record;

// A list in a table.
template <class T>
struct prm_list {
    const T *items = nullptr;
    size_t size = 0;

    constexpr prm_list() = default;
    template <size_t N>
    constexpr prm_list(const T (&array)[N]) : items(array), size(N) {}
    constexpr const T *begin() const { return items; }
    constexpr const T *end() const { return items + size; }
};

struct prm_name {
    u64 value;
    const char *text;
};

// Bits of a number. More than one bit are a number of their own, counted from the lowest.
struct prm_bits {
    u64 mask;
    const char *name;
    prm_list<prm_name> names;
    prm_handle_kind handle;

    constexpr prm_bits(u64 bits, const char *text, prm_list<prm_name> values = {},
                       prm_handle_kind kind = PRM_HANDLE_NONE)
        : mask(bits), name(text), names(values), handle(kind) {}
};

// A number of the same record that tells how to read another field; null name: there is none.
struct prm_selector {
    const char *name = nullptr;
    u16 offset = 0;
    u16 width = 0;
};

// The fields of an area when the selector has the value. The last alternative of a choice is taken where no
// other one is; it has otherwise set.
struct prm_choice {
    u64 value;
    bool otherwise;
    prm_list<prm_field> fields;
};
// The records of a buffer, likewise; `answer` is their layout in what an operation that reads hands back.
struct prm_buffer_choice {
    u64 value;
    bool otherwise;
    const prm_record *record;
    const prm_record *answer;
};

// Offsets count from the begin of the record whose table it is, in alternatives too.
struct prm_field {
    const char *name = nullptr;
    u16 offset = 0;
    u16 width = 0;  // of one element
    u16 count = 1;  // elements, back to back
    prm_field_kind kind = PRM_FIELD_RESERVED;
    prm_byte_order order = PRM_LITTLE_ENDIAN;
    prm_handle_kind handle = PRM_HANDLE_NONE;
    bool written = false;               // the operation writes it
    prm_selector selector;              // of a choice and of a buffer
    prm_selector used;                  // elements in use, or records in a buffer; none: all
    prm_selector item_size;             // of a buffer: bytes of one record
    prm_list<prm_name> names;           // of an enumeration
    prm_list<prm_bits> bits;            // of flags
    prm_list<prm_choice> choices;       // of a choice
    prm_list<prm_buffer_choice> items;  // of a buffer
    const prm_record *record = nullptr;

    constexpr size_t end() const { return size_t{offset} + size_t{width} * count; }

    // What the field is: one of these for each.
    constexpr prm_field reserved() const { return whole(PRM_FIELD_RESERVED); }
    constexpr prm_field as_is() const { return of_kind(PRM_FIELD_AS_IS); }
    constexpr prm_field number() const { return of_kind(PRM_FIELD_NUMBER); }
    constexpr prm_field signed_number() const { return of_kind(PRM_FIELD_SIGNED); }
    constexpr prm_field hex() const { return of_kind(PRM_FIELD_HEX); }
    constexpr prm_field bytes() const { return whole(PRM_FIELD_HEX); }
    constexpr prm_field ipv4() const { return of_kind(PRM_FIELD_IPV4); }
    constexpr prm_field ipv6() const { return whole(PRM_FIELD_IPV6); }
    constexpr prm_field mac() const { return whole(PRM_FIELD_MAC); }
    constexpr prm_field text() const { return whole(PRM_FIELD_TEXT); }
    constexpr prm_field flags(prm_list<prm_bits> list) const {
        prm_field field = of_kind(PRM_FIELD_FLAGS);
        field.bits = list;
        return field;
    }
    constexpr prm_field one_of(prm_list<prm_name> list) const {
        prm_field field = of_kind(PRM_FIELD_ENUMERATION);
        field.names = list;
        return field;
    }
    constexpr prm_field of(const prm_record *table) const {
        prm_field field = of_kind(PRM_FIELD_RECORD);
        field.record = table;
        return field;
    }
    constexpr prm_field chosen_by(prm_selector by, prm_list<prm_choice> list) const {
        prm_field field = whole(PRM_FIELD_CHOICE);
        field.selector = by;
        field.choices = list;
        return field;
    }
    constexpr prm_field buffer(prm_selector by, prm_list<prm_buffer_choice> list, prm_selector records,
                               prm_selector size) const {
        prm_field field = of_kind(PRM_FIELD_BUFFER);
        field.selector = by;
        field.items = list;
        field.used = records;
        field.item_size = size;
        return field;
    }

    // More about it.
    constexpr prm_field names_a(prm_handle_kind what) const {
        prm_field field = *this;
        field.handle = what;
        return field;
    }
    constexpr prm_field written_back() const {
        prm_field field = *this;
        field.written = true;
        return field;
    }
    constexpr prm_field in_order(prm_byte_order of_bytes) const {
        prm_field field = *this;
        field.order = of_bytes;
        return field;
    }
    constexpr prm_field first(prm_selector in_use) const {
        prm_field field = *this;
        field.used = in_use;
        return field;
    }
    // From here to there: for an area made of several members.
    constexpr prm_field up_to(const prm_field &last) const {
        prm_field field = whole(kind);
        field.width = static_cast<u16>(last.end() - offset);
        return field;
    }
    // What is left of an area behind a member of it.
    constexpr prm_field behind(const prm_field &member) const {
        prm_field field = whole(PRM_FIELD_RESERVED);
        field.width = static_cast<u16>(end() - member.end());
        field.offset = static_cast<u16>(member.end());
        return field;
    }

  private:
    constexpr prm_field of_kind(prm_field_kind what) const {
        prm_field field = *this;
        field.kind = what;
        return field;
    }
    constexpr prm_field whole(prm_field_kind what) const {
        prm_field field = of_kind(what);
        field.width = static_cast<u16>(width * count);
        field.count = 1;
        return field;
    }
};

constexpr prm_choice prm_when(u64 value, prm_list<prm_field> fields) {
    return {value, false, fields};
}
constexpr prm_choice prm_otherwise(prm_list<prm_field> fields) {
    return {0, true, fields};
}

// What stands behind a record's head: items of one layout, then `tail` bytes. Without a count the head does
// not tell how many: the request that is answered does.
struct prm_items {
    const char *name = nullptr;
    const prm_record *record = nullptr;
    prm_selector count;
    u16 tail = 0;
};

struct prm_record {
    const char *name;
    u16 size;  // without the items
    prm_list<prm_field> fields;
    prm_items items;
};

template <class Member>
constexpr prm_field prm_field_at(const char *name, size_t offset) {
    static_assert(std::rank_v<Member> <= 1, "an array of arrays has no field of its own");
    prm_field field;
    field.name = name;
    field.offset = static_cast<u16>(offset);
    field.width = sizeof(std::remove_extent_t<Member>);
    field.count = std::is_array_v<Member> ? std::extent_v<Member> : 1;
    return field;
}

// A member as a field and as a selector, and the record of a struct whose table is STRUCT_fields.
#define PRM_FIELD(type, member) prm_field_at<decltype(type::member)>(#member, offsetof(type, member))
#define PRM_SELECTOR(type, member)                                      \
    prm_selector {                                                      \
#member, offsetof(type, member), sizeof(decltype(type::member)) \
    }
#define PRM_RECORD(type)                       \
    prm_record {                               \
#type, sizeof(type), type##_fields, {} \
    }
#define PRM_RECORD_WITH_ITEMS(type, ...)                \
    prm_record {                                        \
#type, sizeof(type), type##_fields, __VA_ARGS__ \
    }

#endif
