# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# What the compiler and the linker can do against an attacker who has found a mistake.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

set(CMAKE_REQUIRED_FLAGS -Werror) # some compilers only warn about a flag of another machine
check_cxx_compiler_flag(-fcf-protection=full SIGKIT_HAS_CF_PROTECTION)             # x86
check_cxx_compiler_flag(-mbranch-protection=standard SIGKIT_HAS_BRANCH_PROTECTION) # aarch64
# Checks that find sizes at run time, too; a compiler or a C library without them warns. Both look only when optimising.
set(CMAKE_REQUIRED_FLAGS "-Werror -O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
check_cxx_source_compiles("#include <string.h>\nint main() { return 0; }" SIGKIT_HAS_FORTIFY_3)
unset(CMAKE_REQUIRED_FLAGS)
set(fortify 2)
if(SIGKIT_HAS_FORTIFY_3)
  set(fortify 3)
endif()

add_library(sigkit_hardening INTERFACE)
target_compile_options(sigkit_hardening INTERFACE
  -fstack-protector-strong
  $<$<BOOL:${SIGKIT_HAS_CF_PROTECTION}>:-fcf-protection=full>
  $<$<BOOL:${SIGKIT_HAS_BRANCH_PROTECTION}>:-mbranch-protection=standard>
  # A parent project may have no build type, which optimises nothing: the C library would warn in every file.
  $<$<AND:$<BOOL:$<CONFIG>>,$<NOT:$<CONFIG:Debug>>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=${fortify}>)
target_link_options(sigkit_hardening INTERFACE LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
