# Cross-compiling for 64-bit Windows with Debian's MinGW-w64 (the POSIX threading variant, which C++ threads need).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
# Libraries and packages for Windows live under the root path; a caller may widen this (the syntax-only check uses the
# host's Qt headers).
foreach(kind LIBRARY INCLUDE PACKAGE)
    if(NOT DEFINED CMAKE_FIND_ROOT_PATH_MODE_${kind})
        set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
    endif()
endforeach()
