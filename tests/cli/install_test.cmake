# Installs a build into a prefix of its own and builds a host against it as a
# user of the library would: examples/ through find_package(tympora), and
# examples/host.cpp alone through pkg-config. Also checks what the install
# holds (the soname and its links, the tool, package files that do not ask
# for pugixml) and that the README shows the example exactly as it is.
#
# cmake -DBUILD_DIR=<build> -DSOURCE_DIR=<repo> -DWORK_DIR=<scratch> -DCXX=<compiler>
#       -DVERSION=<x.y.z> [-DSANITIZE=<sanitizers>] [-DSTATIC=ON] -P install_test.cmake
#
# STATIC: the build made the static library (BUILD_SHARED_LIBS OFF); the
# checks of the soname and of package files without pugixml do not apply.

foreach(var BUILD_DIR SOURCE_DIR WORK_DIR CXX VERSION)
  if(NOT ${var})
    message(FATAL_ERROR "install_test.cmake: ${var} is not set")
  endif()
endforeach()

# Runs a command; stops with its output when it fails. Leaves the output in
# RUN_OUTPUT.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}")
  endif()
  set(RUN_OUTPUT "${out}" PARENT_SCOPE)
endfunction()


file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

if(STATIC)
  file(GLOB library ${prefix}/lib*/libtympora.a ${prefix}/lib/*/libtympora.a)
  list(LENGTH library found)
  if(NOT found EQUAL 1)
    message(FATAL_ERROR "libtympora.a is not installed once: '${library}'")
  endif()
  get_filename_component(libdir ${library} DIRECTORY)
else()
# The library with its soname and links, the headers, the tool.
file(GLOB library ${prefix}/lib*/libtympora.so.${VERSION} ${prefix}/lib/*/libtympora.so.${VERSION})
list(LENGTH library found)
if(NOT found EQUAL 1)
  message(FATAL_ERROR "libtympora.so.${VERSION} is not installed once: '${library}'")
endif()
get_filename_component(libdir ${library} DIRECTORY)
string(REGEX MATCH "^[0-9]+\\.[0-9]+" soversion ${VERSION})
foreach(link libtympora.so libtympora.so.${soversion})
  if(NOT IS_SYMLINK ${libdir}/${link})
    message(FATAL_ERROR "${link} is not a link in ${libdir}")
  endif()
endforeach()
run(readelf -d ${library})
string(REPLACE "." "\\." soname_pattern "libtympora.so.${soversion}")
if(NOT RUN_OUTPUT MATCHES "\\(SONAME\\)[^\n]*\\[${soname_pattern}\\]")
  message(FATAL_ERROR "the soname is not libtympora.so.${soversion}:\n${RUN_OUTPUT}")
endif()
endif()
if(NOT EXISTS ${prefix}/include/tympora/records/clients.hpp
   OR NOT EXISTS ${prefix}/include/tympora/version.h)
  message(FATAL_ERROR "the headers are not installed")
endif()
run(${prefix}/bin/tympora --version)
if(NOT RUN_OUTPUT STREQUAL "tympora ${VERSION}\n")
  message(FATAL_ERROR "the installed tool says '${RUN_OUTPUT}'")
endif()

# Testing hooks are not installed.
if(EXISTS ${prefix}/include/tympora/node/dom_testing.hpp)
  message(FATAL_ERROR "a testing-only header is installed")
endif()

# Consumers of the shared library never need pugixml: not in the headers, not
# in the package files.
set(installed_text "")
if(NOT STATIC)
  file(GLOB_RECURSE installed_text ${prefix}/include/* ${libdir}/cmake/* ${libdir}/pkgconfig/*)
endif()
foreach(f ${installed_text})
  file(READ ${f} text)
  string(TOLOWER "${text}" text)
  if(text MATCHES "pugi")
    message(FATAL_ERROR "${f} mentions pugixml")
  endif()
endforeach()

# The README's host example is examples/host.cpp, word for word.
file(READ ${SOURCE_DIR}/examples/host.cpp host_source)
file(READ ${SOURCE_DIR}/README.md readme)
string(FIND "${readme}" "```cpp\n${host_source}```" at)
if(at EQUAL -1)
  message(FATAL_ERROR "README.md does not show examples/host.cpp as it is")
endif()
file(READ ${SOURCE_DIR}/examples/host.c host_c_source)
string(FIND "${readme}" "```c\n${host_c_source}```" at)
if(at EQUAL -1)
  message(FATAL_ERROR "README.md does not show examples/host.c as it is")
endif()

# A host built with CMake against the package.
set(flags "")
if(SANITIZE)
  set(flags "-fsanitize=${SANITIZE}")
endif()
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples -B ${WORK_DIR}/cmake -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${flags}" -DCMAKE_BUILD_TYPE=Debug)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake)
run(${WORK_DIR}/cmake/host ${WORK_DIR}/cmake.xml)
if(NOT RUN_OUTPUT STREQUAL "1 client(s) read back from ${WORK_DIR}/cmake.xml\nstatus 0\n")
  message(FATAL_ERROR "the CMake-built host printed:\n${RUN_OUTPUT}")
endif()

# The same host built with pkg-config's flags.
set(ENV{PKG_CONFIG_PATH} ${libdir}/pkgconfig)
set(pc_static "")
if(STATIC)
  set(pc_static --static)
endif()
run(pkg-config ${pc_static} --cflags --libs tympora)
separate_arguments(pc_flags UNIX_COMMAND "${RUN_OUTPUT}")
run(${CXX} -std=c++20 ${flags} ${SOURCE_DIR}/examples/host.cpp ${pc_flags} -Wl,-rpath,${libdir}
    -o ${WORK_DIR}/host_pc)
run(${WORK_DIR}/host_pc ${WORK_DIR}/pc.xml)
if(NOT RUN_OUTPUT MATCHES "\nstatus 0\n$")
  message(FATAL_ERROR "the pkg-config-built host printed:\n${RUN_OUTPUT}")
endif()

file(REMOVE_RECURSE ${WORK_DIR})
