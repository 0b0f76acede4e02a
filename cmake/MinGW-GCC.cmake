# Builds for 64-bit Windows with MinGW-w64 GCC: natively in an MSYS2 MINGW64 shell, otherwise as a cross build.
if(NOT CMAKE_HOST_WIN32)
  include(${CMAKE_CURRENT_LIST_DIR}/MinGW-Cross.cmake)
  set(CMAKE_C_COMPILER ${ZEL_TRIPLET}-gcc-posix)
  set(CMAKE_CXX_COMPILER ${ZEL_TRIPLET}-g++-posix)
endif()
