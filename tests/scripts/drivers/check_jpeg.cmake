# Proves that a JPEG file written by camview is a real JPEG: libjpeg-turbo's
# own djpeg decodes it to a PPM of the expected size whose pixels are not all
# alike. When a reference screenshot is given and Python with PIL is there,
# the decoded picture must also look like that screenshot (what the screen
# showed when the picture was saved), within what JPEG coding changes.
#
#   DJPEG       the djpeg program
#   JPEG        the file to decode
#   WIDTH, HEIGHT  the expected size
#   WORK        a scratch folder
#   REFERENCE_GLOB  optional: a glob for the reference PNG (first match)
#   PYTHON      optional: a Python 3 with PIL

file(MAKE_DIRECTORY "${WORK}")
set(ppm "${WORK}/decoded.ppm")
file(REMOVE "${ppm}")
execute_process(COMMAND "${DJPEG}" -pnm -outfile "${ppm}" "${JPEG}"
  RESULT_VARIABLE rc ERROR_VARIABLE err)
if(NOT rc EQUAL 0 OR NOT EXISTS "${ppm}")
  message(FATAL_ERROR "djpeg could not decode ${JPEG} (status ${rc}): ${err}")
endif()
if(err)
  message(FATAL_ERROR "djpeg warned while decoding ${JPEG}: ${err}")
endif()

# The PPM header: "P6", width, height, 255, each followed by one blank.
file(READ "${ppm}" header LIMIT 32)
if(NOT header MATCHES "^P6[ \n]+([0-9]+)[ \n]+([0-9]+)[ \n]+255\n")
  message(FATAL_ERROR "djpeg did not produce a colour PPM: '${header}'")
endif()
if(NOT CMAKE_MATCH_1 EQUAL WIDTH OR NOT CMAKE_MATCH_2 EQUAL HEIGHT)
  message(FATAL_ERROR "decoded ${CMAKE_MATCH_1} x ${CMAKE_MATCH_2}, expected ${WIDTH} x ${HEIGHT}")
endif()
string(LENGTH "${CMAKE_MATCH_0}" header_size)
file(SIZE "${ppm}" size)
math(EXPR expected "${header_size} + ${WIDTH} * ${HEIGHT} * 3")
if(NOT size EQUAL expected)
  message(FATAL_ERROR "decoded file has ${size} bytes, expected ${expected}")
endif()

# Not one flat colour: removing every copy of the first pixel leaves pixels.
file(READ "${ppm}" pixels OFFSET ${header_size} HEX)
string(SUBSTRING "${pixels}" 0 6 first)
string(REPLACE "${first}" "" others "${pixels}")
string(LENGTH "${others}" left)
if(left LESS 600)
  message(FATAL_ERROR "the decoded picture is (nearly) one colour, #${first}")
endif()
message(STATUS "${JPEG}: ${WIDTH} x ${HEIGHT}, decoded by djpeg")

if(REFERENCE_GLOB AND PYTHON)
  file(GLOB references "${REFERENCE_GLOB}")
  if(NOT references)
    message(FATAL_ERROR "no reference screenshot matches ${REFERENCE_GLOB}")
  endif()
  list(GET references 0 reference)
  execute_process(COMMAND "${PYTHON}" -c "import PIL" RESULT_VARIABLE has_pil OUTPUT_QUIET ERROR_QUIET)
  if(NOT has_pil EQUAL 0)
    message(STATUS "PIL missing: the comparison with ${reference} is left out")
    return()
  endif()
  # Mean absolute difference per channel, 0..255. JPEG at the writer's
  # quality changes a picture like this by a few levels; the cursor drawn
  # over the screenshot adds a little; a different picture is tens away.
  execute_process(COMMAND "${PYTHON}" -c "
import sys
from PIL import Image, ImageChops, ImageStat
a = Image.open(sys.argv[1]).convert('RGB')
b = Image.open(sys.argv[2]).convert('RGB')
if a.size != b.size:
    sys.exit('sizes differ: %s %s' % (a.size, b.size))
print(max(ImageStat.Stat(ImageChops.difference(a, b)).mean))
" "${ppm}" "${reference}" RESULT_VARIABLE rc OUTPUT_VARIABLE diff ERROR_VARIABLE err
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "comparison with ${reference} failed: ${err}")
  endif()
  message(STATUS "mean difference from ${reference}: ${diff}")
  if(diff GREATER 6)
    message(FATAL_ERROR "the JPEG does not show the screen of ${reference} (mean difference ${diff})")
  endif()
endif()
