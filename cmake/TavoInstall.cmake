# cmake --install: header, libraries, CMake package, pkg-config file, manual pages.
include(CMakePackageConfigHelpers)

# Releases are installed without symbols, as by cmake --install --strip.
option(TAVO_STRIP "Strip what cmake --install installs of a release" ON)
if(TAVO_STRIP)
  install(CODE [[
    if("${CMAKE_INSTALL_CONFIG_NAME}" STREQUAL "Release")
      set(CMAKE_INSTALL_DO_STRIP TRUE)
    endif()]])
endif()

install(TARGETS tavo45 tavo45_static EXPORT Tavo45Targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/tavo45.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Tavo45)
install(EXPORT Tavo45Targets NAMESPACE Tavo45:: DESTINATION ${package_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/Tavo45Config.cmake.in
  ${PROJECT_BINARY_DIR}/Tavo45Config.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/Tavo45ConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/Tavo45Config.cmake ${PROJECT_BINARY_DIR}/Tavo45ConfigVersion.cmake
  DESTINATION ${package_dir})

# Paths relative to the file itself, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pkgconfig /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig ${prefix_from_pkgconfig})
get_target_property(library_name tavo45 OUTPUT_NAME)
set(private_libraries "")
if(WIN32)
  set(private_libraries "-lgdi32 -luser32")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/tavo45.pc.in ${PROJECT_BINARY_DIR}/tavo45.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tavo45.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The manual pages of the functions are made from the header, where there is a Python to do it;
# packages of sources may come without the program.
find_package(Python3 COMPONENTS Interpreter QUIET)
set(manual ${PROJECT_SOURCE_DIR}/scripts/manual)
if(Python3_FOUND AND EXISTS ${manual}/man_pages.py AND NOT CMAKE_CROSSCOMPILING)
  set(man3 ${PROJECT_BINARY_DIR}/man3)
  add_custom_command(OUTPUT ${man3}/tavo45.3
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${man3}
    COMMAND Python3::Interpreter -B ${manual}/man_pages.py ${man3} ${PROJECT_VERSION}
    DEPENDS ${PROJECT_SOURCE_DIR}/include/tavo45.h ${manual}/man_pages.py ${manual}/header_text.py
    VERBATIM)
  add_custom_target(tavo45_manual ALL DEPENDS ${man3}/tavo45.3)
  install(DIRECTORY ${man3} DESTINATION ${CMAKE_INSTALL_MANDIR})
endif()
