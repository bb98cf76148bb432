# The Debian package of the native library with its headers: all that `cmake --install` lays down, made by cpack in the
# build folder. Its dates are those of SOURCE_DATE_EPOCH, which ./dist.sh sets.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libzelspi-dev)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
# Debian wants an address; the project has none, and ".invalid" says so.
set(CPACK_PACKAGE_CONTACT "zelspi maintainers <maintainers@zelspi.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "digests, AES, RSA, DSA and random numbers for C, with headers")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
string(CONCAT CPACK_DEBIAN_PACKAGE_DESCRIPTION
  "For programs in C and in whatever calls C: SHA-1 and SHA-2, AES, keys and signatures of RSA and DSA, random numbers, the "
  "check of a file against a detached signature, and the program zelverify for the latter. The library is also the native "
  "half of the Java security provider Zel.")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
# What a package must look like whatever the umask of whoever makes it.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
