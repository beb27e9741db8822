# The version resource of a Windows module: what Explorer and installers show and compare.
function(tavo_version_resource target description)
  if(NOT WIN32)
    return()
  endif()
  enable_language(RC)
  get_target_property(type ${target} TYPE)
  set(file_type 1)  # VFT_APP
  if(type STREQUAL "SHARED_LIBRARY")
    set(file_type 2)  # VFT_DLL
  endif()
  get_target_property(name ${target} OUTPUT_NAME)
  if(NOT name)
    set(name ${target})
  endif()
  set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${script} @ONLY)
  target_sources(${target} PRIVATE ${script})
endfunction()
