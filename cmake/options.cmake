# Warnings, sanitizers and what this target system can build.

add_library(orvik_options INTERFACE)
# tools/mutate builds without warnings: a fault that it builds in counts even if it leaves a variable unused.
option(ORVIK_WARNINGS "Compile with warnings, and take them for errors" ON)
if(ORVIK_WARNINGS)
  target_compile_options(orvik_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast -Werror
    # GCC 12 reports overlapping copies inside its own std::string when it inlines an insertion in front.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
endif()
if(ORVIK_SANITIZE)
  add_compile_options(-fsanitize=${ORVIK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  # GCC 12 reports the members of std::regex as uninitialised in a sanitizer build.
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  add_link_options(-fsanitize=${ORVIK_SANITIZE})
endif()
if(ORVIK_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# What makes a fault harder to use: canaries and probes on the stack, checked copies, no fixed addresses, no writable
# tables of functions. The sanitizers find the same faults and more, and do not go with checked copies.
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT ORVIK_SANITIZE)
  include(CheckCXXCompilerFlag)
  foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER ORVIK_HAS${flag} has)
    check_cxx_compiler_flag(${flag} ${has})
    if(${has})
      add_compile_options(${flag})
    endif()
  endforeach()
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -fPIE)
  add_link_options(-pie -Wl,-z,relro,-z,now,-z,noexecstack)
endif()

find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)

# The unit's services and the host are Linux programs with libraries of their own; a cross build makes the application.
set(ORVIK_HAS_UNIT OFF)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT CMAKE_CROSSCOMPILING)
  set(ORVIK_HAS_UNIT ON)
endif()
