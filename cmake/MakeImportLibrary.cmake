# Writes DECORATED, the names in the files EXPORTS as the stdcall symbols in DLL (T_GetVersion@0), and makes
# IMPORT_LIBRARY from it: programs link to _T_GetVersion@0 and load T_GetVersion.
execute_process(COMMAND ${NM} --defined-only --extern-only ${DLL}
                OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
set(names)
foreach(list IN LISTS EXPORTS)
  file(STRINGS ${list} listed REGEX "^  ")
  list(APPEND names ${listed})
endforeach()
get_filename_component(dll_name ${DLL} NAME)
set(text "LIBRARY \"${dll_name}\"\nEXPORTS\n")
foreach(name IN LISTS names)
  string(STRIP ${name} name)
  if(NOT symbols MATCHES " T _(${name}@[0-9]+)[\r\n]")
    message(FATAL_ERROR "${name} is exported but is not a stdcall function of ${dll_name}")
  endif()
  string(APPEND text "  ${CMAKE_MATCH_1}\n")
endforeach()
file(WRITE ${DECORATED} "${text}")
# Symbols in it are made of its name as given here, which no folder may be part of.
get_filename_component(folder ${IMPORT_LIBRARY} DIRECTORY)
get_filename_component(name ${IMPORT_LIBRARY} NAME)
execute_process(COMMAND ${DLLTOOL} --kill-at -d ${DECORATED} -l ${name}
                WORKING_DIRECTORY ${folder} COMMAND_ERROR_IS_FATAL ANY)
