# find_package(kiv): target kiv::kiv, and kiv_discover_tests() for CTest.
include(${CMAKE_CURRENT_LIST_DIR}/kivTargets.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/KivDiscoverTests.cmake)
