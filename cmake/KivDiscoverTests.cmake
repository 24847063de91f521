# kiv_discover_tests(TARGET [ARGUMENTS ...] [SELECTORS ...] [PREFIX text] [RESOURCE_LOCK name] [TIMEOUT seconds]
#                    [WORKING_DIRECTORY dir])
#
# One CTest test for every folder of the suite TARGET, named PREFIX (default "TARGET.") and the folder's path. The
# folders are asked of the program after it is built. A test runs with KIV_EXIT_STATUS=1 and passes when the program
# ends with 0: no text of a case can pass for a result. With RESOURCE_LOCK the tests do not run side by side.
include_guard(GLOBAL)

set(_KIV_DISCOVER_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/KivDiscoverTestsScript.cmake)

function(kiv_discover_tests target)
  cmake_parse_arguments(ARG "" "PREFIX;RESOURCE_LOCK;TIMEOUT;WORKING_DIRECTORY" "ARGUMENTS;SELECTORS" ${ARGN})
  if(ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "kiv_discover_tests: unknown arguments ${ARG_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT DEFINED ARG_PREFIX)
    set(ARG_PREFIX "${target}.")
  endif()
  if(NOT ARG_WORKING_DIRECTORY)
    set(ARG_WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
  endif()
  set(tests ${CMAKE_CURRENT_BINARY_DIR}/${target}_folders.cmake)
  add_custom_command(TARGET ${target} POST_BUILD
    BYPRODUCTS ${tests}
    COMMAND ${CMAKE_COMMAND}
      "-DPROGRAM=$<TARGET_FILE:${target}>" "-DARGUMENTS=${ARG_ARGUMENTS}" "-DSELECTORS=${ARG_SELECTORS}"
      "-DPREFIX=${ARG_PREFIX}" "-DRESOURCE_LOCK=${ARG_RESOURCE_LOCK}" "-DTIMEOUT=${ARG_TIMEOUT}"
      "-DWORKING_DIRECTORY=${ARG_WORKING_DIRECTORY}" "-DTESTS=${tests}"
      -P ${_KIV_DISCOVER_SCRIPT}
    VERBATIM)
  # Until the program is built there is one test that says so.
  set(include ${CMAKE_CURRENT_BINARY_DIR}/${target}_include.cmake)
  file(WRITE ${include} "if(EXISTS \"${tests}\")
  include(\"${tests}\")
else()
  add_test(${ARG_PREFIX}NOT_BUILT ${target}_NOT_BUILT)
endif()
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${include})
endfunction()
