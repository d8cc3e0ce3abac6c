# Run by cpack over the staged components: adds each package's copyright file and changelog, and compresses what Debian
# wants compressed.
find_program(GZIP gzip REQUIRED)

# Without name and time in it, so that the same text gives the same octets.
function(compress file)
  execute_process(COMMAND ${GZIP} -9nf ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} name)
  set(share ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share)
  set(documents ${share}/doc/${CPACK_DEBIAN_${name}_PACKAGE_NAME})
  file(MAKE_DIRECTORY ${share} ${share}/doc ${documents})
  file(COPY ${CPACK_SIGKIT_DOCUMENTS}/copyright ${CPACK_SIGKIT_DOCUMENTS}/changelog DESTINATION ${documents}
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  compress(${documents}/changelog)
  file(GLOB pages ${share}/man/man*/*.[1-9])
  foreach(page IN LISTS pages)
    compress(${page})
  endforeach()
endforeach()
