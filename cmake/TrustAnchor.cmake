# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Builds the trust anchor into the tool: the library target `trust_anchor` holds the root certificate that
# SIGKIT_TRUST_ANCHOR names, as it is at each build. The build fails, and says why, when the file is not the kind of
# certificate that the tool may trust and can use. With no file named, a development PKI is made in the build tree
# (once; delete the folder for a new one) and its root is built in; its private keys are in that folder, so such a tool
# protects nothing, and is not installed unless SIGKIT_ALLOW_DEVELOPMENT_ROOT says so.
#
# Sets SIGKIT_DEVELOPMENT_PKI to that folder, or to nothing, and sigkit_trust_anchor_file to the certificate. The target
# `development_pki` makes the folder.
option(SIGKIT_ALLOW_DEVELOPMENT_ROOT "Let a tool that trusts a development root be installed" OFF)

# Ends the configuration when the file cannot be read. Whatever is not empty names a file: OFF, 0 or a search's
# -NOTFOUND as well, which CMake takes for false.
function(sigkit_check_trust_anchor_file file)
  if(NOT IS_ABSOLUTE "${file}" OR NOT EXISTS "${file}" OR IS_DIRECTORY "${file}")
    message(FATAL_ERROR "SIGKIT_TRUST_ANCHOR: there is no readable file '${file}'")
  endif()
  file(READ "${file}" ignored LIMIT 1 HEX) # an error where EXISTS does not ask whether it may be read
endfunction()

if(NOT "${SIGKIT_TRUST_ANCHOR}" STREQUAL "")
  sigkit_check_trust_anchor_file("${SIGKIT_TRUST_ANCHOR}")
  set(SIGKIT_DEVELOPMENT_PKI "")
  set(sigkit_trust_anchor_file ${SIGKIT_TRUST_ANCHOR})
else()
  set(SIGKIT_DEVELOPMENT_PKI ${PROJECT_BINARY_DIR}/development-pki)
  set(sigkit_trust_anchor_file ${SIGKIT_DEVELOPMENT_PKI}/certificates/root.der)
  message(NOTICE
    "** SIGKIT_TRUST_ANCHOR is not set: verify_tool will trust a development root, made in ${SIGKIT_DEVELOPMENT_PKI}.\n"
    "** Never put that tool on a device.")
  # The folder is removed first: without a root in it, it is what an earlier version left behind.
  add_custom_command(
    OUTPUT ${sigkit_trust_anchor_file}
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${SIGKIT_DEVELOPMENT_PKI}
    COMMAND pkgsign init ${SIGKIT_DEVELOPMENT_PKI} --no-encryption --not-before 2015-10-15T08:08:50Z
            --not-after 2050-01-01
    COMMENT "Making a development PKI"
    VERBATIM)
  add_custom_target(development_pki DEPENDS ${sigkit_trust_anchor_file})
endif()

# At every build, whatever the dates of the files: another root may be older than the one that was built in.
set(sigkit_trust_anchor_source ${PROJECT_BINARY_DIR}/generated/trust_anchor_data.cpp)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/generated)
add_custom_target(trust_anchor_source
  COMMAND trust_anchor_embed ${sigkit_trust_anchor_file} ${sigkit_trust_anchor_source}
  BYPRODUCTS ${sigkit_trust_anchor_source}
  COMMENT "Checking the trust anchor ${sigkit_trust_anchor_file}"
  VERBATIM)

add_library(trust_anchor STATIC ${sigkit_trust_anchor_source})
target_include_directories(trust_anchor PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(trust_anchor PRIVATE sigkit_procedural)
add_dependencies(trust_anchor trust_anchor_source)
if(TARGET development_pki)
  add_dependencies(trust_anchor_source development_pki)
endif()
