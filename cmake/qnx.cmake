# Neutrino 6.5 or later with its qcc, on the unit's ARM processor. QNX_HOST and QNX_TARGET are the SDK's own variables.
# C++20 needs an SDK whose compiler knows it (7.1 or later; earlier ones with a newer GCC behind qcc).
set(CMAKE_SYSTEM_NAME QNX)
set(CMAKE_SYSTEM_PROCESSOR armv7)
set(ORVIK_QCC_VARIANT gcc_ntoarmv7le CACHE STRING "Compiler and processor, as `qcc -V` lists them")
set(CMAKE_CXX_COMPILER qcc)
set(CMAKE_CXX_COMPILER_TARGET ${ORVIK_QCC_VARIANT})
set(CMAKE_CXX_FLAGS_INIT "-V${ORVIK_QCC_VARIANT} -lang-c++ -D_QNX_SOURCE")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-V${ORVIK_QCC_VARIANT} -lang-c++")
set(CMAKE_FIND_ROOT_PATH $ENV{QNX_TARGET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
