# The contents of an installation (`cmake --install`) and of the two archives of a release (`cpack`).
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# Files and folders have the same permissions, whatever the umask of the user who builds.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/ZelCore)
set(doc_folder ${CMAKE_INSTALL_DATADIR}/doc/ZelCore)

set_target_properties(ZelCore PROPERTIES EXPORT_NAME ZelCore)
install(TARGETS ZelCore EXPORT ZelCoreTargets COMPONENT package
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
foreach(name IN LISTS ZEL_RUNTIME_NAMES)
  install(PROGRAMS ${PROJECT_BINARY_DIR}/bin/${name} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT package)
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/bin/ZelCore.dll.debug DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT symbols
  EXCLUDE_FROM_ALL)

install(EXPORT ZelCoreTargets NAMESPACE ZelCore:: DESTINATION ${package_folder} COMPONENT package)
configure_package_config_file(cmake/package/ZelCoreConfig.cmake.in ${PROJECT_BINARY_DIR}/package/ZelCoreConfig.cmake
  INSTALL_DESTINATION ${package_folder} PATH_VARS CMAKE_INSTALL_BINDIR CMAKE_INSTALL_LIBDIR)
# Before 1.0, a minor version may change the interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/ZelCoreConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/ZelCoreConfig.cmake ${PROJECT_BINARY_DIR}/package/ZelCoreConfigVersion.cmake
  cmake/Idl.cmake cmake/RpcMemory.c cmake/CopyRuntime.cmake cmake/MinGW-GCC.cmake cmake/MinGW-Clang.cmake cmake/MinGW-Cross.cmake
  DESTINATION ${package_folder} COMPONENT package)
install(PROGRAMS cmake/wine DESTINATION ${package_folder} COMPONENT package)
configure_file(cmake/package/zelcore.pc.in ${PROJECT_BINARY_DIR}/package/zelcore.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/zelcore.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT package)

# The package's README ends before the part about the repository.
file(READ README.md readme)
string(REGEX REPLACE "\n## In the repository\n.*" "" readme "${readme}")
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/package/README.md CONTENT "${readme}" @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/README.md CHANGELOG.md KNOWN-LIMITS.md SECURITY.md
  DESTINATION ${doc_folder} COMPONENT package)
install(DIRECTORY docs/ DESTINATION ${doc_folder}/docs COMPONENT package
  FILES_MATCHING PATTERN *.md PATTERN architecture.md EXCLUDE PATTERN windows-only.md EXCLUDE)
install(DIRECTORY examples/samples/ DESTINATION ${doc_folder}/samples COMPONENT package)
install(FILES examples/zel/EntryName.h examples/zel/EntryName.cpp DESTINATION ${doc_folder}/samples COMPONENT package)
install(FILES debugger/zelcore_gdb.py DESTINATION ${CMAKE_INSTALL_DATADIR}/ZelCore/gdb COMPONENT package)
install(DIRECTORY licenses/ DESTINATION ${CMAKE_INSTALL_DATADIR}/licenses/ZelCore COMPONENT package)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME ZelCore)
set(CPACK_PACKAGE_VENDOR ZelCore)
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_SYSTEM_NAME mingw64)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL package symbols)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
set(CPACK_ARCHIVE_PACKAGE_FILE_NAME ZelCore-${PROJECT_VERSION}-mingw64)
set(CPACK_ARCHIVE_SYMBOLS_FILE_NAME ZelCore-${PROJECT_VERSION}-mingw64-symbols)
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/package/Reproducible.cmake)
include(CPack)
