# The layering: no file includes a header of a folder above its own, and the
# folders' declared uses have no cycle.
find_package(Python3 COMPONENTS Interpreter REQUIRED)
add_test(NAME layers/includes
  COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/check_layers.py
    ${PROJECT_BINARY_DIR}/layer_uses.txt ${PROJECT_SOURCE_DIR})
