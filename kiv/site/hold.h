// Who uses a directory: two runs that write into one flash would spoil each other's files.
#ifndef KIV_SITE_HOLD_H
#define KIV_SITE_HOLD_H

#include <optional>
#include <string>

#include "kiv/files.h"

namespace kiv {

// A run's claim on a directory, until the run and every process of it are gone. Nothing is left behind.
class Hold {
  public:
    // Claims the directory; with `wait` when whoever has it is gone. False when somebody else has it. Where
    // the file system knows no claims there is nothing to hold, and that is no error.
    bool take(const std::string &directory, bool wait);

  private:
    std::optional<Descriptor> directory_;
};

// Who has claimed the directory: "process 4711 (prm_kiv acl)"; "another process" when that cannot be told.
std::string holder_of(const std::string &directory);

}  // namespace kiv

#endif
