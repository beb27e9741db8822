# exports/exports.def is the list of what the library exports everywhere, exports_windows.def of what
# it exports on Windows besides. On Linux the first becomes the version script of the .so; for
# Windows both go to the linker as they stand. The import library for 32 bits is made from them once
# more with the stdcall names that C programs refer to; for 64 bits, where names are plain
# throughout, the linker's own is right.
set(tavo_exports_def ${PROJECT_SOURCE_DIR}/exports/exports.def)
set(tavo_exports_windows ${PROJECT_SOURCE_DIR}/exports/exports_windows.def)

function(tavo_limit_exports library)
  if(WIN32)
    target_sources(${library} PRIVATE ${tavo_exports_def} ${tavo_exports_windows})
    if(NOT CMAKE_SIZEOF_VOID_P EQUAL 4)
      return()
    endif()
    # The linker's fixup finds _T_X@4 for T_X, so that the DLL's table has plain names.
    target_link_options(${library} PRIVATE -Wl,--enable-stdcall-fixup)
    # The linker's own import library has the plain names too, which no program that includes
    # tavo45.h asks for: it is replaced.
    add_custom_command(TARGET ${library} POST_BUILD
      COMMAND ${CMAKE_COMMAND} -DNM=${CMAKE_NM} -DDLLTOOL=${CMAKE_DLLTOOL}
              "-DEXPORTS=${tavo_exports_def};${tavo_exports_windows}"
              -DDLL=$<TARGET_FILE:${library}>
              -DDECORATED=${PROJECT_BINARY_DIR}/decorated.def
              -DIMPORT_LIBRARY=$<TARGET_LINKER_FILE:${library}>
              -P ${PROJECT_SOURCE_DIR}/cmake/MakeImportLibrary.cmake
      VERBATIM)
  else()
    set(script ${PROJECT_BINARY_DIR}/exports.map)
    set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY
                 CMAKE_CONFIGURE_DEPENDS ${tavo_exports_def})
    file(STRINGS ${tavo_exports_def} names REGEX "^  ")
    list(JOIN names ";\n" text)
    file(CONFIGURE OUTPUT ${script} CONTENT "{\nglobal:\n@text@;\nlocal:\n  *;\n};\n" @ONLY)
    # A listed name that nothing defines fails the link.
    target_link_options(${library} PRIVATE -Wl,--version-script=${script}
                        -Wl,--no-undefined-version)
    set_property(TARGET ${library} APPEND PROPERTY LINK_DEPENDS ${script})
  endif()
endfunction()
