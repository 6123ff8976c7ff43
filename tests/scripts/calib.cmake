# surveycam-calib end to end on the example wide camera: its lens is too
# strong for OpenCV's k1 k2 p1 p2 to reproduce within 0.01 px, so a plain
# export is refused naming the model; --fit exports it and reports the
# residual, and the exported file imports back.
if(NOT TARGET surveycam-calib)
  return()
endif()
set(CALIB_RUN ${CMAKE_CURRENT_LIST_DIR}/drivers/run_program.cmake)
set(CALIB_OUT ${PROJECT_BINARY_DIR})
set(CALIB_CMR ${PROJECT_SOURCE_DIR}/examples/camera_wide.cmr)

add_test(NAME calib/refuses_without_fit
  COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:surveycam-calib>
    -DARGS=export|${CALIB_CMR}|${CALIB_OUT}/calib-refused.yml
    -DEXPECT_RC=1 "-DEXPECT_ERR=refused: our model 2 .* differs by up to [0-9.]+ px.*--fit"
    -P ${CALIB_RUN})
add_test(NAME calib/export_fit
  COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:surveycam-calib>
    -DARGS=export|${CALIB_CMR}|${CALIB_OUT}/calib-wide.txt|--fit
    "-DEXPECT_OUT=largest residual [0-9.]+ px" -DEXPECT_FILES=${CALIB_OUT}/calib-wide.txt
    -P ${CALIB_RUN})
add_test(NAME calib/import_back
  COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:surveycam-calib>
    -DARGS=import|${CALIB_OUT}/calib-wide.txt|${CALIB_OUT}/calib-back.cmr|--pixel-size|0.0056|--fit
    "-DEXPECT_OUT=COLMAP|OpenCV's model k1 k2 p1 p2 as our model 2" -DEXPECT_FILES=${CALIB_OUT}/calib-back.cmr
    -P ${CALIB_RUN})
set_tests_properties(calib/refuses_without_fit calib/export_fit calib/import_back PROPERTIES RESOURCE_LOCK calib_out)
set_tests_properties(calib/export_fit PROPERTIES DEPENDS calib/refuses_without_fit)
set_tests_properties(calib/import_back PROPERTIES DEPENDS calib/export_fit)
