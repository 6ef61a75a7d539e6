# Compares the dynamic symbols that the shared library defines with the
# committed list, so that every change of the exported interface is made on
# purpose. Fails, whatever the list says, for a symbol of an internal
# namespace or of pugixml.
#
#   cmake -DNM=nm -DLIBRARY=<libtympora.so> -DLIST=<abi/libtympora.symbols> -P check_symbols.cmake
#
# With -DUPDATE=ON it writes the library's symbols into LIST instead; commit
# the new list together with the change of the interface.
cmake_policy(SET CMP0007 NEW)
foreach(var NM LIBRARY LIST)
  if(NOT ${var})
    message(FATAL_ERROR "check_symbols.cmake: ${var} is not set")
  endif()
endforeach()

execute_process(COMMAND ${NM} -D --defined-only -C ${LIBRARY}
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${NM} failed on ${LIBRARY}: ${err}")
endif()
# "<address> <type> <name>": keep the names. Semicolons (none in C++ names
# but guarded all the same) would split the CMake list.
string(REPLACE ";" "\\;" out "${out}")
string(REGEX REPLACE "[0-9a-fA-F]+ [A-Za-z] ([^\n]*)" "\\1" out "${out}")
string(REPLACE "\n" ";" names "${out}")
list(FILTER names EXCLUDE REGEX "^$")
list(SORT names)
list(REMOVE_DUPLICATES names)

set(forbidden "")
foreach(name IN LISTS names)
  if(name MATCHES "tympora::detail::|tympora::component::|testing_hooks|pugi")
    string(APPEND forbidden "  ${name}\n")
  endif()
endforeach()
if(forbidden)
  message(FATAL_ERROR "internal symbols are exported:\n${forbidden}")
endif()

list(LENGTH names count)
string(REPLACE ";" "\n" text "${names}")
if(UPDATE)
  file(WRITE ${LIST} "${text}\n")
  message(STATUS "${count} symbols written to ${LIST}")
  return()
endif()

file(STRINGS ${LIST} expected)
set(added ${names})
list(REMOVE_ITEM added ${expected})
set(removed ${expected})
list(REMOVE_ITEM removed ${names})
if(added OR removed)
  string(REPLACE ";" "\n  " added "${added}")
  string(REPLACE ";" "\n  " removed "${removed}")
  message(FATAL_ERROR "the exported symbols differ from ${LIST}\n"
          "exported but not listed:\n  ${added}\nlisted but not exported:\n  ${removed}\n"
          "If the change is meant, regenerate the list (README, Installing) and commit it.")
endif()
message(STATUS "${count} exported symbols, as listed")
