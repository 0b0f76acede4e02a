# How every file of the project is compiled.
set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

add_library(zel_settings INTERFACE)
target_compile_definitions(zel_settings INTERFACE
  UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601 WINVER=0x0601 __USE_MINGW_ANSI_STDIO=0)
target_compile_options(zel_settings INTERFACE
  # Throw sites report their file relative to the repository, on every machine alike.
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}/= -ffile-prefix-map=${PROJECT_BINARY_DIR}=.
  $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual>)
target_link_options(zel_settings INTERFACE -Wl,--no-insert-timestamp)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_link_libraries(zel_settings INTERFACE winpthread) # GCC's driver adds it automatically
  # By contract some classes that can be derived from have no virtual destructor. clang warns of std::unique_ptr and
  # std::shared_ptr of them, inside the standard library.
  target_compile_options(zel_settings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-delete-non-abstract-non-virtual-dtor>)
endif()
if(ZEL_WERROR)
  target_compile_options(zel_settings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Werror>)
endif()
if(ZEL_UBSAN)
  # There is no sanitizer runtime for this target: a hit ends the process with an illegal instruction.
  target_compile_options(zel_settings INTERFACE -fsanitize=undefined -fsanitize-undefined-trap-on-error)
endif()
