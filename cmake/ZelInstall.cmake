# cmake --install: the library with its headers, a CMake package and a pkg-config file for native callers, and zelverify.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ZEL_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/zelspi")
add_library(zelspi::zelspi ALIAS zelspi)
target_include_directories(zelspi INTERFACE "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
install(TARGETS zelspi EXPORT zelspi
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(TARGETS zelverify RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(FILES bridge/zel_util.h platform/${ZEL_PLATFORM}/zel_export.h DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/zelspi")

install(EXPORT zelspi NAMESPACE zelspi:: DESTINATION "${ZEL_PACKAGE_DIR}" FILE zelspiConfig.cmake)
write_basic_package_version_file("${CMAKE_BINARY_DIR}/zelspiConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_BINARY_DIR}/zelspiConfigVersion.cmake" DESTINATION "${ZEL_PACKAGE_DIR}")

# The .pc file finds its tree from where it stands itself, so the tree may be moved.
file(RELATIVE_PATH ZEL_PC_TO_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
configure_file("${CMAKE_CURRENT_LIST_DIR}/zelspi.pc.in" "${CMAKE_BINARY_DIR}/zelspi.pc" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/zelspi.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
