// Fixed-width types and the status and handle types that every platform operation uses.
#ifndef PRM_TYPES_H
#define PRM_TYPES_H

#include <stddef.h>
#include <stdint.h>

typedef uint8_t u8;
typedef uint16_t u16;
typedef uint32_t u32;
typedef uint64_t u64;

// Result of an operation: 0 is success, every other value an error code (cerr_strerror tells its text).
typedef u32 prm_status_t;

// Opaque handle given out by a platform library; the library owns what it points at.
typedef void *prm_handle_t;

// A record that goes over a library boundary: no padding, fields at the offsets of the library's ABI.
#define PRM_PACKED __attribute__((packed))

#endif
