# Warnings and language restrictions of the project's own code. Presets add -Werror through
# CMAKE_COMPILE_WARNING_AS_ERROR.

add_library(sigkit_warnings INTERFACE)
target_compile_options(sigkit_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2)

# Procedural code: nothing throws and nothing asks for its type at run time, so the run-time library of C++ is not
# needed.
add_library(sigkit_procedural INTERFACE)
target_compile_options(sigkit_procedural INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti
                                                   -fno-threadsafe-statics>)
target_link_libraries(sigkit_procedural INTERFACE sigkit_warnings sigkit_hardening)
