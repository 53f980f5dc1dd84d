# Cross-compiling for Windows with Debian's MinGW-w64 toolchain: 32-bit x86 by
# default (what the library's hosts load), x86-64 with
# -DTARN_MINGW_TRIPLET=x86_64-w64-mingw32. The posix thread model gives the
# standard library's threads and mutexes, which the tests use.
if(NOT TARN_MINGW_TRIPLET)
  set(TARN_MINGW_TRIPLET i686-w64-mingw32)
endif()
set(CMAKE_SYSTEM_NAME Windows)
if(TARN_MINGW_TRIPLET MATCHES "^x86_64")
  set(CMAKE_SYSTEM_PROCESSOR AMD64)
else()
  set(CMAKE_SYSTEM_PROCESSOR x86)
endif()
set(CMAKE_C_COMPILER ${TARN_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${TARN_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${TARN_MINGW_TRIPLET}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${TARN_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Tests run under Wine, both when ctest lists them and when it runs them.
find_program(TARN_WINE wine)
if(TARN_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${TARN_WINE})
endif()
# The runtime (libgcc, libstdc++, winpthread) linked in, so the DLL and the
# test programs need nothing beside them.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
