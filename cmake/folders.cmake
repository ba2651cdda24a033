# One library a folder, and includes that the compiler holds to the links.
#
# An include is written from the repository's root ("src/core/orvik_data.h"). What a target may include is decided by
# its links alone: each target has an include folder of its own in the build tree, with links to its headers and to no
# others, and passes it on to the targets that link it. An include of a folder that is not linked finds no file.

# orvik_headers(TARGET VISIBILITY HEADERS...)
# Makes the headers (paths from the current folder, or whole) visible to TARGET, and as VISIBILITY (PUBLIC, PRIVATE or
# INTERFACE) says to its users. A folder as HEADERS shows all of it.
function(orvik_headers target visibility)
  set(root ${CMAKE_BINARY_DIR}/include/${target})
  foreach(header ${ARGN})
    cmake_path(ABSOLUTE_PATH header BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
    file(RELATIVE_PATH path ${PROJECT_SOURCE_DIR} ${header})
    get_filename_component(folder ${root}/${path} DIRECTORY)
    file(MAKE_DIRECTORY ${folder})
    file(CREATE_LINK ${header} ${root}/${path} SYMBOLIC)
  endforeach()
  target_include_directories(${target} ${visibility} ${root})
endfunction()

# orvik_record_arrows(TARGET LINKS...): notes the current folder as the target's, its files and its direct links for the
# arrows' test and drawing, which read ${CMAKE_BINARY_DIR}/arrows.txt.
function(orvik_record_arrows target)
  get_target_property(sources ${target} SOURCES)
  get_target_property(sources_folder ${target} SOURCE_DIR)
  get_property(headers GLOBAL PROPERTY ORVIK_HEADERS_${target})
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  set(files "")
  foreach(file ${sources} ${headers})
    if(file)
      cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY ${sources_folder} NORMALIZE)
      file(RELATIVE_PATH path ${PROJECT_SOURCE_DIR} ${file})
      list(APPEND files ${path})
    endif()
  endforeach()
  list(JOIN files " " files)
  list(JOIN ARGN " " links)
  set_property(GLOBAL APPEND_STRING PROPERTY ORVIK_ARROWS "${target}|${folder}|${files}|${links}\n")
endfunction()

# orvik_folder(NAME SOURCES... [HEADERS...] [LINKS...] [PRIVATE_LINKS...])
# Makes the library NAME of the current folder. HEADERS are all headers of the folder where none are named. LINKS are
# the folders that its headers include, PRIVATE_LINKS those that only its sources include.
function(orvik_folder name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;HEADERS;LINKS;PRIVATE_LINKS")
  if(NOT arg_HEADERS)
    file(GLOB arg_HEADERS CONFIGURE_DEPENDS *.h)
  endif()
  set_property(GLOBAL PROPERTY ORVIK_HEADERS_${name} ${arg_HEADERS})
  file(REMOVE_RECURSE ${CMAKE_BINARY_DIR}/include/${name})
  if(arg_SOURCES)
    add_library(${name} ${arg_SOURCES})
    target_link_libraries(${name} PUBLIC ${arg_LINKS} PRIVATE orvik_options ${arg_PRIVATE_LINKS})
    orvik_headers(${name} PUBLIC ${arg_HEADERS})
  else()
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE ${arg_LINKS})
    orvik_headers(${name} INTERFACE ${arg_HEADERS})
  endif()
  orvik_record_arrows(${name} ${arg_LINKS} ${arg_PRIVATE_LINKS})
endfunction()

# orvik_program(NAME SOURCES... [HEADERS...] LINKS...)
# Makes a program of the current folder; HEADERS are its own.
function(orvik_program name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;HEADERS;LINKS")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LINKS} orvik_options)
  set_property(GLOBAL PROPERTY ORVIK_HEADERS_${name} ${arg_HEADERS})
  if(arg_HEADERS)
    file(REMOVE_RECURSE ${CMAKE_BINARY_DIR}/include/${name})
    orvik_headers(${name} PRIVATE ${arg_HEADERS})
  endif()
  orvik_record_arrows(${name} ${arg_LINKS})
endfunction()
