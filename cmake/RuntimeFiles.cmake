# The shared C++ runtime is shipped with the DLL: with one copy per module, exceptions could not be rethrown across
# modules. The copies are stripped, because a distribution's files may contain tens of megabytes of symbols.
set(ZEL_RUNTIME_NAMES libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
set(target_option)
if(CMAKE_CXX_COMPILER_TARGET)
  set(target_option --target=${CMAKE_CXX_COMPILER_TARGET})
endif()
set(ZEL_RUNTIME_VERSION 99) # version of the compiler to which the files belong
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(ZEL_RUNTIME_VERSION ${CMAKE_CXX_COMPILER_VERSION})
endif()
set(runtime_copies)
foreach(name IN LISTS ZEL_RUNTIME_NAMES)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} ${target_option} -print-file-name=${name}
    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT EXISTS ${path}) # in a native build the files are in the folder of the compiler
    get_filename_component(compiler_folder ${CMAKE_CXX_COMPILER} DIRECTORY)
    set(path ${compiler_folder}/${name})
  endif()
  set(copy ${PROJECT_BINARY_DIR}/bin/${name})
  add_custom_command(OUTPUT ${copy}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/bin
    COMMAND ${CMAKE_STRIP} --preserve-dates -o ${copy} ${path}
    DEPENDS ${path}
    COMMENT "Copying ${name}"
    VERBATIM)
  list(APPEND runtime_copies ${copy})
endforeach()
add_custom_target(zel_runtime DEPENDS ${runtime_copies})
set_target_properties(zel_runtime PROPERTIES ZEL_RUNTIME_FILES "${runtime_copies}")
