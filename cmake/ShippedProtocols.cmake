# zarngi_shipped_protocols(result top): the source with the documents of comparison/protocols/, in
# the tree whose top is given. Needs CharacterTables.cmake, which finds Python.
function(zarngi_shipped_protocols result top)
    file(GLOB documents CONFIGURE_DEPENDS ${top}/comparison/protocols/*.json)
    set(script ${top}/comparison/protocols/embed.py)
    set(made ${CMAKE_CURRENT_BINARY_DIR}/shippedProtocols.cpp)
    add_custom_command(OUTPUT ${made}
        COMMAND ${ZARNGI_TABLES_PYTHON} -I -B ${script} ${made} ${documents}
        DEPENDS ${script} ${documents}
        COMMENT "Making the source with the shipped protocols")
    set(${result} ${made} PARENT_SCOPE)
endfunction()
