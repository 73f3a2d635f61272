# Cross build for 64-bit Windows with Debian's MinGW-w64 (posix thread model, so std::thread and
# std::mutex work). Tests run under wine64 through the crosscompiling emulator; each build folder
# gets its own Wine prefix so runs never share registry state with the user's ~/.wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(SHARED_MINGW_TRIPLET x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${SHARED_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${SHARED_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${SHARED_MINGW_TRIPLET}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${SHARED_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
