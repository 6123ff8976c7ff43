# The installed package: `cmake --install` into a prefix inside the build
# tree, then a consumer built against it with find_package and with
# pkg-config, and the host example of docs/ built and run the same way.
set(INSTALL_TEST_DRIVER ${CMAKE_CURRENT_LIST_DIR}/drivers/install_consumer.cmake)
set(INSTALL_TEST_PREFIX ${PROJECT_BINARY_DIR}/install-test/prefix)
set(INSTALL_TEST_FLAGS "")
if(SURVEYCAM_SANITIZE)
  set(INSTALL_TEST_FLAGS "-fsanitize=address,undefined|-fno-omit-frame-pointer")
endif()
set(INSTALL_TEST_ARGS
  -DBUILD_DIR=${PROJECT_BINARY_DIR}
  -DPREFIX=${INSTALL_TEST_PREFIX}
  -DCONSUMER_SOURCE=${PROJECT_SOURCE_DIR}/tests/install/consumer
  -DCXX=${CMAKE_CXX_COMPILER}
  -DCXX_FLAGS=${INSTALL_TEST_FLAGS}
  -DGENERATOR=${CMAKE_GENERATOR}
  -DVERSION=${PROJECT_VERSION})

add_test(NAME install/tree
  COMMAND ${CMAKE_COMMAND} -DSTEP=install -DWORK=${PROJECT_BINARY_DIR}/install-test/headers
    ${INSTALL_TEST_ARGS} -P ${INSTALL_TEST_DRIVER})
set_tests_properties(install/tree PROPERTIES FIXTURES_SETUP surveycam_installed TIMEOUT 300)

set(INSTALL_TEST_EXAMPLE "")
if(TARGET SIMINST)
  set(INSTALL_TEST_EXAMPLE -DHOST_EXAMPLE=${PROJECT_SOURCE_DIR}/docs/host_example.cpp
    -DMODULE_DIR=$<TARGET_FILE_DIR:SIMINST>)
endif()
add_test(NAME install/find_package_consumer
  COMMAND ${CMAKE_COMMAND} -DSTEP=cmake -DWORK=${PROJECT_BINARY_DIR}/install-test/cmake-consumer
    ${INSTALL_TEST_ARGS} ${INSTALL_TEST_EXAMPLE} -P ${INSTALL_TEST_DRIVER})
add_test(NAME install/pkgconfig_consumer
  COMMAND ${CMAKE_COMMAND} -DSTEP=pkgconfig -DWORK=${PROJECT_BINARY_DIR}/install-test/pkgconfig-consumer
    ${INSTALL_TEST_ARGS} -P ${INSTALL_TEST_DRIVER})
set_tests_properties(install/find_package_consumer install/pkgconfig_consumer PROPERTIES
  FIXTURES_REQUIRED surveycam_installed TIMEOUT 300)
