# Installation, the CMake package, the pkg-config file, and packages: .deb on Linux, a zip for Windows.
# Components: runtime (the shared library), development (headers and what links), program.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS kvnum EXPORT kvnum_targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY include/kvnum DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/kvnum)
install(EXPORT kvnum_targets FILE kvnumConfig.cmake NAMESPACE kvnum:: DESTINATION ${package_folder}
  COMPONENT development)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/kvnumConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/kvnumConfigVersion.cmake DESTINATION ${package_folder} COMPONENT development)

# The prefix follows the place of the file itself, so that an installed tree can be moved.
file(RELATIVE_PATH pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pc_prefix ${pc_prefix})
configure_file(cmake/kvnum.pc.in kvnum.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/kvnum.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(WIN32)
  install(FILES ${CMAKE_BINARY_DIR}/kvnum.def DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
  install(FILES README.md DESTINATION . COMPONENT program)
endif()
if(KVNUM_PROGRAM)
  file(RELATIVE_PATH to_libraries /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(kvnum_program PROPERTIES INSTALL_RPATH "$ORIGIN/${to_libraries}")
  install(TARGETS kvnum_program RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
endif()

set(CPACK_PACKAGE_NAME kvnum)
set(CPACK_PACKAGE_VENDOR kvnum)
set(CPACK_PACKAGE_CONTACT "kvnum developers <kvnum@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "multi-precision arithmetic on every core")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development program)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME kvnum-${PROJECT_VERSION}-win64)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkvnum0)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libc6, libgcc-s1, libstdc++6")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkvnum-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libkvnum0 (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME kvnum)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION math)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "libkvnum0 (= ${PROJECT_VERSION}), libfmt9, libc6, libgcc-s1, libstdc++6")
endif()
include(CPack)
