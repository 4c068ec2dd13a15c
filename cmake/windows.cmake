# Cross-compiles for 64-bit Windows by Debian's compiler, whose runtime is linked in: what is built
# needs the system's own libraries only. scripts/windows-dependencies.sh brings what Debian lacks.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(cross x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${cross}-gcc-posix)
set(CMAKE_CXX_COMPILER ${cross}-g++-posix)
set(CMAKE_RC_COMPILER ${cross}-windres)
get_filename_component(ZARNGI_WINDOWS_DEPENDENCIES
    ${CMAKE_CURRENT_LIST_DIR}/../build/windows-dependencies ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${ZARNGI_WINDOWS_DEPENDENCIES} /usr/${cross})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Modules for what is headers alone.
list(APPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR}/headers)
# The library as such, not the one that needs another file beside the program.
set(ZLIB_LIBRARY /usr/${cross}/lib/libz.a CACHE FILEPATH "zlib, linked in")

set(link_flags "-static -Wl,--no-insert-timestamp -Wl,--dynamicbase -Wl,--nxcompat -Wl,--high-entropy-va")
# What is needed is Windows 10: an older system reads it in the header and does not start the program.
string(APPEND link_flags " -Wl,--major-os-version=10,--minor-os-version=0")
string(APPEND link_flags " -Wl,--major-subsystem-version=10,--minor-subsystem-version=0")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${link_flags}")
# As much stack as on Linux.
set(CMAKE_EXE_LINKER_FLAGS_INIT "${link_flags} -Wl,--stack,8388608")
