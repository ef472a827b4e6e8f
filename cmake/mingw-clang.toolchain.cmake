# Clang for the same target, with the headers and libraries of the GCC beside it: a second opinion
# on the code. Undefined behaviour traps, which needs no runtime library on the target.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Clang does not find Debian's "12-win32" folder by itself.
execute_process(COMMAND x86_64-w64-mingw32-g++-win32 -print-libgcc-file-name
  OUTPUT_VARIABLE libgcc OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
cmake_path(GET libgcc PARENT_PATH gcc_folder)
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES
  "${gcc_folder}/include/c++" "${gcc_folder}/include/c++/x86_64-w64-mingw32")
set(CMAKE_CXX_FLAGS_INIT "-fsanitize=undefined -fsanitize-trap=undefined")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-L${gcc_folder}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-L${gcc_folder}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-L${gcc_folder}")
