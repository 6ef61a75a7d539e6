# Writes the file format's documentation whole: the page as written
# (docs/file-format.md), then the record tables as `tympora schema --markdown`
# prints them from the tables themselves.
#
#   cmake -DTOOL=<tympora> -DPAGE=<docs/file-format.md> -DOUT=<page> -P doc_page.cmake
foreach(var TOOL PAGE OUT)
  if(NOT ${var})
    message(FATAL_ERROR "doc_page.cmake: ${var} is not set")
  endif()
endforeach()

execute_process(COMMAND ${TOOL} schema --markdown
                RESULT_VARIABLE rc OUTPUT_VARIABLE tables ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${TOOL} schema --markdown failed: ${err}")
endif()
file(READ ${PAGE} page)
file(WRITE ${OUT} "${page}${tables}")
