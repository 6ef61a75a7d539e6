# tympora/version.h, generated from the project's version into the build
# folder and installed with the other public headers.
set(TYMPORA_GENERATED_INCLUDE ${PROJECT_BINARY_DIR}/generated/include)
configure_file(${CMAKE_CURRENT_LIST_DIR}/version.h.in
               ${TYMPORA_GENERATED_INCLUDE}/tympora/version.h @ONLY)
