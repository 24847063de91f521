// SPAN: mirror sessions and their source interfaces. (To come: the fixtures do nothing yet.)
#include "prm_kiv_span.h"

extern "C" int prm_kiv_span_enable(void) {
    return 0;
}
extern "C" int prm_kiv_span_disable(void) {
    return 0;
}
extern "C" int prm_kiv_span_all_sessions_create(void) {
    return 0;
}
extern "C" int prm_kiv_span_all_sessions_destroy(void) {
    return 0;
}
