# camview's photogrammetric job: three stations on the site of
# examples/photogrammetry_site.csv, wide-camera pictures measured into a
# project, each photograph's DLT from the control boards and the check
# targets intersected. The solve step fails unless every check target comes
# within 5 mm of its known coordinates.
if(NOT TARGET camview)
  return()
endif()

set(CAMVIEW_PHOTOGRAMMETRY_OUT ${PROJECT_BINARY_DIR}/camview-photogrammetry)
add_test(NAME camview/photogrammetry_job
  COMMAND ${CMAKE_COMMAND}
    -DPROGRAM=$<TARGET_FILE:camview>
    -DARGS=--script|${PROJECT_SOURCE_DIR}/examples/sessions/photogrammetry.txt|--points|${PROJECT_SOURCE_DIR}/examples/photogrammetry_site.csv|--out|${CAMVIEW_PHOTOGRAMMETRY_OUT}
    -DCLEAN_DIR=${CAMVIEW_PHOTOGRAMMETRY_OUT}
    "-DEXPECT_OUT=project-photo +ok +photo P001: .*point T1: .*point T6: .*project-solve [0-9]* *ok +[0-9]+ of 27 photos solved, 6 points intersected, 6 check targets.*camview: all [0-9]+ steps done"
    -DFORBID_OUT=FAIL
    -DEXPECT_FILES=${CAMVIEW_PHOTOGRAMMETRY_OUT}/device/IMG_MAIN/project/Site/result.csv|${CAMVIEW_PHOTOGRAMMETRY_OUT}/device/IMG_MAIN/project/Site/P001.DLT|${CAMVIEW_PHOTOGRAMMETRY_OUT}/solved.png
    -P ${CMAKE_CURRENT_LIST_DIR}/drivers/run_program.cmake
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
set_tests_properties(camview/photogrammetry_job PROPERTIES TIMEOUT 120)

# Steps out of order or on a wrong name fail with the reason, and a job whose
# photographs all come from one station intersects nothing: the solve step
# then fails naming every check target it could not recover.
set(CAMVIEW_PHOTOGRAMMETRY_BAD ${PROJECT_BINARY_DIR}/camview-photogrammetry-bad)
add_test(NAME camview/photogrammetry_one_station_fails
  COMMAND ${CMAKE_COMMAND}
    -DPROGRAM=$<TARGET_FILE:camview>
    -DARGS=--script|${CAMVIEW_PHOTOGRAMMETRY_BAD}/one_station.txt|--points|${PROJECT_SOURCE_DIR}/examples/photogrammetry_site.csv|--out|${CAMVIEW_PHOTOGRAMMETRY_BAD}/out
    -DCLEAN_DIR=${CAMVIEW_PHOTOGRAMMETRY_BAD}
    -DWRITE_FILE=${CAMVIEW_PHOTOGRAMMETRY_BAD}/one_station.txt
    "-DWRITE_TEXT=project-photo\\nstation STNX\\nboards 0.5 40\\ncamera 1\\nproject-new Site\\nstation STNA\\nturn 88.6 30\\nproject-photo\\nturn 88.6 36\\nproject-photo\\nproject-solve\\n"
    -DEXPECT_RC=nonzero
    "-DEXPECT_OUT=project-photo +FAIL no project.*station STNX +FAIL no station .*project-photo +ok +photo P002: .*project-solve +FAIL 2 of 2 photos solved, 0 points intersected; beyond 5 mm: T1 not intersected.*T6 not intersected"
    "-DEXPECT_ERR=3 of 11 steps did not do what they should"
    -P ${CMAKE_CURRENT_LIST_DIR}/drivers/run_program.cmake
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
