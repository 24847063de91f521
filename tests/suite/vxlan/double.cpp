// Stands for the transmit-adjacency area, which owns these globals, until it is there.
#include "prm_kiv_vpls.h"

u32 ifh[2];
u32 uidb[2];
