# Compiler flags, as interface targets: tov_arithmetic (the same bits from every compiler and machine), tov_speed and
# tov_warnings.

set(TOV_GNU_LIKE FALSE)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang" AND NOT MSVC)
    set(TOV_GNU_LIKE TRUE)
endif()

add_library(tov_arithmetic INTERFACE)
if(TOV_GNU_LIKE)
    target_compile_options(tov_arithmetic INTERFACE
        -ffp-contract=off -fno-math-errno -fno-trapping-math -fopenmp-simd)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86|x86_64|AMD64)$")
        target_compile_options(tov_arithmetic INTERFACE -msse2 -mfpmath=sse)
    endif()
elseif(MSVC)
    target_compile_options(tov_arithmetic INTERFACE /fp:precise)
endif()
if(TOV_ISA OR TOV_COVERAGE OR TOV_SANITIZE)
    target_compile_definitions(tov_arithmetic INTERFACE TOV_NO_MULTIVERSION)
endif()

# For the kernels, and for the loops that they are measured against. A loop of a few instructions takes twice as long
# where it lies across two cache lines. g++ would make calls of memcpy and memset from blocks that are to stay in
# registers, and from short runs.
add_library(tov_speed INTERFACE)
if(TOV_GNU_LIKE)
    target_compile_options(tov_speed INTERFACE $<$<CONFIG:Release,RelWithDebInfo>:-O3> -falign-loops=32)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(tov_speed INTERFACE -fno-tree-loop-distribute-patterns)
    endif()
endif()

add_library(tov_warnings INTERFACE)
if(TOV_GNU_LIKE)
    target_compile_options(tov_warnings INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wundef -Wvla -Wcast-qual -Wformat=2
        $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wmissing-declarations>
        $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>)
    if(TOV_WERROR)
        target_compile_options(tov_warnings INTERFACE -Werror)
    endif()
    if(CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND NOT TOV_REQUIRE_SIMD)
        # Whether a loop is vectorised depends on the optimisation level, so it fails the build only where asked for.
        target_compile_options(tov_warnings INTERFACE -Wno-error=pass-failed)
    endif()
elseif(MSVC)
    target_compile_options(tov_warnings INTERFACE /W4 $<$<BOOL:${TOV_WERROR}>:/WX>)
endif()

if(TOV_SANITIZE)
    add_compile_options(-fsanitize=${TOV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${TOV_SANITIZE})
endif()
if(TOV_COVERAGE)
    add_compile_options(--coverage)
    add_link_options(--coverage)
endif()
if(TOV_ISA)
    add_compile_options(-march=${TOV_ISA})
endif()
