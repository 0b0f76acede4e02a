# The shipped DLL has no symbols. They are in a separate file, which debuggers find through a link. Without
# --preserve-dates both files would contain the time of the build.
find_program(ZEL_OBJCOPY NAMES ${ZEL_TRIPLET}-objcopy objcopy REQUIRED NO_CMAKE_FIND_ROOT_PATH)
add_custom_command(TARGET ZelCore POST_BUILD
  COMMAND ${ZEL_OBJCOPY} --preserve-dates --only-keep-debug ZelCore.dll ZelCore.dll.debug
  COMMAND ${ZEL_OBJCOPY} --preserve-dates --strip-unneeded ZelCore.dll
  COMMAND ${ZEL_OBJCOPY} --preserve-dates --add-gnu-debuglink=ZelCore.dll.debug ZelCore.dll
  WORKING_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}
  VERBATIM)
