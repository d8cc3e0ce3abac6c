# Builds the trust anchor into the tool: the library target `trust_anchor` holds the root certificate that
# SIGKIT_TRUST_ANCHOR names. The build fails, and says why, when the file is not the kind of certificate that the tool
# may trust. With no file named, a development PKI is made in the build tree (once; delete the folder for a new one) and
# its root is built in; its private keys are in that folder, so such a tool protects nothing.
#
# Sets SIGKIT_DEVELOPMENT_PKI to that folder, or to nothing. The target `development_pki` makes it.

add_executable(trust_anchor_embed ${CMAKE_CURRENT_LIST_DIR}/trust_anchor.cpp)
target_include_directories(trust_anchor_embed PRIVATE ${PROJECT_SOURCE_DIR})
target_compile_definitions(trust_anchor_embed PRIVATE OPENSSL_API_COMPAT=0x10101000L)
target_link_libraries(trust_anchor_embed PRIVATE sigkit_warnings OpenSSL::Crypto)

if(SIGKIT_TRUST_ANCHOR)
  set(SIGKIT_DEVELOPMENT_PKI "")
  set(sigkit_trust_anchor_file ${SIGKIT_TRUST_ANCHOR})
else()
  set(SIGKIT_DEVELOPMENT_PKI ${CMAKE_BINARY_DIR}/development-pki)
  set(sigkit_trust_anchor_file ${SIGKIT_DEVELOPMENT_PKI}/root.der)
  message(NOTICE
    "** SIGKIT_TRUST_ANCHOR is not set: verify_tool will trust a development root, made in ${SIGKIT_DEVELOPMENT_PKI}.\n"
    "** Never put that tool on a device.")
  # The folder is removed first: without a root in it, it is what an interrupted run left behind.
  add_custom_command(
    OUTPUT ${sigkit_trust_anchor_file}
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${SIGKIT_DEVELOPMENT_PKI}
    COMMAND pkgsign init ${SIGKIT_DEVELOPMENT_PKI}
    COMMENT "Making a development PKI"
    VERBATIM)
  add_custom_target(development_pki DEPENDS ${sigkit_trust_anchor_file})
endif()

set(sigkit_trust_anchor_source ${CMAKE_BINARY_DIR}/generated/trust_anchor_data.cpp)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/generated)
add_custom_command(
  OUTPUT ${sigkit_trust_anchor_source}
  COMMAND trust_anchor_embed ${sigkit_trust_anchor_file} ${sigkit_trust_anchor_source}
  DEPENDS ${sigkit_trust_anchor_file} trust_anchor_embed
  COMMENT "Building in the trust anchor ${sigkit_trust_anchor_file}"
  VERBATIM)

add_library(trust_anchor STATIC ${sigkit_trust_anchor_source})
target_include_directories(trust_anchor PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(trust_anchor PRIVATE sigkit_procedural)
if(TARGET development_pki)
  add_dependencies(trust_anchor development_pki)
endif()
