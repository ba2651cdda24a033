# Warnings, sanitizers and what this target system can build.

add_library(orvik_options INTERFACE)
target_compile_options(orvik_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast -Werror
  # GCC 12 reports overlapping copies inside its own std::string when it inlines an insertion in front.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(ORVIK_SANITIZE)
  add_compile_options(-fsanitize=${ORVIK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  # GCC 12 reports the members of std::regex as uninitialised in a sanitizer build.
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  add_link_options(-fsanitize=${ORVIK_SANITIZE})
endif()
if(ORVIK_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)

# The unit's services and the host are Linux programs with libraries of their own; a cross build makes the application.
set(ORVIK_HAS_UNIT OFF)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT CMAKE_CROSSCOMPILING)
  set(ORVIK_HAS_UNIT ON)
endif()
