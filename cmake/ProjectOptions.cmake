# What every target of the project is compiled and linked with: link against ModeChange::options.
add_library(project_options INTERFACE)
add_library(ModeChange::options ALIAS project_options)

target_compile_features(project_options INTERFACE cxx_std_20)
target_compile_definitions(project_options INTERFACE
  UNICODE _UNICODE STRICT NOMINMAX WIN32_LEAN_AND_MEAN
  # Windows 7 is the oldest system that the library runs on.
  WINVER=0x0601 _WIN32_WINNT=0x0601 NTDDI_VERSION=0x06010000
  # As GCC, which built the standard library, has it on Windows; else Clang defines a function twice.
  __GXX_TYPEINFO_EQUALITY_INLINE=0)
target_include_directories(project_options INTERFACE
  "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}/include")
target_compile_options(project_options INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wconversion
  # Members may be called as the arguments that set them.
  $<IF:$<CXX_COMPILER_ID:GNU>,-Wshadow=local,-Wshadow>)
# The runtime is a part of every binary: a host needs nothing beside the DLL.
target_link_options(project_options INTERFACE
  -static -municode
  -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat)
