// The TCAMs of the card: handles, entries, ACL statistics ids, and the read-back of what the hardware holds.
#ifndef CARD_SIM_TCAM_H
#define CARD_SIM_TCAM_H

#include <absl/container/flat_hash_map.h>

#include "card/sim/accounts.h"
#include "card/sim/counters.h"
#include "card/sim/index_pool.h"
#include "card/sim/inventory.h"
#include "card/sim/table.h"
#include "card/sim/tcam_table.h"
#include "zor_vop_prm_tcam.h"

namespace sim {

class TrafficManagerState;

// A TCAM: its entries, and what its create said of where it is. What the words mean is not known.
struct Tcam {
    TcamTable entries;
    u32 word4 = 0;
    u16 word312 = 0;
    u16 port_num = 0;
};

// Every operation validates its record in this order and answers at the first field that is wrong:
//   1. there is a record
//   2. the opcode is one of the known ones; if not, PRM_ERROR_INVALID_MSG, as for no other field
//   3. the opcode is the operation's own (create 0, destroy 2, insert 3, delete 4, statistics 12 and 13; a
//      QoS TCAM's destroy 0 as well; a read names the operation that programmed the entry, 0 or 3)
//   4. the feature is ACL or QoS; statistics are the ACL's alone
//   5. the port is one of the card's; the handle says which TCAM it is, whatever the port
//   6. there is an entry, and the keys have the sizes of a key
//   7. the entries lie within the TCAM
//   8. the handle names a TCAM of this feature
//   9. the buffers, where the operation takes keys, can be read (a read-back's: written)
//  10. entries to delete or to read back exist; the statistics id to release was allocated
//  11. the statistics ids and policers that results name were allocated, 0 being none
//      (CARD_ERROR_UNKNOWN_STATISTICS, CARD_ERROR_UNKNOWN_REFERENCE), and stay so while entries name them
//      (CARD_ERROR_IN_USE)
// The others answer PRM_ERROR_INVALID_ARG, the opcode apart. Statistics requests carry neither port, entries
// nor keys, and their release takes any handle. The reserved bytes, the words at 4, 272 and 312, and on
// create the handle are not looked at. What the card has no room for answers CARD_ERROR_TABLE_FULL or
// CARD_ERROR_POOL_EXHAUSTED. A refused request changes nothing.
class TcamState {
  public:
    // QoS entries name statistics and policers of the traffic manager.
    TcamState(Accounts &accounts, const Inventory &inventory, TrafficManagerState &traffic_manager);

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

    // An entry that counts on an ACL statistics id has met a packet of that many bytes.
    void count(u32 stats_id, u64 bytes) { counters_.count(stats_id, bytes); }

    // By handle; the pool of ACL statistics ids, what they counted, and how many entries name one.
    const Table<u64, Tcam> &tcams() const { return tcams_; }
    const IndexPool &statistics() const { return statistics_; }
    Count counted(u32 stats_id) const { return counters_.of(stats_id); }
    u32 statistics_users(u32 stats_id) const {
        const auto its = statistics_users_.find(stats_id);
        return its != statistics_users_.end() ? its->second : 0;
    }

  private:
    TrafficManagerState &traffic_manager_;
    u32 ports_;
    Account &entries_;
    IndexPool statistics_;
    Counters counters_;
    absl::flat_hash_map<u32, u32> statistics_users_;  // ids that entries name
    // By handle: a number that is not used again, with the feature in bits 32-39.
    Table<u64, Tcam> tcams_;
    u32 last_handle_ = 0;

    Tcam *find(const prm_info &info);
    const Tcam *find(const prm_info &info) const;
    prm_status_t validate(const prm_info *info, u32 opcodes, bool names_entries) const;
    prm_status_t check_references(const prm_info &info) const;
    void store(TcamTable *table, const prm_info &info);
    void hold(u32 feature, const u8 *result);
    void release(u32 feature, const u8 *result);
};

// What the hardware holds for an entry as programmed: addresses and ports of the value with their bytes
// swapped, the addresses of a QoS key of the shifted type at the plain places with their masks beside them,
// and a QoS statistics id without its flag. Masks keep their byte order.
TcamEntry tcam_hardware_entry(u32 feature, const TcamEntry &programmed);

}  // namespace sim

#endif
