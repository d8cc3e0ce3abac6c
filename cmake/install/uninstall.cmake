# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Removes the files that the last installations from a build directory wrote, as their manifests name them (below
# DESTDIR where that is set), and the directories of this project that are empty then.
file(GLOB lists ${manifests}/install_manifest*.txt)
if(NOT lists)
  message(FATAL_ERROR "nothing was installed from ${manifests}")
endif()
foreach(list IN LISTS lists)
  file(STRINGS ${list} files)
  foreach(file IN LISTS files)
    set(file $ENV{DESTDIR}${file})
    if(EXISTS ${file} OR IS_SYMLINK ${file})
      message(STATUS "Removing ${file}")
      file(REMOVE ${file})
    endif()
    # Up to the first directory that others use as well.
    cmake_path(GET file PARENT_PATH directory)
    while(directory MATCHES "/[Ss]igkit(/|$)")
      file(GLOB left LIST_DIRECTORIES true ${directory}/*)
      if(left)
        break()
      endif()
      file(REMOVE_RECURSE ${directory})
      cmake_path(GET directory PARENT_PATH directory)
    endwhile()
  endforeach()
  file(REMOVE ${list})
endforeach()
