# zel_add_idl(TARGET FILE.idl): the header, client stub and server stub of an interface, as a library of TARGET's own.
# With the memory functions of the stubs. The client's functions get the prefix "Client", so that one program can hold both sides.
find_program(ZEL_WIDL NAMES ${ZEL_TRIPLET}-widl widl REQUIRED NO_CMAKE_FIND_ROOT_PATH)
function(zel_add_idl target idl)
  get_filename_component(name ${idl} NAME_WE)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/idl)
  file(WRITE ${folder}/wine/exception.h "")
  set(files ${folder}/${name}.h ${folder}/${name}_c.c ${folder}/${name}_s.c)
  add_custom_command(OUTPUT ${files}
    COMMAND ${ZEL_WIDL} -Oicf -m64 -h -o ${folder}/${name}.h --prefix-client=Client ${idl}
    COMMAND ${ZEL_WIDL} -Oicf -m64 -c -o ${folder}/${name}_c.c --prefix-client=Client ${idl}
    COMMAND ${ZEL_WIDL} -Oicf -m64 -s -o ${folder}/${name}_s.c --prefix-client=Client ${idl}
    DEPENDS ${idl} VERBATIM)
  add_library(${target} STATIC ${files} ${PROJECT_SOURCE_DIR}/cmake/RpcMemory.c)
  target_include_directories(${target} SYSTEM PUBLIC ${folder})
  target_link_libraries(${target} PUBLIC rpcrt4)
endfunction()
