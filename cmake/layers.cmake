# A folder is a layer: a static library, and the layers that it may use.
#
#   ia_layer(NAME FOLDER dir SOURCES files... USES layers... SEES layers... [LINKS libraries...])
#
# USES names layers that are linked; SEES those that the program links from the
# shared libraries: only their headers are used. Both may name `platform`
# (declarations only; every layer may also use the public headers).
#
#   ia_folder(FOLDER dir SEES layers...)    a folder without a library
#
# ia_check_includes(), called last, checks every source and header of these folders:
# an include of any other folder stops the configuring.
function(ia_layer name)
    cmake_parse_arguments(ARG "" "FOLDER" "SOURCES;USES;SEES;LINKS" ${ARGN})
    add_library(ia_${name} STATIC ${ARG_SOURCES})
    target_include_directories(ia_${name} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
    target_link_libraries(ia_${name} PUBLIC Threads::Threads ${ARG_LINKS})
    foreach(layer ${ARG_USES})
        if(NOT layer STREQUAL "platform")
            target_link_libraries(ia_${name} PUBLIC ia_${layer})
        endif()
    endforeach()
    set_target_properties(ia_${name} PROPERTIES IA_FOLDER "${ARG_FOLDER}")
    ia_folder(FOLDER ${ARG_FOLDER} SEES ${ARG_USES} ${ARG_SEES})
    foreach(layer ${ARG_SEES})
        if(layer MATCHES "rpc" AND NOT "rpc_types" IN_LIST ARG_USES)
            target_include_directories(ia_${name} PRIVATE ${PROJECT_BINARY_DIR}/generated)
            add_dependencies(ia_${name} ia_rpc_types)  # its headers are generated
        endif()
    endforeach()
endfunction()

# Layers in the same folder may include the same.
function(ia_folder)
    cmake_parse_arguments(ARG "" "FOLDER" "SEES" ${ARGN})
    set_property(GLOBAL APPEND PROPERTY IA_FOLDERS ${ARG_FOLDER})
    set_property(GLOBAL APPEND PROPERTY "IA_MAY_SEE ${ARG_FOLDER}" ${ARG_SEES})
endfunction()

function(ia_check_includes)
    get_property(folders GLOBAL PROPERTY IA_FOLDERS)
    list(REMOVE_DUPLICATES folders)
    foreach(folder ${folders})
        ia_allowed_folders(${folder} allowed)
        file(GLOB files CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.h
            ${PROJECT_SOURCE_DIR}/${folder}/*.cpp ${PROJECT_SOURCE_DIR}/${folder}/*.c)
        foreach(file ${files})
            ia_check_file(${file} "${allowed}")
        endforeach()
    endforeach()
endfunction()

function(ia_allowed_folders folder result)
    set(allowed pppoeia ${folder})
    if(folder MATCHES "^(node/|management$)")
        list(APPEND allowed node)  # common to its layers
    endif()
    get_property(layers GLOBAL PROPERTY "IA_MAY_SEE ${folder}")
    foreach(layer ${layers})
        if(layer STREQUAL "platform")
            list(APPEND allowed platform platform/bll)
        elseif(TARGET ia_${layer})
            get_target_property(seen ia_${layer} IA_FOLDER)
            list(APPEND allowed ${seen})
        endif()
    endforeach()
    list(REMOVE_DUPLICATES allowed)
    set(${result} "${allowed}" PARENT_SCOPE)
endfunction()

function(ia_check_file file allowed)
    file(STRINGS ${file} lines REGEX "^[ \t]*#[ \t]*include[ \t]*\"[^\"]+\"")
    foreach(line ${lines})
        string(REGEX REPLACE "^[^\"]*\"([^\"]+)\".*" "\\1" path "${line}")
        get_filename_component(folder "${path}" DIRECTORY)
        if(folder AND NOT folder IN_LIST allowed)
            message(FATAL_ERROR "${file} includes \"${path}\": its folder may use only ${allowed}")
        endif()
    endforeach()
endfunction()
