# zel_copy_runtime(TARGET): copies ZelCore.dll and the C++ runtime's DLLs to the folder of a program each time it is
# linked. The same call works with an installed package and with the sources as a subproject.
function(zel_copy_runtime target)
  if(TARGET zel_runtime) # a build of the sources creates the runtime's files
    get_target_property(files zel_runtime ZEL_RUNTIME_FILES)
    add_dependencies(${target} zel_runtime)
    set(files $<TARGET_FILE:ZelCore> ${files})
  else()
    set(files $<TARGET_RUNTIME_DLLS:${target}>)
  endif()
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_if_different ${files} $<TARGET_FILE_DIR:${target}>
    COMMAND_EXPAND_LISTS VERBATIM)
endfunction()
