# An overlay port: the sources are the tree that this file stands in.
#   vcpkg install tavo45 --overlay-ports=packaging/vcpkg
get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)

vcpkg_check_features(OUT_FEATURE_OPTIONS options FEATURES tools TAVO_TOOLS)
vcpkg_cmake_configure(SOURCE_PATH "${SOURCE_PATH}" OPTIONS -DTAVO_TESTS=OFF ${options})
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME Tavo45 CONFIG_PATH lib/cmake/Tavo45)
vcpkg_fixup_pkgconfig()
if("tools" IN_LIST FEATURES)
  vcpkg_copy_tools(TOOL_NAMES tavo AUTO_CLEAN)
endif()
# Both kinds of library are installed: the package for CMake names them, and programs choose.
set(VCPKG_POLICY_DLLS_IN_STATIC_LIBRARY enabled)
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")
