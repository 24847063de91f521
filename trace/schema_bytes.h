// A schema as bytes: what stands at the front of a trace, so that it can be read by builds whose operations
// and records are others.
#ifndef TRACE_SCHEMA_BYTES_H
#define TRACE_SCHEMA_BYTES_H

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "trace/call.h"

namespace trace {

// The pieces of a schema, in their order: each goes into an entry of its own. Codes first, then records
// (those inside others before them), then operations.
std::vector<std::string> schema_pieces(const Schema &schema);

// A schema that was read from its pieces; owns what it is made of.
class ReadSchema {
  public:
    ReadSchema();
    ~ReadSchema();
    ReadSchema(const ReadSchema &) = delete;
    ReadSchema &operator=(const ReadSchema &) = delete;

    // False, with *error set, for a piece that is not one or does not fit what came before it.
    bool add(Bytes piece, std::string *error);
    // Of what was added so far.
    const Schema &schema();

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace trace

#endif
