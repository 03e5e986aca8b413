# What every target of the project is built with: quorvel_target(<target>).

set(QUORVEL_SANITIZE "" CACHE STRING "Value of -fsanitize= for every target; empty for none")
option(QUORVEL_TIDY "Run clang-tidy on every source" OFF)
option(QUORVEL_FUZZ "Build the fuzz targets for libFuzzer, with the address sanitizer; needs clang" OFF)

if(QUORVEL_TIDY)
    find_program(QUORVEL_CLANG_TIDY NAMES clang-tidy-14 clang-tidy REQUIRED)
endif()
find_program(QUORVEL_CCACHE ccache)

function(quorvel_target target)
    # Programs do not depend on where and when they were built.
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wdate-time
        "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/="
        "-ffile-prefix-map=${PROJECT_BINARY_DIR}/=build/")
    # Assertions stay fatal in the shipped build, the toolkit's own container checks included.
    target_compile_definitions(${target} PRIVATE
        QT_FORCE_ASSERTS
        QT_MESSAGELOGCONTEXT
        QT_NO_FOREACH
        QUORVEL_VERSION="${PROJECT_VERSION}")
    if(QUORVEL_SANITIZE)
        target_compile_options(${target} PRIVATE
            -fsanitize=${QUORVEL_SANITIZE} -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${QUORVEL_SANITIZE})
    endif()
    if(QUORVEL_FUZZ)
        target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link,address -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=address)
    endif()
    if(QUORVEL_TIDY)
        set_target_properties(${target} PROPERTIES CXX_CLANG_TIDY "${QUORVEL_CLANG_TIDY}")
    elseif(QUORVEL_CCACHE)
        set_target_properties(${target} PROPERTIES CXX_COMPILER_LAUNCHER "${QUORVEL_CCACHE}")
    endif()
endfunction()
