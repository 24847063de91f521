# Arbitrary bytes for the simulated card's TCAM and traffic manager.
kiv_add_test(fuzz_cls_random_bytes_test cls_random_bytes_test.cpp cls_feed.cpp SANITIZED LIBRARIES card)

if(KIV_BUILD_FUZZ)
  target_compile_options(card PRIVATE -fsanitize=fuzzer-no-link)
  foreach(name cls_tcam cls_hal)
    add_executable(${name}_fuzz ${name}_fuzz.cpp cls_feed.cpp)
    target_compile_options(${name}_fuzz PRIVATE -fsanitize=fuzzer-no-link)
    target_link_options(${name}_fuzz PRIVATE -fsanitize=fuzzer)
    target_link_libraries(${name}_fuzz PRIVATE card kiv_warnings)
    set_target_properties(${name}_fuzz PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/fuzz)
  endforeach()
endif()
