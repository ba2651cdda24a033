# One library a folder. The include root is the repository, so that an include names the tree and the folder that it
# reaches into: #include "src/core/orvik_data.h".

# orvik_folder(NAME SOURCES... [LINKS LIBRARIES...])
# Makes the static library NAME of the current folder's SOURCES. LINKS are the only folders it may include from.
function(orvik_folder name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS;PRIVATE_LINKS")
  if(arg_SOURCES)
    add_library(${name} STATIC ${arg_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${arg_LINKS} PRIVATE orvik_options ${arg_PRIVATE_LINKS})
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} INTERFACE ${arg_LINKS})
  endif()
endfunction()
