# Warnings of every target of this project; errors where ZARNGI_WERROR is on (CI).
option(ZARNGI_WERROR "Treat compiler warnings as errors" OFF)

add_library(zarngi_warnings INTERFACE)
target_compile_options(zarngi_warnings INTERFACE
    -Wall -Wextra
    $<$<COMPILE_LANGUAGE:CXX>:-Wshadow -Wconversion -Wsign-conversion>
    $<$<BOOL:${ZARNGI_WERROR}>:-Werror>)
