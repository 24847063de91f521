// The TCAMs of the card: handles, entries, ACL statistics ids, and the read-back of what the hardware holds.
#ifndef CARD_SIM_TCAM_H
#define CARD_SIM_TCAM_H

#include "card/sim/accounts.h"
#include "card/sim/index_pool.h"
#include "card/sim/inventory.h"
#include "card/sim/table.h"
#include "card/sim/tcam_table.h"
#include "zor_vop_prm_tcam.h"

namespace sim {

// Every operation validates its record in this order and answers at the first field that is wrong:
//   1. there is a record
//   2. the opcode is one of the known ones; if not, PRM_ERROR_INVALID_MSG, as for no other field
//   3. the opcode is the operation's own (create 0, destroy 2 or 0, insert 3, delete 4, statistics 12 and
//      13; a read names the operation that programmed the entry, 0 or 3)
//   4. the feature is ACL or QoS; statistics are the ACL's alone
//   5. the port is an 8-bit number
//   6. there is an entry, and the keys have the sizes of a key
//   7. the entries lie within the TCAM
//   8. the handle names a TCAM of this feature
//   9. the buffers, where the operation takes keys, can be read (a read-back's: written)
//  10. entries to delete or to read back exist; the statistics id to release was allocated
// All but the opcode answer PRM_ERROR_INVALID_ARG. Statistics requests carry neither port, entries nor keys,
// and their release takes any handle. The reserved bytes, the words at 4, 272 and 312, and on create the
// handle are not looked at. What the card has no room for answers CARD_ERROR_TABLE_FULL or
// CARD_ERROR_POOL_EXHAUSTED. A refused request changes nothing.
class TcamState {
  public:
    TcamState(Accounts &accounts, const Inventory &inventory);

    // Makes a TCAM with the entries carried and writes its handle.
    prm_status_t create(prm_info *info);
    // Puts the entries carried at `ace_index` and on, in place of whatever stood there.
    prm_status_t insert(const prm_info *info);
    // Deletes `nr_entries` entries from `ace_index` on.
    prm_status_t erase(const prm_info *info);
    prm_status_t destroy(const prm_info *info);
    // Fills the buffers with `nr_entries` entries from `ace_index` on, as the hardware holds them.
    prm_status_t read(const prm_info *info) const;
    prm_status_t stats_alloc(prm_info *info);
    prm_status_t stats_dealloc(const prm_info *info);

    // The entries behind a handle, or null.
    const TcamTable *table(u64 vmr_id) const;

  private:
    Account &entries_;
    IndexPool statistics_;
    // By handle: a number that is not used again, with the feature in bits 32-39.
    Table<u64, TcamTable> tcams_;
    u32 last_handle_ = 0;

    TcamTable *find(const prm_info &info);
    const TcamTable *find(const prm_info &info) const;
};

// What the hardware holds for an entry as programmed: addresses and ports of the value with their bytes
// swapped, the addresses of a QoS key of the shifted type at the plain places with their masks beside them,
// and a QoS statistics id without its flag. Masks keep their byte order.
TcamEntry tcam_hardware_entry(u32 feature, const TcamEntry &programmed);

}  // namespace sim

#endif
