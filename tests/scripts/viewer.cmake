# The camview viewer under Xvfb, driven by xdotool (see viewer_test.sh). It
# is skipped (status 77) only where Xvfb or xdotool is not installed; a build
# without SDL2 has no viewer and no test.
if(NOT TARGET camview)
  return()
endif()
get_target_property(camview_definitions camview COMPILE_DEFINITIONS)
if(NOT "${camview_definitions}" MATCHES "SURVEYCAM_HAVE_SDL2")
  return()
endif()

add_test(NAME camview/viewer_under_xvfb
  COMMAND bash ${CMAKE_CURRENT_LIST_DIR}/viewer_test.sh $<TARGET_FILE:camview> ${PROJECT_BINARY_DIR}/viewer-out
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
set_tests_properties(camview/viewer_under_xvfb PROPERTIES
  SKIP_RETURN_CODE 77 TIMEOUT 60 RESOURCE_LOCK viewer_out)
