# A card image: the suite is linked straight with the platform's libraries, with and without the framework. The test's
# library is generated from the table of operations: each answers success.
include(${CMAKE_CURRENT_LIST_DIR}/expect.cmake)

file(WRITE ${WORK}/platform.cpp "#include \"event_manager.h\"
#include \"cerr.h\"
#include \"platform_info.h\"
#include \"prm_mgr.h\"
#include \"prm_srh.h\"
#include \"uidb.h\"
#include \"wyk_hal_wrapper.h\"
#include \"zor_vop_prm.h\"
#define OPERATION(family, result, name, parameters, arguments, ...) \\
    extern \"C\" result name parameters { return (result)0; }
#include \"card/operations.def\"
")
run(${COMPILER} -shared -fPIC -w -I${SOURCES} -I${SOURCES}/prm/test/include ${WORK}/platform.cpp -o ${WORK}/libplatform.so)
expect_status(0)

# The framework's calls, as a card's own library has them.
file(WRITE ${WORK}/framework.cpp "#include \"kiv.h\"
#include <stdio.h>
static int cases;
extern \"C\" {
void kiv_create(kiv_context_t *context) { *context = (kiv_context_t)&cases; }
kiv_folder_t kiv_create_test_folder(kiv_context_t, kiv_folder_t, const char *, const char *) { return 0; }
void kiv_add_fixture(kiv_folder_t, kiv_function_t, kiv_function_t) {}
void kiv_create_test_case(kiv_context_t, kiv_folder_t, const char *, const char *, kiv_function_t, int) { ++cases; }
int kiv_run(int, char **, kiv_context_t) { return printf(\"%d cases of the card's own framework\\n\", cases); }
void kiv_destroy(kiv_context_t *) {}
int kiv_printf(const char *, ...) { return 0; }
int kiv_jyx_check_cerrno_(u32, u32, const char *, const char *, const char *, int) { return 1; }
int kiv_check__(int, int, const char *, const char *, const char *, int, const char *, ...) { return 1; }
}
")
run(${COMPILER} -shared -fPIC -w -I${SOURCES} -I${SOURCES}/prm/test/include ${WORK}/platform.cpp ${WORK}/framework.cpp
  -o ${WORK}/libwhole.so)
expect_status(0)

set(configure ${CMAKE_COMMAND} -S ${SOURCES} -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${COMPILER}
  -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER} -DCMAKE_BUILD_TYPE=Debug)
run(${configure} -B ${WORK}/bare -DKIV=OFF -DPRM_PLATFORM_LIBRARIES=${WORK}/libwhole.so)
expect_status(0)
run(${CMAKE_COMMAND} --build ${WORK}/bare --target prm_kiv)
expect_status(0)
run(${WORK}/bare/app/prm_kiv)
expect_status(0)
expect_in_output("${case_count} cases of the card's own framework")

# With the framework: its own build is tested elsewhere; here the image must have it and no card.
run(${configure} -B ${WORK}/image -DPRM_PLATFORM_LIBRARIES=${WORK}/libplatform.so)
expect_status(0)
run(${CMAKE_COMMAND} --build ${WORK}/image --target help)
expect_in_output("libkiv.a")
if(out MATCHES "libcard.a")
  message(FATAL_ERROR "the image carries the simulated card")
endif()
file(GLOB objects ${BUILD}/prm/test/CMakeFiles/suite.dir/src/*.o)
run(${COMPILER} ${CXX_FLAGS} ${objects} ${BUILD}/kiv/libkiv.a ${BUILD}/kiv/reports/libkiv_reports.a
  ${BUILD}/kiv/libkiv_results.a ${WORK}/libplatform.so -Wl,--wrap=fopen
  -Wl,-rpath,${WORK} -o ${WORK}/prm_kiv)
expect_status(0)
run(${WORK}/prm_kiv --no-site --disk0 flash prm-kiv/tc_kiv_uidb_ipv4_enable)
expect_status(0)
expect_in_output("PASSED: 1 case, 1 passed")
run(${WORK}/prm_kiv --help)
if(out MATCHES "--card")
  message(FATAL_ERROR "the image carries the simulated card")
endif()
