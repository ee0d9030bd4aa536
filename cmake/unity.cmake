# unity_by_folder(TARGET): in a unity build (CMAKE_UNITY_BUILD), what lies in one folder is compiled as one text, so that the headers it
# includes are read once, and not once a file.
function(unity_by_folder target)
  get_target_property(sources ${target} SOURCES)
  foreach(source ${sources})
    get_filename_component(folder ${source} ABSOLUTE)
    get_filename_component(folder ${folder} DIRECTORY)
    file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${folder})
    string(MAKE_C_IDENTIFIER ${folder} group)
    set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${group})
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD_MODE GROUP)
endfunction()
