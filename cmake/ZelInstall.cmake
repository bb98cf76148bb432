# cmake --install: the library, shared and as an archive, with its headers, a CMake package and a pkg-config file for native
# callers, and zelverify.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ZEL_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/zelspi")
add_library(zelspi::zelspi ALIAS zelspi)
foreach(library IN ITEMS zelspi zelspi_static)
  target_include_directories(${library} INTERFACE "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
endforeach()
target_compile_definitions(zelspi_static INTERFACE ZEL_STATIC)
install(TARGETS zelspi zelspi_static EXPORT zelspi
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(TARGETS zelverify RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(FILES capi/zel.h bridge/zel_util.h platform/${ZEL_PLATFORM}/zel_export.h
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/zelspi")

# For Microsoft's linker: the list of the C functions, and the import library that mingw-w64 makes of it.
if(WIN32)
  install(FILES capi/zelspi.def DESTINATION "${CMAKE_INSTALL_LIBDIR}")
  if(CMAKE_DLLTOOL)
    add_custom_command(OUTPUT "${CMAKE_BINARY_DIR}/zelspi.lib"
      COMMAND "${CMAKE_DLLTOOL}" --deterministic-libraries -m i386:x86-64 -d "${CMAKE_CURRENT_SOURCE_DIR}/capi/zelspi.def"
        -l zelspi.lib # which keeps the name as it stands here
      DEPENDS capi/zelspi.def WORKING_DIRECTORY "${CMAKE_BINARY_DIR}" VERBATIM)
    add_custom_target(import_library ALL DEPENDS "${CMAKE_BINARY_DIR}/zelspi.lib")
    install(FILES "${CMAKE_BINARY_DIR}/zelspi.lib" DESTINATION "${CMAKE_INSTALL_LIBDIR}")
  endif()
endif()

install(EXPORT zelspi NAMESPACE zelspi:: DESTINATION "${ZEL_PACKAGE_DIR}" FILE zelspiTargets.cmake)
write_basic_package_version_file("${CMAKE_BINARY_DIR}/zelspiConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
configure_file("${CMAKE_CURRENT_LIST_DIR}/zelspiConfig.cmake.in" "${CMAKE_BINARY_DIR}/zelspiConfig.cmake" COPYONLY)
install(FILES "${CMAKE_BINARY_DIR}/zelspiConfig.cmake" "${CMAKE_BINARY_DIR}/zelspiConfigVersion.cmake"
  DESTINATION "${ZEL_PACKAGE_DIR}")

# The .pc file finds its tree from where it stands itself, so the tree may be moved.
file(RELATIVE_PATH ZEL_PC_TO_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
if(WIN32)
  set(ZEL_PC_SYSTEM " -lbcrypt")
else()
  set(ZEL_PC_SYSTEM "")
endif()
configure_file("${CMAKE_CURRENT_LIST_DIR}/zelspi.pc.in" "${CMAKE_BINARY_DIR}/zelspi.pc" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/zelspi.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
