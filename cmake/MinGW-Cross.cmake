# Shared by both cross compilers: the target, its libraries and the command that runs its programs.
set(ZEL_TRIPLET x86_64-w64-mingw32)
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_STRIP /usr/bin/${ZEL_TRIPLET}-strip)
set(CMAKE_RC_COMPILER ${ZEL_TRIPLET}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${ZEL_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH) # CMAKE_PREFIX_PATH is outside of the root
set(CMAKE_CROSSCOMPILING_EMULATOR sh ${CMAKE_CURRENT_LIST_DIR}/wine) # works even if the file's mode was lost
