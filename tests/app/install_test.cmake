# Installed: the program finds its site beside it, and another project links the framework and makes CTest tests of its
# folders.
include(${CMAKE_CURRENT_LIST_DIR}/expect.cmake)

foreach(component kiv suite)
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/installed --component ${component})
  expect_status(0)
endforeach()

run(${WORK}/installed/bin/prm_kiv --disk0 flash prm-kiv/tc_kiv_uidb_ipv4_enable)
expect_in_output("(PASSED|FAILED): 1 case")
if(NOT EXISTS "/disk0:/")  # on a card no site is a default
  expect_in_output("Site ${WORK}/installed/bin/../share/prm_kiv/site/sim")
endif()

run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/consumer -B ${WORK}/build -G ${GENERATOR}
  -DCMAKE_CXX_COMPILER=${COMPILER} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" -DCMAKE_PREFIX_PATH=${WORK}/installed)
expect_status(0)
run(${CMAKE_COMMAND} --build ${WORK}/build)
expect_status(0)
run(${CMAKE_CTEST_COMMAND} --test-dir ${WORK}/build)
expect_in_output("Test +#[0-9]+: consumer.good [.]+ +Passed")
expect_in_output("Test +#[0-9]+: consumer.good/below [.]+ +Passed")
expect_in_output("Test +#[0-9]+: consumer.bad [.]+[*]+Failed")
expect_in_output("67% tests passed, 1 tests failed out of 3")
file(READ ${WORK}/build/consumer_folders.cmake out)
expect_in_output("RESOURCE_LOCK .==.card.==.")
