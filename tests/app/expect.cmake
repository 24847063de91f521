# Helpers of the script tests: run a command, and look at what it printed.
# The tests are no tests of a suite: a run's status is what it is for a user.
foreach(variable KIV_EXIT_STATUS CTEST_INTERACTIVE_DEBUG_MODE DASHBOARD_TEST_FROM_CTEST CI)
  unset(ENV{${variable}})
endforeach()
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

# How many cases and folders the suite registers.
file(STRINGS ${SOURCES}/tests/suite/registry/registration.golden cases REGEX "^case ")
list(LENGTH cases case_count)
list(TRANSFORM cases REPLACE "^case ([^ ]*)/.*" "\\1" OUTPUT_VARIABLE case_folders)
list(REMOVE_DUPLICATES case_folders)
list(LENGTH case_folders folder_count)  # of those with cases of their own

# run(COMMAND...): its exit status in `status`, its output in `out`.
macro(run)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${WORK} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
endmacro()

macro(expect_status wanted)
  if(NOT "${status}" STREQUAL "${wanted}")
    message(FATAL_ERROR "exit status ${status}, not ${wanted}:\n${out}")
  endif()
endmacro()

macro(expect_in_output regex)
  if(NOT "${out}" MATCHES "${regex}")
    message(FATAL_ERROR "nothing like \"${regex}\" in:\n${out}")
  endif()
endmacro()

macro(expect_lines count)
  string(REGEX MATCHALL "\n" newlines "${out}")
  list(LENGTH newlines found)
  if(NOT found EQUAL ${count})
    message(FATAL_ERROR "${found} lines, not ${count}:\n${out}")
  endif()
endmacro()
