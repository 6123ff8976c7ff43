# Small helpers shared by every folder's build.

# Collects the .cpp files of the given library folders into OUT.
function(surveycam_library_sources OUT)
  set(all "")
  foreach(dir IN LISTS ARGN)
    file(GLOB files CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${dir}/*.cpp)
    list(APPEND all ${files})
  endforeach()
  set(${OUT} ${all} PARENT_SCOPE)
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
