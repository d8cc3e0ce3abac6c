# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Builds that depend on their sources alone, whatever folder they are made in: a deployer can build again and compare.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-ffile-prefix-map=a=b SIGKIT_HAS_FILE_PREFIX_MAP)
if(SIGKIT_HAS_FILE_PREFIX_MAP)
  # The last one that fits counts: the build folder usually lies in the source folder. Debuggers and coverage reports
  # want the true paths.
  add_compile_options("$<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>"
                      "$<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=build>")
endif()
add_link_options(LINKER:--build-id=sha1) # of the content; never a random one

# Programs of the build tree find libsigkit.so from where they lie themselves: the tree is not named in them, and may be
# moved. Who can put a library there can replace the program as well.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# Archives without times, owners and modes.
foreach(language C CXX)
  set(CMAKE_${language}_ARCHIVE_CREATE "<CMAKE_AR> qcD <TARGET> <LINK_FLAGS> <OBJECTS>")
  set(CMAKE_${language}_ARCHIVE_APPEND "<CMAKE_AR> qD <TARGET> <LINK_FLAGS> <OBJECTS>")
  set(CMAKE_${language}_ARCHIVE_FINISH "<CMAKE_RANLIB> -D <TARGET>")
endforeach()
