# Precompiled headers: ccache takes them for changed in every new folder, and the counters of coverage
# are not in all sources.
if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES ccache OR ZARNGI_COVERAGE)
    set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()

get_filename_component(zarngi_top ${CMAKE_CURRENT_LIST_DIR} DIRECTORY)

# zarngi_standard_headers(TARGET): headers of the standard library, parsed once for all sources of a
# target. Each source includes what it uses all the same: scripts/tidy.sh compiles it without.
function(zarngi_standard_headers target)
    target_precompile_headers(${target} PRIVATE ${zarngi_top}/cmake/plainMath.h
        <algorithm> <array> <cstdint> <functional> <limits> <map> <memory> <optional> <set>
        <span> <string> <string_view> <utility> <variant> <vector>)
endfunction()

# zarngi_reader_headers(TARGET): standard headers, and what most readers see.
function(zarngi_reader_headers target)
    zarngi_standard_headers(${target})
    target_precompile_headers(${target} PRIVATE ${zarngi_top}/files/error.h ${zarngi_top}/files/text.h)
endfunction()

# zarngi_comparison_headers(TARGET): standard headers, and what is compared. Much of it stands in few
# headers, which a compiler parses for longer than what uses them.
function(zarngi_comparison_headers target)
    zarngi_standard_headers(${target})
    target_precompile_headers(${target} PRIVATE
        ${zarngi_top}/comparison/compare.h
        ${zarngi_top}/comparison/documents/json.h
        ${zarngi_top}/comparison/failure.h
        ${zarngi_top}/comparison/text.h)
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
endfunction()

# zarngi_little_work(SOURCES): those whose run takes no time a person could notice, whatever the compiler
# does. -O1 compiles them in a third less time; the bits of what they compute are the same.
function(zarngi_little_work)
    set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS $<$<CONFIG:Release>:-O1>)
endfunction()
