# camview on real video: GStreamer records a second of scrolling SMPTE bars
# at test time, camview replays it as both cameras (the default session
# ends well, the steps needing the simulator say they were not judged), the
# snapshot JPEG shows the frame on screen when it was saved, and auto
# exposure brings a dimmed replay back. No camera or network is needed.
find_program(SURVEYCAM_GST_LAUNCH gst-launch-1.0)
if(NOT TARGET camview OR NOT SURVEYCAM_GST_LAUNCH)
  return()
endif()

set(GST_OUT ${PROJECT_BINARY_DIR}/camview-gst)
set(GST_VIDEO ${GST_OUT}/field.avi)
set(GST_REPLAY "filesrc location=${GST_VIDEO} ! decodebin")
add_test(NAME camview/gst_record_video
  COMMAND ${SURVEYCAM_GST_LAUNCH} -q
    videotestsrc num-buffers=30 pattern=smpte horizontal-speed=20
    ! video/x-raw,width=640,height=480,framerate=30/1 ! jpegenc ! avimux
    ! filesink location=${GST_VIDEO})
set_tests_properties(camview/gst_record_video PROPERTIES FIXTURES_SETUP gst_video)
file(MAKE_DIRECTORY ${GST_OUT})

add_test(NAME camview/gst_default_session
  COMMAND ${CMAKE_COMMAND}
    -DPROGRAM=$<TARGET_FILE:camview>
    "-DARGS=--source|${GST_REPLAY}|--out|${GST_OUT}/session"
    -DCLEAN_DIR=${GST_OUT}/session
    "-DEXPECT_OUT=films '.*field.avi ! decodebin': playing.*aim .*not judged: camera 0 shows real video.*camview: all [0-9]+ steps done"
    -DFORBID_OUT=FAIL
    -P ${CMAKE_CURRENT_LIST_DIR}/drivers/run_program.cmake
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
set_tests_properties(camview/gst_default_session PROPERTIES
  FIXTURES_REQUIRED gst_video FIXTURES_SETUP gst_session TIMEOUT 300)

find_program(SURVEYCAM_DJPEG djpeg)
if(SURVEYCAM_DJPEG)
  add_test(NAME camview/gst_snapshot_shows_the_screen
    COMMAND ${CMAKE_COMMAND}
      -DDJPEG=${SURVEYCAM_DJPEG} -DJPEG=${GST_OUT}/session/snapshot.jpg
      -DWIDTH=320 -DHEIGHT=240 -DWORK=${GST_OUT}/jpeg
      -DREFERENCE_GLOB=${GST_OUT}/session/*_save.png -DPYTHON=/usr/bin/python3
      -P ${CMAKE_CURRENT_LIST_DIR}/drivers/check_jpeg.cmake)
  set_tests_properties(camview/gst_snapshot_shows_the_screen PROPERTIES
    FIXTURES_REQUIRED gst_session)
endif()

# The replay dimmed to less than half, its last frame held: the exposure
# climbs and settles with the mean near the target of 128.
add_test(NAME camview/gst_exposure_settles_on_a_dimmed_video
  COMMAND ${CMAKE_COMMAND}
    -DPROGRAM=$<TARGET_FILE:camview>
    "-DARGS=--source|1=${GST_REPLAY} ! videobalance contrast=0.4 brightness=-0.3|--at-end|hold|--script|${GST_OUT}/exposure.txt|--out|${GST_OUT}/exposure"
    -DWRITE_FILE=${GST_OUT}/exposure.txt
    "-DWRITE_TEXT=camera 1\\nwait 60\\nexposure 1\\nsettle\\n"
    "-DEXPECT_OUT=settle +ok +exposure 0 -> ([4-9][0-9]|1[0-4][0-9]), settled after [12]?[0-9] ticks \\(mean 1[1-4][0-9]"
    -P ${CMAKE_CURRENT_LIST_DIR}/drivers/run_program.cmake
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
set_tests_properties(camview/gst_exposure_settles_on_a_dimmed_video PROPERTIES
  FIXTURES_REQUIRED gst_video TIMEOUT 120)

# A live test pattern on the wide camera only: the session ends well.
add_test(NAME camview/gst_test_pattern_on_the_wide_camera
  COMMAND ${CMAKE_COMMAND}
    -DPROGRAM=$<TARGET_FILE:camview>
    "-DARGS=--source|1=videotestsrc pattern=smpte|--out|${GST_OUT}/pattern"
    "-DEXPECT_OUT=camera 1 \\(WIDE\\) films 'videotestsrc pattern=smpte': playing.*camview: all [0-9]+ steps done"
    "-DFORBID_OUT=FAIL|camera 0 \\(TELE\\) films"
    -P ${CMAKE_CURRENT_LIST_DIR}/drivers/run_program.cmake
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
set_tests_properties(camview/gst_test_pattern_on_the_wide_camera PROPERTIES TIMEOUT 300)
