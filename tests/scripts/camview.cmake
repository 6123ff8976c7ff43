# camview end to end: the default session, --help, bad input, a user's
# session script, and the snapshot JPEG read back by libjpeg-turbo's djpeg.
if(NOT TARGET camview)
  return()
endif()

set(CAMVIEW_RUN ${CMAKE_CURRENT_LIST_DIR}/drivers/run_program.cmake)
set(CAMVIEW_TEST_OUT ${PROJECT_BINARY_DIR}/camview-out)

# The default session: every step must pass, leaving a screenshot per step,
# the saved snapshot and both exported calibration files.
add_test(NAME camview/default_session
  COMMAND ${CMAKE_COMMAND}
    -DPROGRAM=$<TARGET_FILE:camview>
    -DARGS=--out|${CAMVIEW_TEST_OUT}
    -DCLEAN_DIR=${CAMVIEW_TEST_OUT}
    "-DEXPECT_OUT=camview: all [0-9]+ steps done"
    -DFORBID_OUT=FAIL
    -DEXPECT_FILES=${CAMVIEW_TEST_OUT}/00_start.png|${CAMVIEW_TEST_OUT}/snapshot.jpg|${CAMVIEW_TEST_OUT}/camera_wide.cmr|${CAMVIEW_TEST_OUT}/orient.txt
    -DPNG_DIR=${CAMVIEW_TEST_OUT} -DMIN_PNGS=10
    -P ${CAMVIEW_RUN}
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
set_tests_properties(camview/default_session PROPERTIES
  FIXTURES_SETUP camview_session TIMEOUT 300 RESOURCE_LOCK camview_out)

# The saved snapshot decodes with djpeg and shows what the screen showed
# when the session froze the picture.
find_program(SURVEYCAM_DJPEG djpeg)
if(SURVEYCAM_DJPEG)
  add_test(NAME camview/snapshot_is_a_jpeg
    COMMAND ${CMAKE_COMMAND}
      -DDJPEG=${SURVEYCAM_DJPEG}
      -DJPEG=${CAMVIEW_TEST_OUT}/snapshot.jpg
      -DWIDTH=320 -DHEIGHT=240
      -DWORK=${PROJECT_BINARY_DIR}/camview-jpeg
      -DREFERENCE_GLOB=${CAMVIEW_TEST_OUT}/*_snapshot.png
      -DPYTHON=/usr/bin/python3
      -P ${CMAKE_CURRENT_LIST_DIR}/drivers/check_jpeg.cmake)
  set_tests_properties(camview/snapshot_is_a_jpeg PROPERTIES
    FIXTURES_REQUIRED camview_session RESOURCE_LOCK camview_out)
endif()

add_test(NAME camview/help
  COMMAND ${CMAKE_COMMAND}
    -DPROGRAM=$<TARGET_FILE:camview> -DARGS=--help
    "-DEXPECT_OUT=Usage: camview.*--script FILE.*Session script:.*Viewer keys"
    -P ${CAMVIEW_RUN})

# Bad input stops before anything runs, with a message naming the fault.
set(CAMVIEW_BAD_SCRIPT ${PROJECT_BINARY_DIR}/camview-bad/bad_session.txt)
add_test(NAME camview/bad_script_unknown_step
  COMMAND ${CMAKE_COMMAND}
    -DPROGRAM=$<TARGET_FILE:camview>
    -DARGS=--script|${CAMVIEW_BAD_SCRIPT}|--out|${PROJECT_BINARY_DIR}/camview-bad/out
    -DWRITE_FILE=${CAMVIEW_BAD_SCRIPT}
    "-DWRITE_TEXT=turn 90 30\\ncamera 0\\njump 3\\n"
    -DEXPECT_RC=nonzero
    "-DEXPECT_ERR=bad_session.txt: line 3: unknown step 'jump'"
    "-DFORBID_OUT=00 start"
    -P ${CAMVIEW_RUN})
add_test(NAME camview/bad_script_argument
  COMMAND ${CMAKE_COMMAND}
    -DPROGRAM=$<TARGET_FILE:camview>
    -DARGS=--script|${PROJECT_BINARY_DIR}/camview-bad/bad_argument.txt|--out|${PROJECT_BINARY_DIR}/camview-bad/out
    -DWRITE_FILE=${PROJECT_BINARY_DIR}/camview-bad/bad_argument.txt
    "-DWRITE_TEXT=# level\\nturn ninety 30\\n"
    -DEXPECT_RC=nonzero
    "-DEXPECT_ERR=line 2: 'ninety' is not a number"
    -P ${CAMVIEW_RUN})
add_test(NAME camview/missing_script
  COMMAND ${CMAKE_COMMAND}
    -DPROGRAM=$<TARGET_FILE:camview>
    -DARGS=--script|${PROJECT_BINARY_DIR}/camview-bad/no_such_session.txt
    -DEXPECT_RC=nonzero
    "-DEXPECT_ERR=cannot read the script .*no_such_session.txt"
    -P ${CAMVIEW_RUN})
add_test(NAME camview/unknown_option
  COMMAND ${CMAKE_COMMAND}
    -DPROGRAM=$<TARGET_FILE:camview> -DARGS=--frobnicate
    -DEXPECT_RC=nonzero
    "-DEXPECT_ERR=unknown option --frobnicate"
    -P ${CAMVIEW_RUN})
set_tests_properties(camview/bad_script_unknown_step camview/bad_script_argument PROPERTIES
  RESOURCE_LOCK camview_bad)

# A user's own session script from examples/sessions.
set(CAMVIEW_EXPOSURE_OUT ${PROJECT_BINARY_DIR}/camview-exposure)
add_test(NAME camview/user_script_exposure
  COMMAND ${CMAKE_COMMAND}
    -DPROGRAM=$<TARGET_FILE:camview>
    -DARGS=--script|${PROJECT_SOURCE_DIR}/examples/sessions/exposure.txt|--out|${CAMVIEW_EXPOSURE_OUT}
    -DCLEAN_DIR=${CAMVIEW_EXPOSURE_OUT}
    "-DEXPECT_OUT=settle +ok +exposure .*settle +ok +exposure .*save +ok +saved .*camview: all [0-9]+ steps done"
    -DFORBID_OUT=FAIL
    -DEXPECT_FILES=${CAMVIEW_EXPOSURE_OUT}/tele_t4_zoomed.png|${CAMVIEW_EXPOSURE_OUT}/bright_settled.png|${CAMVIEW_EXPOSURE_OUT}/dark_settled.png|${CAMVIEW_EXPOSURE_OUT}/snapshot.jpg
    -P ${CAMVIEW_RUN}
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
set_tests_properties(camview/user_script_exposure PROPERTIES TIMEOUT 300)
