# Flags that every target of this project takes, through vexo::build_flags.
add_library(vexo_build_flags INTERFACE)
add_library(vexo::build_flags ALIAS vexo_build_flags)
target_compile_options(vexo_build_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor)
if(VEXO_WERROR)
  target_compile_options(vexo_build_flags INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # g++ 12 takes "text" + string for overlapping copies once it is optimised (GCC bug 105329).
  target_compile_options(vexo_build_flags INTERFACE -Wno-restrict)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(vexo_build_flags INTERFACE -Wthread-safety)
endif()
if(VEXO_SANITIZE)
  add_compile_options(-fsanitize=${VEXO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VEXO_SANITIZE})
endif()
# Assertions print paths relative to the tree, so that builds in two folders are identical. Debug builds are left out: the
# option differs from folder to folder, and ccache would share nothing between them.
target_compile_options(vexo_build_flags INTERFACE
                       $<$<NOT:$<CONFIG:Debug>>:-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=>)
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()
