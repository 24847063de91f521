// Stands for the transmit-adjacency and sub-interface areas until they are there: the circuit's globals and
// the BVI's uidb on each card type.
#include "kiv.h"
#include "platform_info.h"
#include "prm_kiv_vpls.h"

u32 ifh[2];
u32 uidb[2];

extern "C" prm_status_t kiv_util_get_bvi_uidb(u32 *bvi_index) {
    const u32 type = platform_get_my_card_type();
    if (is_veltora_family() != 0) {
        *bvi_index = 2016;
    } else if (type == PLATFORM_CARD_TYPE_A || type == PLATFORM_CARD_TYPE_B) {
        *bvi_index = 4064;
    } else {
        kiv_printf("\nINVALID CARD TYPE\n");
        return 22;
    }
    return 0;
}
