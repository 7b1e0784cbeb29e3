# Flags that every target of the project shares.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(zvg_flags INTERFACE)
# Both compilers mean the same by -Wconversion: a change of sign alone is none. What clang takes for
# hidden includes the names of blocks that a using-directive brings in.
target_compile_options(zvg_flags INTERFACE
  -Wall -Wextra $<$<CXX_COMPILER_ID:GNU>:-Wshadow> -Wconversion -Wno-sign-conversion -Werror)
if(ZVG_SANITIZE)
  # Little of the instrumented code profits from more than -O1, and all of it takes longer to build.
  # What the checks add to the code makes GCC see uses of unset variables where there are none.
  add_compile_options(-O1 -g1 $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

# The build tree is laid out like the install tree, so that the programs find each other and their
# data relative to their own path in both.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_BINDIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
