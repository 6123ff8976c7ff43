# The snapshots of a camview session carry the values camview says it
# stamped, as exiftool and PIL read them.
find_program(SURVEYCAM_EXIFTOOL exiftool)
if(TARGET camview AND SURVEYCAM_EXIFTOOL)
  add_test(NAME camview/snapshot_exif
    COMMAND /usr/bin/python3 ${CMAKE_CURRENT_LIST_DIR}/drivers/check_exif.py
      $<TARGET_FILE:camview> ${PROJECT_BINARY_DIR}/camview-exif
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  set_tests_properties(camview/snapshot_exif PROPERTIES TIMEOUT 300)
endif()
