# quorvel_allocator: linked by the programs that open scenes for people who wait for them. A scene is some tens of
# thousands of blocks, and a few large ones that come and go; tcmalloc keeps their memory, where the C library hands it
# back and has every page cleared again (docs/performance.md). Programs work without it, and under a sanitizer they have
# to.
find_library(QUORVEL_TCMALLOC tcmalloc_minimal)
mark_as_advanced(QUORVEL_TCMALLOC)

add_library(quorvel_allocator INTERFACE)
if(QUORVEL_SANITIZE OR QUORVEL_FUZZ)
    message(STATUS "Memory: the sanitizer's allocator")
elseif(QUORVEL_TCMALLOC)
    message(STATUS "Memory: ${QUORVEL_TCMALLOC}")
    target_link_libraries(quorvel_allocator INTERFACE
        -Wl,--push-state,--no-as-needed ${QUORVEL_TCMALLOC} -Wl,--pop-state)
else()
    message(STATUS "Memory: the C library's allocator, which is slower (libgoogle-perftools-dev is not there)")
endif()
