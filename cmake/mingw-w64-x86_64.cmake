# Cross-compiling for 64-bit Windows with MinGW-w64 (the POSIX-thread compilers, which std::thread
# and std::mutex need). Use: cmake -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake ...
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KIRVA_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${KIRVA_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${KIRVA_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${KIRVA_MINGW_TRIPLE}-windres)

# Headers and libraries of the target only; programs (code generators) of the build machine.
set(CMAKE_FIND_ROOT_PATH /usr/${KIRVA_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# Packages built for the target elsewhere (GoogleTest) are found through CMAKE_PREFIX_PATH.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
