# Asks a suite for its folders and writes one CTest test for each. Run by kiv_discover_tests after the suite is built.
execute_process(COMMAND ${PROGRAM} --list-folders ${SELECTORS}
  WORKING_DIRECTORY ${WORKING_DIRECTORY}
  OUTPUT_VARIABLE folders ERROR_VARIABLE problem RESULT_VARIABLE status)
if(NOT status EQUAL 0 OR NOT problem STREQUAL "")
  message(FATAL_ERROR "${PROGRAM} --list-folders: ${status}\n${problem}")
endif()
# A list of CMake's: what separates its items may stand in a folder's name.
string(ASCII 31 semicolon)
string(REPLACE ";" "${semicolon}" folders "${folders}")
string(REPLACE "\n" ";" folders "${folders}")

# What the summary carries and no case can know.
string(RANDOM LENGTH 24 mark)
set(text "")
foreach(folder IN LISTS folders)
  if(folder STREQUAL "")
    continue()
  endif()
  # The folder's own cases: those of a sub-folder are a test of their own.
  set(excludes "")
  foreach(other IN LISTS folders)
    string(FIND "${other}" "${folder}/" at)
    if(at EQUAL 0)
      string(APPEND excludes " \"--exclude\" [==[${other}]==]")
    endif()
  endforeach()
  string(REPLACE "/" "." place "${folder}")
  set(arguments "")
  foreach(argument IN LISTS ARGUMENTS)
    string(APPEND arguments " [==[${argument}]==]")
  endforeach()
  string(APPEND text "add_test([==[${PREFIX}${folder}]==] [==[${PROGRAM}]==] [==[${folder}]==]${excludes}"
    " \"--out\" [==[${WORKING_DIRECTORY}/kiv-out/${place}]==]${arguments})\n")
  string(APPEND text "set_tests_properties([==[${PREFIX}${folder}]==] PROPERTIES"
    " ENVIRONMENT [==[KIV_EXIT_STATUS=1;KIV_SUMMARY_MARK=${mark}]==]"
    " PASS_REGULAR_EXPRESSION [==[(^|\n)PASSED \\[${mark}\\]: ]==]"
    " FAIL_REGULAR_EXPRESSION [==[(^|\n)NOT WRITTEN: ]==] WORKING_DIRECTORY [==[${WORKING_DIRECTORY}]==]")
  if(RESOURCE_LOCK)
    string(APPEND text " RESOURCE_LOCK [==[${RESOURCE_LOCK}]==]")
  endif()
  if(TIMEOUT)
    string(APPEND text " TIMEOUT ${TIMEOUT}")
  endif()
  string(APPEND text ")\n")
endforeach()
string(REPLACE "${semicolon}" ";" text "${text}")
file(WRITE ${TESTS} "${text}")
