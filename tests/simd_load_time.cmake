# Checks that no file built for an instruction set beyond the baseline
# (*_sse2.cpp, *_avx2.cpp, *_avx512.cpp) has code that runs when the library
# loads: that code would run on every processor, before any check of what the
# processor has. GCC and Clang name such code _GLOBAL__sub_I_<file>.
#   cmake -DNM=<nm> -DOBJECTS=<object|object|...> -P simd_load_time.cmake
cmake_minimum_required(VERSION 3.25)
string(REPLACE "|" ";" objects "${OBJECTS}")
list(LENGTH objects count)
if(count EQUAL 0)
  message(FATAL_ERROR "no object files given")
endif()
foreach(object ${objects})
  execute_process(COMMAND ${NM} ${object} OUTPUT_VARIABLE listing RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "nm could not read ${object}")
  endif()
  if(listing MATCHES "_GLOBAL__sub_I_")
    message(FATAL_ERROR "runs code when the library loads: ${object}")
  endif()
endforeach()
message(STATUS "${count} object files run nothing at load")
