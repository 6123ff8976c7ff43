# surveycam-demo reads the example site and prints each point's angles from
# the station in D.MMSS. The site places target T3 at H 35 00 00, V 88 00 00,
# 38 m away (worked out when the site was laid out).
if(NOT TARGET surveycam-demo)
  return()
endif()
add_test(NAME demo/site_angles
  COMMAND ${CMAKE_COMMAND}
    -DPROGRAM=$<TARGET_FILE:surveycam-demo>
    -DARGS=${PROJECT_SOURCE_DIR}/examples/site.csv
    "-DEXPECT_OUT=T3 +TGT +survey target +35\\.0000 +88\\.0000 +38\\.000"
    -P ${CMAKE_CURRENT_LIST_DIR}/drivers/run_program.cmake)
add_test(NAME demo/missing_file_fails COMMAND surveycam-demo ${PROJECT_BINARY_DIR}/no-such-site.csv)
set_tests_properties(demo/missing_file_fails PROPERTIES WILL_FAIL TRUE)
