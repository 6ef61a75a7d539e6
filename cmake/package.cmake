# Makes the installed library usable by other projects: the CMake package
# "tympora" (find_package(tympora) gives the target tympora::tympora) and the
# pkg-config file tympora.pc. pugixml stays a private dependency of the
# shared library: the public headers never include it, so neither file asks
# consumers for it. Both files name the licence (MIT).
include(CMakePackageConfigHelpers)

# The public headers are C++20; hosts that link tympora::tympora get it.
target_compile_features(tympora INTERFACE cxx_std_20)

# A static library cannot hide pugixml: there both files name it, for the
# host's link.
get_target_property(TYMPORA_LIBRARY_TYPE tympora TYPE)
set(TYMPORA_CONFIG_DEPENDENCIES "")
set(TYMPORA_PC_PRIVATE "")
if(TYMPORA_LIBRARY_TYPE STREQUAL "STATIC_LIBRARY")
  set(TYMPORA_CONFIG_DEPENDENCIES "include(CMakeFindDependencyMacro)
find_dependency(PkgConfig)
pkg_check_modules(PUGIXML REQUIRED IMPORTED_TARGET pugixml)")
  set(TYMPORA_PC_PRIVATE "Requires.private: pugixml")
endif()

set(TYMPORA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/tympora)
install(EXPORT tymporaTargets NAMESPACE tympora:: DESTINATION ${TYMPORA_CMAKE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/tymporaConfig.cmake.in
  ${PROJECT_BINARY_DIR}/tymporaConfig.cmake
  INSTALL_DESTINATION ${TYMPORA_CMAKE_DIR})
# The soname carries major and minor version, so only the same minor version
# is compatible.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tymporaConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tymporaConfig.cmake
              ${PROJECT_BINARY_DIR}/tymporaConfigVersion.cmake
        DESTINATION ${TYMPORA_CMAKE_DIR})

# The .pc file finds the prefix from its own location, so that an install
# into any prefix (cmake --install --prefix) gives correct paths.
file(RELATIVE_PATH TYMPORA_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" TYMPORA_PC_TO_PREFIX "${TYMPORA_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/tympora.pc.in ${PROJECT_BINARY_DIR}/tympora.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tympora.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
