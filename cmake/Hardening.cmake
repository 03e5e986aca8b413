# What every target is hardened with, as the distribution's own packages are, where compiler and linker have it.
# Sanitizers bring checks of their own, which some of these get in the way of.
if(QUORVEL_SANITIZE OR QUORVEL_FUZZ)
    return()
endif()
include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)
include(CheckPIESupported)

check_pie_supported(LANGUAGES CXX)

set(flags -fstack-protector-strong -fstack-clash-protection "-Wformat -Werror=format-security")
# Whether jumps go where they may is checked by the processor.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86|i.86|AMD64")
    list(APPEND flags -fcf-protection)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
    list(APPEND flags -mbranch-protection=standard)
endif()
foreach(flag IN LISTS flags)
    string(MAKE_C_IDENTIFIER "QUORVEL_HAS${flag}" has_flag)
    check_cxx_compiler_flag("${flag}" ${has_flag})
    if(${has_flag})
        add_compile_options("SHELL:${flag}")
    endif()
endforeach()
# Without optimisation the C library has nothing to check with, and warns.
add_compile_options("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")

# Addresses of library functions are all looked up at the start, and cannot be overwritten after that.
check_linker_flag(CXX -Wl,-z,relro,-z,now QUORVEL_HAS_READ_ONLY_RELOCATIONS)
if(QUORVEL_HAS_READ_ONLY_RELOCATIONS)
    add_link_options(-Wl,-z,relro,-z,now)
endif()
