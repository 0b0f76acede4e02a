# zel_add_idl(TARGET FILE.idl): creates a static library TARGET from the header, client stub and server stub of an
# interface, and the memory functions that stubs need. The client's functions get the prefix "Client", so that one
# program can contain both sides. The project must enable the language C. Requires widl: Debian's mingw-w64-tools, or
# MSYS2's mingw-w64-x86_64-tools.
function(zel_add_idl target idl)
  if(NOT CMAKE_C_COMPILER_LOADED)
    message(FATAL_ERROR "zel_add_idl needs the language C: project(${PROJECT_NAME} C CXX)")
  endif()
  find_program(ZEL_WIDL NAMES x86_64-w64-mingw32-widl widl NO_CMAKE_FIND_ROOT_PATH)
  if(NOT ZEL_WIDL)
    message(FATAL_ERROR "zel_add_idl needs widl: install mingw-w64-tools (Debian) or mingw-w64-x86_64-tools (MSYS2)")
  endif()
  get_filename_component(name ${idl} NAME_WE)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/idl)
  file(WRITE ${folder}/wine/exception.h "")
  set(files ${folder}/${name}.h ${folder}/${name}_c.c ${folder}/${name}_s.c)
  add_custom_command(OUTPUT ${files}
    COMMAND ${ZEL_WIDL} -Oicf -m64 -h -o ${folder}/${name}.h --prefix-client=Client ${idl}
    COMMAND ${ZEL_WIDL} -Oicf -m64 -c -o ${folder}/${name}_c.c --prefix-client=Client ${idl}
    COMMAND ${ZEL_WIDL} -Oicf -m64 -s -o ${folder}/${name}_s.c --prefix-client=Client ${idl}
    DEPENDS ${idl} VERBATIM)
  add_library(${target} STATIC ${files} ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/RpcMemory.c)
  target_include_directories(${target} SYSTEM PUBLIC ${folder})
  target_link_libraries(${target} PUBLIC rpcrt4)
endfunction()
