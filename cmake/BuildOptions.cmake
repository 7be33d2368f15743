# How everything here is compiled and linked. Every target links one of three interface libraries:
#
#   ramgraft_options  warnings, hardening, and no trace of the folder where it was built
#   ramgraft_program  the same for an executable that is handed out: also position-independent and,
#                     where that works, static
#   ramgraft_dynamic_program
#                     the same for one with a library that is linked dynamically

option(RAMGRAFT_WERROR "Treat warnings as errors" OFF)
option(RAMGRAFT_STATIC "Link statically where that works, but never with tests or sanitizers" ON)

if((CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 12) OR
   (CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 14))
  message(FATAL_ERROR "ramgraft needs GCC 12 or Clang 14 or later, and ${CMAKE_CXX_COMPILER} is "
    "${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}.")
endif()

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)

string(TOUPPER "CMAKE_CXX_FLAGS_${CMAKE_BUILD_TYPE}" flags_of_type)
set(flags "${CMAKE_CXX_FLAGS} ${${flags_of_type}}")

add_library(ramgraft_options INTERFACE)
target_compile_options(ramgraft_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${RAMGRAFT_WERROR}>:-Werror>
  -fPIE -fstack-protector-strong
  # __FILE__ counts from the source folder, so that the same source gives the same program anywhere.
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
target_link_options(ramgraft_options INTERFACE -Wl,-z,relro -Wl,-z,now)
foreach(flag IN ITEMS -fcf-protection -fstack-clash-protection)  # not every machine has these
  string(MAKE_C_IDENTIFIER "RAMGRAFT_HAS${flag}" has_flag)
  check_cxx_compiler_flag(${flag} ${has_flag})
  target_compile_options(ramgraft_options INTERFACE $<$<BOOL:${${has_flag}}>:${flag}>)
endforeach()
# The checks of the C library need an optimising compiler, and hide calls from sanitizers.
if(flags MATCHES "-O[1-9sgf]" AND NOT flags MATCHES "-O0|-fsanitize")
  target_compile_options(ramgraft_options INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()

add_library(ramgraft_program INTERFACE)
add_library(ramgraft_dynamic_program INTERFACE)
target_link_libraries(ramgraft_program INTERFACE ramgraft_options)
target_link_libraries(ramgraft_dynamic_program INTERFACE ramgraft_options)
target_link_options(ramgraft_dynamic_program INTERFACE -pie)
set(link -pie)
# Tests preload a library into the tool, and sanitizers' runtimes are dynamic.
if(RAMGRAFT_STATIC AND NOT RAMGRAFT_TESTS AND NOT flags MATCHES "-fsanitize")
  set(CMAKE_REQUIRED_FLAGS -fPIE)
  set(CMAKE_REQUIRED_LINK_OPTIONS -static-pie)
  check_cxx_source_compiles("#include <iostream>\nint main() { std::cout << 1; }"
    RAMGRAFT_STATIC_WORKS)
  unset(CMAKE_REQUIRED_FLAGS)
  unset(CMAKE_REQUIRED_LINK_OPTIONS)
  if(RAMGRAFT_STATIC_WORKS)
    # A run is as short as its start-up, and half of that would be the dynamic linker's.
    set(link -static-pie)
    target_link_options(ramgraft_dynamic_program INTERFACE -static-libstdc++ -static-libgcc)
  else()
    message(STATUS "A static link doesn't work here, so programs are linked dynamically")
  endif()
endif()
target_link_options(ramgraft_program INTERFACE ${link})
