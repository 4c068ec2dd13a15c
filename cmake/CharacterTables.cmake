# The tables of coded character sets are made while building, from the codecs of any Python 3.
find_program(ZARNGI_TABLES_PYTHON NAMES python3 python REQUIRED NO_CMAKE_FIND_ROOT_PATH
    DOC "Python 3, which makes the tables of character sets")

# zarngi_character_tables(result top): the source with the tables, made by the script in the tree
# whose top is given.
function(zarngi_character_tables result top)
    set(script ${top}/files/characters/tables.py)
    set(made ${CMAKE_CURRENT_BINARY_DIR}/characterTables.cpp)
    add_custom_command(OUTPUT ${made}
        COMMAND ${ZARNGI_TABLES_PYTHON} -I -B ${script} ${made}
        DEPENDS ${script}
        COMMENT "Making the tables of character sets")
    set(${result} ${made} PARENT_SCOPE)
endfunction()
