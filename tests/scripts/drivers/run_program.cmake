# Runs one program and judges its exit status, its output and the files it
# leaves behind. Used as `cmake -P run_program.cmake` by ctest entries.
#
#   PROGRAM       the program to run
#   ARGS          its arguments (a ;-list, passed as "a|b|c" and split here)
#   EXPECT_RC     the exit status it must give (default 0); "nonzero" for any
#                 status but 0
#   EXPECT_OUT    a regular expression standard output must match
#   EXPECT_ERR    a regular expression standard error must match
#   FORBID_OUT    a regular expression standard output must not match
#   EXPECT_FILES  files that must exist afterwards and be non-empty ("a|b")
#   CLEAN_DIR     a folder removed before the run
#   PNG_DIR, MIN_PNGS  at least MIN_PNGS PNG files must be in PNG_DIR afterwards
#   WRITE_FILE    a file written before the run with WRITE_TEXT ("\n" for line
#                 breaks), for scripts the run reads

foreach(var PROGRAM)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "run_program: ${var} is not set")
  endif()
endforeach()
if(NOT DEFINED EXPECT_RC)
  set(EXPECT_RC 0)
endif()
string(REPLACE "|" ";" args "${ARGS}")
string(REPLACE "|" ";" files "${EXPECT_FILES}")

if(CLEAN_DIR)
  file(REMOVE_RECURSE "${CLEAN_DIR}")
endif()
if(WRITE_FILE)
  string(REPLACE "\\n" "\n" text "${WRITE_TEXT}")
  file(WRITE "${WRITE_FILE}" "${text}")
endif()

execute_process(COMMAND "${PROGRAM}" ${args}
  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err TIMEOUT 300)
message("--- exit status: ${rc}")
message("--- standard output:\n${out}")
message("--- standard error:\n${err}")

set(failures "")
if(EXPECT_RC STREQUAL "nonzero")
  if(rc STREQUAL "0" OR NOT rc MATCHES "^[0-9]+$")
    list(APPEND failures "exit status ${rc}, expected a failure status")
  endif()
elseif(NOT rc STREQUAL "${EXPECT_RC}")
  list(APPEND failures "exit status ${rc}, expected ${EXPECT_RC}")
endif()
if(DEFINED EXPECT_OUT AND NOT out MATCHES "${EXPECT_OUT}")
  list(APPEND failures "standard output does not match '${EXPECT_OUT}'")
endif()
if(DEFINED EXPECT_ERR AND NOT err MATCHES "${EXPECT_ERR}")
  list(APPEND failures "standard error does not match '${EXPECT_ERR}'")
endif()
if(DEFINED FORBID_OUT AND out MATCHES "${FORBID_OUT}")
  list(APPEND failures "standard output matches '${FORBID_OUT}'")
endif()
foreach(f IN LISTS files)
  if(NOT EXISTS "${f}")
    list(APPEND failures "missing ${f}")
  else()
    file(SIZE "${f}" size)
    if(size EQUAL 0)
      list(APPEND failures "empty ${f}")
    endif()
  endif()
endforeach()

if(PNG_DIR)
  file(GLOB pngs "${PNG_DIR}/*.png")
  list(LENGTH pngs count)
  if(count LESS MIN_PNGS)
    list(APPEND failures "${count} PNG files in ${PNG_DIR}, expected at least ${MIN_PNGS}")
  endif()
endif()

if(failures)
  string(REPLACE ";" "\n  " text "${failures}")
  message(FATAL_ERROR "run_program: ${PROGRAM}:\n  ${text}")
endif()
