# zarngi_compressed(VARIABLE FILE [NAME]): a file compressed as Debian wants its manual pages and
# changelogs, the same bytes each time; its path in VARIABLE, named NAME.gz where a name is given.
function(zarngi_compressed variable file)
    cmake_path(GET file FILENAME name)
    if(ARGC GREATER 2)
        set(name ${ARGV2})
    endif()
    set(compressed ${CMAKE_CURRENT_BINARY_DIR}/${name}.gz)
    add_custom_command(OUTPUT ${compressed}
        COMMAND gzip --best --no-name --stdout ${file} > ${compressed}
        DEPENDS ${file} VERBATIM)
    add_custom_target(compressed_${name} ALL DEPENDS ${compressed})
    set(${variable} ${compressed} PARENT_SCOPE)
endfunction()
