# The built program: it finds the site in the sources, lists all there is and ends with 0 after a run.
include(${CMAKE_CURRENT_LIST_DIR}/expect.cmake)

run(${PROGRAM} --list)
expect_status(0)
expect_lines(${case_count})
expect_in_output("prm-kiv/tc_prm_v4_leaf_delete#2 ")

run(${PROGRAM} --list-folders)
expect_lines(${folder_count})

run(${PROGRAM} no-such-folder)
expect_status(2)
expect_in_output("no folder or case is called \"no-such-folder\"")

# Where /disk0:/ exists, that is on a card, no site is a default; it is somebody else's and left alone.
run(${PROGRAM} --disk0 flash prm-kiv/tc_kiv_uidb_ipv4_enable)
expect_status(0)
expect_in_output("1 case, card sim")
expect_in_output("(PASSED|FAILED): 1 case")
expect_in_output("Flash ${WORK}/flash")
if(NOT EXISTS "/disk0:/")
  expect_in_output("Site ${SOURCES}/site/sim")
elseif(out MATCHES "Site ")
  message(FATAL_ERROR "a site although /disk0:/ exists:\n${out}")
endif()

set(site --site ${SOURCES}/site/sim)
run(${PROGRAM} ${site} prm-kiv/tc_kiv_uidb_ipv4_enable)
expect_in_output("Site ${SOURCES}/site/sim")
expect_in_output("Flash ${WORK}/kiv-out/disk0")

run(${PROGRAM} --help)
expect_in_output("--card")

# What the documents show works here; what builds on other cases says so, and runs with them.
foreach(example "acl;qos" "prm-kiv-l2/tc_kiv_xconnect_rw*" "-acl;span/session" "acl;qos;-acl/neg_*"
    "--repeat;20;--fail-fast;acl" "--all" "--with-needed;prm-kiv-vxlan" "--with-needed;prm-kiv-vxlan/tc_kiv_vxlan_ole_add"
    "--with-needed;span/manual")
  run(${PROGRAM} ${site} --quiet ${example})
  expect_in_output("PASSED: ")
  if(out MATCHES " builds on ")
    message(FATAL_ERROR "${example}: something is missing:\n${out}")
  endif()
endforeach()
run(${PROGRAM} ${site} prm-kiv-vxlan/tc_kiv_vxlan_ole_add)
expect_in_output("prm-kiv-vxlan/tc_kiv_vxlan_ole_add builds on prm-kiv-vxlan/tc_kiv_vxlan_[a-z_]+ and 2 more in the plan; --with-needed runs those first\n")
expect_in_output("FAILED: 1 case")

# The whole default site: every case passes or reports success by its lines, twice over the same flash, and the results
# say so too.
foreach(pass first second)
  run(${PROGRAM} ${site} --quiet --json ${pass}.json)
  expect_in_output("PASSED: ${case_count} cases")
  run(${KIVCTL} gate ${pass}.json)
  expect_status(0)
endforeach()
run(${KIVCTL} site check ${SOURCES}/site/sim)
expect_status(0)
