# Fails when a file of the library includes a header of a higher layer. Lower layers must build
# and make sense without the higher ones, so a dependency may only point down (or sideways
# within one layer).
#
# Run as: cmake -DSOURCE_DIR=<top of the project> -P check_layers.cmake
cmake_minimum_required(VERSION 3.25)

set(layers platform "framework archive" foundation "time positioning" comms places phonebook)

# Known exceptions, each "<file> <folder it includes>", waiting to be moved. An entry that no
# longer occurs fails the check too, so the list only ever shrinks.
set(known "")

set(rank 0)
foreach(layer IN LISTS layers)
    string(REPLACE " " ";" folders "${layer}")
    foreach(folder IN LISTS folders)
        set(rank_of_${folder} ${rank})
    endforeach()
    math(EXPR rank "${rank} + 1")
endforeach()

file(GLOB_RECURSE files RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/src/*.h ${SOURCE_DIR}/src/*.cpp
     ${SOURCE_DIR}/include/shared/*/*.h)
set(violations "")
set(seen "")
foreach(file IN LISTS files)
    # src/<folder>/... or include/shared/<folder>/...
    string(REGEX MATCH "^(src|include/shared)/([a-z]+)/" _ "${file}")
    set(own ${CMAKE_MATCH_2})
    if(NOT DEFINED rank_of_${own})
        list(APPEND violations "${file}: folder '${own}' has no layer")
        continue()
    endif()
    file(STRINGS ${SOURCE_DIR}/${file} includes REGEX "^[ \t]*#[ \t]*include[ \t]*[<\"]")
    foreach(line IN LISTS includes)
        # Each MATCHES on its own: a failed match in the same condition would clear CMAKE_MATCH_1.
        if(line MATCHES "shared/([a-z]+)/")
            set(target ${CMAKE_MATCH_1})
        elseif(line MATCHES "\"\\.\\./([a-z]+)/")
            set(target ${CMAKE_MATCH_1})
        elseif(line MATCHES "shared/Shared\\.h")
            set(target tool)
        else()
            continue()
        endif()
        if(target STREQUAL "tool" OR NOT DEFINED rank_of_${target})
            list(APPEND violations "${file}: ${line} (outside every library layer)")
        elseif(rank_of_${target} GREATER rank_of_${own})
            if("${file} ${target}" IN_LIST known)
                list(APPEND seen "${file} ${target}")
            else()
                list(APPEND violations "${file} (${own}) includes ${target}: ${line}")
            endif()
        endif()
    endforeach()
endforeach()

foreach(entry IN LISTS known)
    if(NOT entry IN_LIST seen)
        list(APPEND violations "${entry}: listed as a known exception but no longer occurs")
    endif()
endforeach()

# The umbrella header promises every public header; a new one left out of it is easy to miss.
file(READ ${SOURCE_DIR}/include/shared/Shared.h umbrella)
foreach(file IN LISTS files)
    if(file MATCHES "^include/(shared/[a-z]+/[A-Za-z0-9_]+\\.h)$")
        string(FIND "${umbrella}" "<${CMAKE_MATCH_1}>" at)
        if(at EQUAL -1)
            list(APPEND violations "${file}: missing from include/shared/Shared.h")
        endif()
    endif()
endforeach()

if(violations)
    list(JOIN violations "\n  " text)
    message(FATAL_ERROR "layer or umbrella faults:\n  ${text}")
endif()
list(LENGTH files count)
list(LENGTH known exceptions)
message(STATUS "${count} files, every include points down or sideways but ${exceptions} known")
