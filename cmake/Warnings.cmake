# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Warnings and language restrictions of the project's own code. Presets add -Werror through
# CMAKE_COMPILE_WARNING_AS_ERROR.

add_library(sigkit_warnings INTERFACE)
target_compile_options(sigkit_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2)

# What GCC 12 warns of, wrongly, in strings and vectors that it has inlined (its bugs 105329 and 105651); the lengths of
# paths decide, too. For code with those: the release side and what is for tests.
set(SIGKIT_WITHOUT_WRONG_WARNINGS)
foreach(warning array-bounds maybe-uninitialized restrict stringop-overflow stringop-overread)
  list(APPEND SIGKIT_WITHOUT_WRONG_WARNINGS $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-${warning}>)
endforeach()

# Procedural code: nothing throws and nothing asks for its type at run time, so the run-time library of C++ is not
# needed.
add_library(sigkit_procedural INTERFACE)
target_compile_options(sigkit_procedural INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti
                                                   -fno-threadsafe-statics>)
target_link_libraries(sigkit_procedural INTERFACE sigkit_warnings sigkit_hardening)
