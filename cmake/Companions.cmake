# A program beside the viewer that lacks a library of its own is left out, and with it its manual page and its tests;
# everything else is built.
#
#   quorvel_leave_out(<program> <missing>... [TARGETS <target>...])   says so in one line
#   quorvel_is_left_out(<result> <target>...)                         whether one of the targets is not there for that

function(quorvel_leave_out program)
    cmake_parse_arguments(LEFT_OUT "" "" "TARGETS" ${ARGN})
    list(JOIN LEFT_OUT_UNPARSED_ARGUMENTS ", " missing)
    message(STATUS "${program} is left out: no ${missing}")
    set_property(GLOBAL APPEND PROPERTY QUORVEL_LEFT_OUT ${program} ${LEFT_OUT_TARGETS})
endfunction()

function(quorvel_is_left_out result)
    get_property(left_out GLOBAL PROPERTY QUORVEL_LEFT_OUT)
    set(${result} FALSE PARENT_SCOPE)
    foreach(target IN LISTS ARGN)
        if(target IN_LIST left_out)
            set(${result} TRUE PARENT_SCOPE)
        endif()
    endforeach()
endfunction()
