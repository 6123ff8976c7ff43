# Small helpers shared by every folder's build.

# One layer of the library: an object library of the folder's sources that
# may use only the layers named in BELOW (and, through them, the layers they
# use). The objects of every layer make up libsurveycam.so; the allowed uses
# are written to the build tree, where the include check reads them. HEADERS
# are the folder's public headers, the ones installed; the others stay inside.
function(surveycam_layer name)
  cmake_parse_arguments(LAYER "" "" "HEADERS;SOURCES;BELOW" ${ARGN})
  set(target surveycam_${name})
  add_library(${target} OBJECT ${LAYER_SOURCES})
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
  target_compile_definitions(${target} PRIVATE SURVEYCAM_BUILDING_LIBRARY)
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  foreach(below IN LISTS LAYER_BELOW)
    target_link_libraries(${target} PUBLIC surveycam_${below})
  endforeach()
  surveycam_warnings(${target})
  install(FILES ${LAYER_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/surveycam/${name})
  surveycam_record_uses(${name} ${LAYER_BELOW})
endfunction()

# Records which folders the folder `name` may include headers from.
function(surveycam_record_uses name)
  list(JOIN ARGN " " uses)
  set_property(GLOBAL APPEND PROPERTY SURVEYCAM_LAYER_USES "${name}: ${uses}")
endfunction()

# Turns warnings on for one of our targets.
function(surveycam_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  # GCC notes that passing 32-byte vectors changed ABI long ago; the filters'
  # vector helpers are internal and inlined, so no interface is affected.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE -Wno-psabi)
  endif()
endfunction()

# One GoogleTest executable for a tests/ sub-folder; its tests are named
# subsystem/Suite.Case in ctest.
function(surveycam_add_test_folder subsystem)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${subsystem}/*.cpp)
  if(NOT sources)
    return()
  endif()
  set(target test_${subsystem})
  add_executable(${target} ${sources})
  target_link_libraries(${target} PRIVATE surveycam_test_support ${ARGN} GTest::gtest GTest::gmock GTest::gtest_main)
  surveycam_warnings(${target})
  gtest_discover_tests(${target} TEST_PREFIX "${subsystem}/"
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
    PROPERTIES ENVIRONMENT "SURVEYCAM_SOURCE_DIR=${PROJECT_SOURCE_DIR}"
    DISCOVERY_TIMEOUT 60)
endfunction()
