# The installed package as a consumer sees it. Run with cmake -P; STEP says
# what to do:
#   install    install BUILD_DIR into PREFIX (afresh) and check the tree: the
#              library with its versioned SONAME and links, the headers, the
#              CMake package and the pkg-config file
#   cmake      configure, build and run the consumer in CONSUMER_SOURCE with
#              find_package(surveycam) against PREFIX; with HOST_EXAMPLE also
#              build that program and run it on the module folder MODULE_DIR
#   pkgconfig  compile the consumer with the flags pkg-config gives for PREFIX
# Other variables: WORK (scratch folder), CXX, CXX_FLAGS, GENERATOR, VERSION.

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  message("$ ${ARGN}\n${out}${err}")
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed with status ${rc}: ${ARGN}")
  endif()
  set(run_output "${out}" PARENT_SCOPE)
endfunction()

function(expect_file path)
  if(NOT EXISTS "${path}")
    message(FATAL_ERROR "the installed tree lacks ${path}")
  endif()
endfunction()

string(REPLACE "|" ";" cxx_flags "${CXX_FLAGS}")
string(REPLACE ";" " " cxx_flags_string "${cxx_flags}")
string(REGEX MATCH "^[0-9]+" major "${VERSION}")

if(STEP STREQUAL "install")
  file(REMOVE_RECURSE "${PREFIX}")
  run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${PREFIX}")
  set(lib "${PREFIX}/lib/libsurveycam.so")
  expect_file("${lib}.${VERSION}")
  file(READ_SYMLINK "${lib}" link)
  file(READ_SYMLINK "${lib}.${major}" soname_link)
  if(NOT link STREQUAL "libsurveycam.so.${major}" OR NOT soname_link STREQUAL "libsurveycam.so.${VERSION}")
    message(FATAL_ERROR "library links: libsurveycam.so -> ${link}, libsurveycam.so.${major} -> ${soname_link}")
  endif()
  find_program(READELF readelf)
  if(READELF)
    run(${READELF} -d "${lib}.${VERSION}")
    if(NOT run_output MATCHES "SONAME\\)[^\n]*\\[libsurveycam\\.so\\.${major}\\]")
      message(FATAL_ERROR "the library's SONAME is not libsurveycam.so.${major}")
    endif()
  endif()
  foreach(header surveycam.h platform/platform.h geometry/geometry.h camera/camera_all.h
      projection/projection_all.h image/image_all.h corner/corner_all.h pointfiles/pointfiles_all.h photogrammetry/photogrammetry_all.h storage/storage_all.h
      liveview/liveview_all.h liveview/capture_wnd.h)
    expect_file("${PREFIX}/include/surveycam/${header}")
  endforeach()
  expect_file("${PREFIX}/lib/cmake/surveycam/surveycamConfig.cmake")
  expect_file("${PREFIX}/lib/cmake/surveycam/surveycamConfigVersion.cmake")
  expect_file("${PREFIX}/lib/pkgconfig/surveycam.pc")
  expect_file("${PREFIX}/lib/surveycam/modules/JPEG_LIB.so")
  # Every installed header compiles on its own: each includes what it needs.
  file(GLOB_RECURSE headers RELATIVE "${PREFIX}/include/surveycam" "${PREFIX}/include/surveycam/*.h")
  file(MAKE_DIRECTORY "${WORK}")
  set(all "")
  foreach(h IN LISTS headers)
    string(MAKE_C_IDENTIFIER "${h}" id)
    file(WRITE "${WORK}/${id}.cpp" "#include \"${h}\"\n#include \"${h}\"\n")
    list(APPEND all "${WORK}/${id}.cpp")
  endforeach()
  list(LENGTH headers count)
  message(STATUS "compiling ${count} installed headers one by one")
  run(${CXX} -std=c++20 -fsyntax-only -Wall -Wextra -Werror -I${PREFIX}/include/surveycam ${all})
elseif(STEP STREQUAL "cmake")
  file(REMOVE_RECURSE "${WORK}")
  set(configure ${CMAKE_COMMAND} -S "${CONSUMER_SOURCE}" -B "${WORK}/build" -G "${GENERATOR}"
    "-DCMAKE_PREFIX_PATH=${PREFIX}" "-DCMAKE_CXX_COMPILER=${CXX}" "-DCMAKE_CXX_FLAGS=${cxx_flags_string}"
    -DCMAKE_BUILD_TYPE=RelWithDebInfo)
  if(HOST_EXAMPLE)
    list(APPEND configure "-DSURVEYCAM_HOST_EXAMPLE=${HOST_EXAMPLE}")
  endif()
  run(${configure})
  if(NOT run_output MATCHES "surveycam ${VERSION} from ${PREFIX}/lib/cmake/surveycam")
    message(FATAL_ERROR "find_package did not find the installed package in ${PREFIX}")
  endif()
  run(${CMAKE_COMMAND} --build "${WORK}/build")
  run("${WORK}/build/consumer" "${WORK}/run")
  if(HOST_EXAMPLE)
    # The example runs on the installed library and the instrument module of
    # the build tree, which shares that library's platform.
    run("${WORK}/build/host_example" "${MODULE_DIR}" "${WORK}/host_example.png")
    expect_file("${WORK}/host_example.png")
  endif()
elseif(STEP STREQUAL "pkgconfig")
  file(REMOVE_RECURSE "${WORK}")
  file(MAKE_DIRECTORY "${WORK}")
  set(ENV{PKG_CONFIG_PATH} "${PREFIX}/lib/pkgconfig")
  find_program(PKG_CONFIG pkg-config REQUIRED)
  run(${PKG_CONFIG} --modversion surveycam)
  string(STRIP "${run_output}" version)
  if(NOT version STREQUAL VERSION)
    message(FATAL_ERROR "pkg-config reports version ${version}, expected ${VERSION}")
  endif()
  run(${PKG_CONFIG} --cflags --libs surveycam)
  separate_arguments(flags UNIX_COMMAND "${run_output}")
  # The flags must point into PREFIX wherever it is (the file is relocatable).
  if(NOT run_output MATCHES "-I[^ ]*/include/surveycam" OR NOT run_output MATCHES "-lsurveycam")
    message(FATAL_ERROR "pkg-config flags lack the include folder or the library: ${run_output}")
  endif()
  run(${CXX} -std=c++20 -Wall -Wextra -Werror ${cxx_flags} "${CONSUMER_SOURCE}/main.cpp" ${flags}
    "-Wl,-rpath,${PREFIX}/lib" -o "${WORK}/consumer")
  run("${WORK}/consumer" "${WORK}/run")
else()
  message(FATAL_ERROR "install_consumer: unknown STEP '${STEP}'")
endif()
