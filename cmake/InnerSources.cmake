# Precompiled headers: ccache takes them for changed in every new folder, and the counters of coverage
# are not in all sources.
if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES ccache OR ZARNGI_COVERAGE)
    set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()

# zarngi_standard_headers(TARGET): headers of the standard library, parsed once for all sources of a
# target. Each source includes what it uses all the same: scripts/tidy.sh and the engine of the page
# compile it without.
function(zarngi_standard_headers target)
    target_precompile_headers(${target} PRIVATE
        <algorithm> <array> <cmath> <cstdint> <functional> <limits> <map> <memory> <optional> <set>
        <span> <string> <string_view> <utility> <variant> <vector>)
endfunction()

# zarngi_inner_sources(TARGET): sources around the library, compiled alike wherever they go: into
# shared libraries, which show nothing of them, and into programs. Doses are the same bits on every
# processor: no multiply-add that rounds once instead of twice.
function(zarngi_inner_sources target)
    set_target_properties(${target} PROPERTIES
        POSITION_INDEPENDENT_CODE ON
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_compile_options(${target} PRIVATE -ffp-contract=off)
    if(target STREQUAL zarngi_files)
        zarngi_standard_headers(${target})
    elseif(target MATCHES "^(zarngi_comparison|ZarnGIHost)$") # not what is smaller, or parses options
        target_precompile_headers(${target} REUSE_FROM zarngi_files)
    endif()
endfunction()

# zarngi_program_sources(TARGET): those of programs. Few of them see the parser of options, whose
# templates cost each that sees them seconds and are optimised no more than they are worth.
function(zarngi_program_sources target)
    zarngi_inner_sources(${target})
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1>)
    target_precompile_headers(${target} REUSE_FROM zarngi_files)
endfunction()
