# A folder is a layer: a static library of its own, with the layers it may use.
#
#   ia_layer(NAME FOLDER dir SOURCES files... USES layers... [LINKS libraries...])
#
# USES may name a layer, or `platform` (declarations only; every layer may also
# use the public headers). An include of any other folder ends the configuring.
function(ia_layer name)
    cmake_parse_arguments(ARG "" "FOLDER" "SOURCES;USES;LINKS" ${ARGN})
    add_library(ia_${name} STATIC ${ARG_SOURCES})
    target_include_directories(ia_${name} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
    target_link_libraries(ia_${name} PUBLIC Threads::Threads ${ARG_LINKS})
    set(allowed pppoeia ${ARG_FOLDER})
    if(ARG_FOLDER MATCHES "^node/")
        list(APPEND allowed node)  # what all of its layers share
    endif()
    foreach(layer ${ARG_USES})
        if(layer STREQUAL "platform")
            list(APPEND allowed platform platform/bll)
        else()
            target_link_libraries(ia_${name} PUBLIC ia_${layer})
            get_target_property(folder ia_${layer} IA_FOLDER)
            list(APPEND allowed ${folder})
        endif()
    endforeach()
    set_target_properties(ia_${name} PROPERTIES IA_FOLDER "${ARG_FOLDER}")
    ia_check_includes(${name} "${allowed}")
endfunction()

# Every quoted include of a layer's sources, and of the headers beside them, must
# start with an allowed folder.
function(ia_check_includes name allowed)
    get_target_property(sources ia_${name} SOURCES)
    foreach(source ${sources})
        string(REGEX REPLACE "[.]cpp$" ".h" header "${source}")
        foreach(file ${source} ${header})
            if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${file})
                ia_check_file(${name} ${CMAKE_CURRENT_SOURCE_DIR}/${file} "${allowed}")
            endif()
        endforeach()
    endforeach()
endfunction()

function(ia_check_file name file allowed)
    file(STRINGS ${file} lines REGEX "^#include \"[^\"]+\"")
    foreach(line ${lines})
        string(REGEX REPLACE "^#include \"([^\"]+)\".*" "\\1" path "${line}")
        get_filename_component(folder "${path}" DIRECTORY)
        if(folder AND NOT folder IN_LIST allowed)
            message(FATAL_ERROR "${file} includes \"${path}\": layer ${name} may use only ${allowed}")
        endif()
    endforeach()
endfunction()
