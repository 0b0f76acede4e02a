# The compiler settings of all files of the project.
set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

add_library(zel_settings INTERFACE)
target_compile_definitions(zel_settings INTERFACE
  UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601 WINVER=0x0601 __USE_MINGW_ANSI_STDIO=0)
target_compile_options(zel_settings INTERFACE
  # Throw sites report their file relative to the repository, independent of the machine.
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}/= -ffile-prefix-map=${PROJECT_BINARY_DIR}=.
  $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual>)
target_link_options(zel_settings INTERFACE -Wl,--no-insert-timestamp)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_link_libraries(zel_settings INTERFACE winpthread) # GCC's driver adds it automatically
endif()
if(ZEL_WERROR)
  target_compile_options(zel_settings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Werror>)
endif()
if(ZEL_UBSAN)
  # This target has no sanitizer runtime: a detected fault ends the process with an illegal instruction.
  target_compile_options(zel_settings INTERFACE -fsanitize=undefined -fsanitize-undefined-trap-on-error)
endif()
