# `cpack` makes Debian packages: verify-tool, crl-compare, libsigkit-dev, pkgsign where it is built and, with
# BUILD_SHARED_LIBS, libsigkit2. Configure with -DCMAKE_INSTALL_PREFIX=/usr for them.
set(SIGKIT_PACKAGE_CONTACT "Sigkit maintainers <maintainers@sigkit.invalid>" CACHE STRING
  "Maintainer of the Debian packages: Name <address>")

set(packaging ${CMAKE_CURRENT_LIST_DIR}/packaging)
configure_file(${packaging}/changelog.in ${PROJECT_BINARY_DIR}/packaging/changelog @ONLY)
configure_file(${packaging}/copyright ${PROJECT_BINARY_DIR}/packaging/copyright COPYONLY)

set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_CONTACT ${SIGKIT_PACKAGE_CONTACT})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${packaging}/stage_debian.cmake) # what Debian wants besides the installed files
set(CPACK_SIGKIT_DOCUMENTS ${PROJECT_BINARY_DIR}/packaging)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE) # a package for each component
set(CPACK_COMPONENTS_ALL development tool crl_compare)
if(TARGET pkgsign)
  list(APPEND CPACK_COMPONENTS_ALL pkgsign)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE sigkit)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# The first line of each description is the short one; that of the project would come before it.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME verify-tool)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOL_DESCRIPTION "check the signature of an upgrade package
Proves, before an upgrade package is installed, that its checksum file is
authentic: a detached CMS signature with an RFC 3161 timestamp, judged against
one root certificate that was built in and against CRLs.")
set(CPACK_DEBIAN_PKGSIGN_PACKAGE_NAME pkgsign)
set(CPACK_DEBIAN_PKGSIGN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PKGSIGN_PACKAGE_RECOMMENDS "libcurl4 | libcurl4t64, libmicrohttpd12 | libmicrohttpd12t64") # not linked
set(CPACK_COMPONENT_PKGSIGN_DESCRIPTION "sign upgrade packages
Makes certificates, CRLs, RFC 3161 timestamp tokens and the detached CMS
signatures that verify_tool checks. It is for the side that makes releases.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libsigkit-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "verify detached CMS signatures (development files)
Headers, archive, pkg-config and CMake files of libsigkit, which decides over
detached CMS signatures, certificate paths, timestamps and CRLs.")

set(CPACK_DEBIAN_CRL_COMPARE_PACKAGE_NAME crl-compare)
set(CPACK_DEBIAN_CRL_COMPARE_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_CRL_COMPARE_DESCRIPTION "find out which of two CRL files is newer
Says whether the CRL file that comes with an upgrade may replace the one that
a device has.")
if(BUILD_SHARED_LIBS)
  list(APPEND CPACK_COMPONENTS_ALL library)
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libsigkit2)
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
  set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "verify detached CMS signatures (shared library)
Decides over detached CMS signatures, certificate paths, timestamps and CRLs.
Memory, files, log, digests and RSA come from the program that uses it.")
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${packaging}/triggers)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
  # dpkg-shlibdeps finds the library there, but cannot know of a package that is still being made.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/sigkit)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libsigkit2 (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "libsigkit2 (>= ${PROJECT_VERSION})")
endif()
include(CPack)
