# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# verify_tool and crl_compare as files that need nothing: for recovery systems, an initramfs, an empty chroot. Other
# programs of the build are linked as ever.
option(SIGKIT_STATIC_TOOL "Link verify_tool and crl_compare statically; a fix in libcrypto then needs a new build" OFF)
include(CheckCSourceCompiles)

# libcrypto as the target that links it wants it: the shared library, or for a target with the property SIGKIT_STATIC
# the archive beside it.
add_library(sigkit_libcrypto INTERFACE)
if(NOT SIGKIT_STATIC_TOOL)
  target_link_libraries(sigkit_libcrypto INTERFACE OpenSSL::Crypto)
else()
  get_filename_component(sigkit_libcrypto_directory "${OPENSSL_CRYPTO_LIBRARY}" DIRECTORY)
  find_library(SIGKIT_STATIC_LIBCRYPTO libcrypto.a HINTS ${sigkit_libcrypto_directory} REQUIRED)
  find_package(Threads REQUIRED)
  add_library(sigkit_libcrypto_archive INTERFACE)
  target_include_directories(sigkit_libcrypto_archive SYSTEM INTERFACE ${OPENSSL_INCLUDE_DIR})
  target_link_libraries(sigkit_libcrypto_archive INTERFACE ${SIGKIT_STATIC_LIBCRYPTO} ${CMAKE_DL_LIBS} Threads::Threads)
  target_link_libraries(sigkit_libcrypto INTERFACE
    $<IF:$<BOOL:$<TARGET_PROPERTY:SIGKIT_STATIC>>,sigkit_libcrypto_archive,OpenSSL::Crypto>)

  # Not every C library has the start-up code for programs that are both static and position independent.
  set(CMAKE_REQUIRED_FLAGS -fPIE)
  set(CMAKE_REQUIRED_LINK_OPTIONS -static-pie)
  check_c_source_compiles("int main(void) { return 0; }" SIGKIT_HAS_STATIC_PIE)
  # Such a program moves 18,000 addresses of libcrypto when it starts. Their list takes a tenth of the program, and of
  # its memory, unless it is packed, which the C library must know how to read.
  list(APPEND CMAKE_REQUIRED_LINK_OPTIONS LINKER:-z,pack-relative-relocs,--fatal-warnings)
  check_c_source_compiles("#include <features.h>
    #if !defined(__GLIBC__) || !__GLIBC_PREREQ(2, 36)
    #error not known to read them
    #endif
    int main(void) { return 0; }" SIGKIT_HAS_PACKED_RELOCATIONS)
  unset(CMAKE_REQUIRED_FLAGS)
  unset(CMAKE_REQUIRED_LINK_OPTIONS)
endif()

# Makes a program static where SIGKIT_STATIC_TOOL says so. CMake's own -pie, which would stand beside -static-pie, makes
# a dynamic program: so the property that asks for it is taken away.
function(sigkit_make_static target)
  if(SIGKIT_STATIC_TOOL)
    set_target_properties(${target} PROPERTIES SIGKIT_STATIC ON)
    set_property(TARGET ${target} PROPERTY POSITION_INDEPENDENT_CODE)
    target_compile_options(${target} PRIVATE $<$<BOOL:${SIGKIT_HAS_STATIC_PIE}>:-fPIE>)
    target_link_options(${target} PRIVATE $<IF:$<BOOL:${SIGKIT_HAS_STATIC_PIE}>,-static-pie,-static>
      $<$<BOOL:${SIGKIT_HAS_PACKED_RELOCATIONS}>:LINKER:-z,pack-relative-relocs> LINKER:--gc-sections)
  endif()
endfunction()
