# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# What `cmake --install` puts where. Components: library (libsigkit.so.2), development (headers, archive, pkg-config and
# CMake files, documents), tool (verify_tool), crl_compare (for devices that take CRL files by themselves) and pkgsign
# (the release side, which no device needs).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# ---- The trust anchor: looked at before anything is installed ------------------------------------------------------

# In the script of the installation a variable that is named like a component would stand for its value.
install(CODE "set(sigkit_tool \"$<TARGET_FILE:installed_verify_tool>\")
set(sigkit_root \"${sigkit_trust_anchor_file}\")
set(sigkit_is_development_root \"$<BOOL:${SIGKIT_DEVELOPMENT_PKI}>\")
set(sigkit_allows_development_root \"$<BOOL:${SIGKIT_ALLOW_DEVELOPMENT_ROOT}>\")" COMPONENT tool)
install(SCRIPT ${CMAKE_CURRENT_LIST_DIR}/install/check_trust_anchor.cmake COMPONENT tool)

# ---- The library: its installed target carries neither the source folder nor the flags of this build ---------------

set(sigkit_libraries sigkit)
set(sigkit_beside "") # what whoever links the library gets with it
set(SIGKIT_PC_BESIDE "")
if(BUILD_SHARED_LIBS)
  set(sigkit_beside sigkit_status)
  set(SIGKIT_PC_BESIDE " -lsigkit_status")
  set_target_properties(sigkit_status PROPERTIES INTERFACE_LINK_LIBRARIES "")
endif()
set_target_properties(sigkit PROPERTIES
  INTERFACE_INCLUDE_DIRECTORIES "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>"
  INTERFACE_LINK_LIBRARIES "${sigkit_beside}"
  DEFINE_SYMBOL "") # the objects are the same for both kinds

if(BUILD_SHARED_LIBS)
  set(map ${CMAKE_CURRENT_LIST_DIR}/install/sigkit.map)
  target_link_options(sigkit PRIVATE LINKER:--version-script=${map})
  set_property(TARGET sigkit APPEND PROPERTY LINK_DEPENDS ${map})
  # The archive beside it, of the same objects.
  add_library(sigkit_static STATIC $<TARGET_OBJECTS:sigkit> $<TARGET_OBJECTS:sigkit_status>)
  set_target_properties(sigkit_static PROPERTIES OUTPUT_NAME sigkit LINKER_LANGUAGE C)
  list(APPEND sigkit_libraries sigkit_static sigkit_status)
endif()

install(TARGETS ${sigkit_libraries} EXPORT SigkitTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES sigkit/sigkit.h sigkit/sigkit_host.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/sigkit
  COMPONENT development)

# ---- How others find it --------------------------------------------------------------------------------------------

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/Sigkit)
set(generated ${PROJECT_BINARY_DIR}/install)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/install/SigkitConfig.cmake.in ${generated}/SigkitConfig.cmake
  INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(${generated}/SigkitConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${generated}/SigkitConfig.cmake ${generated}/SigkitConfigVersion.cmake
  DESTINATION ${package_directory} COMPONENT development)
install(EXPORT SigkitTargets NAMESPACE Sigkit:: DESTINATION ${package_directory} COMPONENT development)

# The .pc file finds the others from where it lies, so that a tree may be installed elsewhere or moved; not so when a
# folder was given as an absolute path.
set(SIGKIT_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
if(NOT IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  file(RELATIVE_PATH SIGKIT_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
  string(REGEX REPLACE "/$" "" SIGKIT_PC_PREFIX "\${pcfiledir}/${SIGKIT_PC_PREFIX}")
endif()
foreach(kind LIBDIR INCLUDEDIR)
  set(SIGKIT_PC_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
  if(IS_ABSOLUTE ${CMAKE_INSTALL_${kind}})
    set(SIGKIT_PC_${kind} ${CMAKE_INSTALL_${kind}})
  endif()
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/install/sigkit.pc.in ${generated}/sigkit.pc @ONLY)
install(FILES ${generated}/sigkit.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# ---- Programs ------------------------------------------------------------------------------------------------------

# A tree outside the system's own directories finds its library; in them the dynamic linker does. Relative, so that the
# programs are the same octets wherever they are installed.
set(from_program_to_library "")
if(BUILD_SHARED_LIBS AND NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  file(RELATIVE_PATH from_program_to_library ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  string(PREPEND from_program_to_library "$ORIGIN/")
endif()

# Installs a program, linked anew from its objects with the installed tree's search path. Deliberate: CMake would rather
# edit a copy of the build tree's program, and makes space for that by colons behind its search path. To the dynamic
# linker what stands behind a colon is an empty entry: the working directory, where the package that is judged may lie
# with a library beside it. It lies in the build tree as it will lie installed, so that its path leads nowhere else.
function(sigkit_install_program program component search_path)
  set(installed installed_${program})
  add_executable(${installed} $<TARGET_OBJECTS:${program}>)
  foreach(property LINK_LIBRARIES LINK_OPTIONS LINKER_LANGUAGE SIGKIT_STATIC)
    get_target_property(value ${program} ${property})
    if(value)
      set_target_properties(${installed} PROPERTIES ${property} "${value}")
    endif()
  endforeach()
  if(SIGKIT_STATIC_TOOL AND NOT program STREQUAL "pkgsign")
    set_property(TARGET ${installed} PROPERTY POSITION_INDEPENDENT_CODE) # as sigkit_make_static says
  endif()
  set_target_properties(${installed} PROPERTIES
    OUTPUT_NAME ${program}
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/installed${CMAKE_INSTALL_FULL_BINDIR}
    BUILD_WITH_INSTALL_RPATH ON
    INSTALL_RPATH "${search_path}")
  install(TARGETS ${installed} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${component})
endfunction()

sigkit_install_program(verify_tool tool "$<$<NOT:$<BOOL:${SIGKIT_STATIC_TOOL}>>:${from_program_to_library}>")
if(TARGET pkgsign)
  sigkit_install_program(pkgsign pkgsign "${from_program_to_library}")
endif()
sigkit_install_program(crl_compare crl_compare "") # it holds the library itself

# ---- Completion, manual pages and documents ------------------------------------------------------------------------

if(TARGET pkgsign)
  file(MAKE_DIRECTORY ${generated}/completion)
  add_custom_command(
    OUTPUT ${generated}/completion/pkgsign
    COMMAND pkgsign completion bash > ${generated}/completion/pkgsign
    DEPENDS pkgsign
    COMMENT "Listing the commands of pkgsign for bash"
    VERBATIM)
  add_custom_target(pkgsign_completion ALL DEPENDS ${generated}/completion/pkgsign)
  install(FILES ${generated}/completion/pkgsign DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    COMPONENT pkgsign)
endif()

# Manual page `page` goes with the component that it describes.
function(sigkit_install_manual_page page)
  get_filename_component(name ${page} NAME_WE)
  string(REGEX MATCH "[1-9]$" section ${page})
  set(component development)
  if(name STREQUAL "pkgsign" OR name STREQUAL "crl_compare")
    set(component ${name})
  elseif(NOT section EQUAL 3)
    set(component tool)
  endif()
  if(name STREQUAL "pkgsign" AND NOT TARGET pkgsign)
    return()
  endif()
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
endfunction()

file(GLOB manual_pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.[1-9])
foreach(page IN LISTS manual_pages)
  sigkit_install_manual_page(${page})
endforeach()
# What is written for those who change the code stays in the source tree, and with it the README's row about that.
file(READ README.md readme)
string(REGEX REPLACE "\n[^\n]*CONTRIBUTING\\.md[^\n]*" "" readme "${readme}")
file(CONFIGURE OUTPUT ${generated}/README.md CONTENT "${readme}" @ONLY)
install(FILES ${generated}/README.md CHANGELOG.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(FILES docs/host-guide.md docs/install.md docs/operations.md docs/performance.md docs/release.md docs/security.md
              docs/troubleshooting.md docs/pkgsign-check.schema.json docs/pkgsign-inspect.schema.json
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT development)
install(FILES docs/troubleshooting.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT tool)
install(DIRECTORY docs/pictures DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT development
  FILES_MATCHING PATTERN "growth-*.svg")
install(DIRECTORY docs/examples DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT development)

# ---- Out again -----------------------------------------------------------------------------------------------------

if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(uninstall
    COMMAND ${CMAKE_COMMAND} -D manifests=${PROJECT_BINARY_DIR} -P ${CMAKE_CURRENT_LIST_DIR}/install/uninstall.cmake
    COMMENT "Removing what was installed from ${PROJECT_BINARY_DIR}"
    VERBATIM)
endif()
