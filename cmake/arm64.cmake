# Cross-compiles for 64-bit ARM by Debian's compiler; what is built is run by an emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(ZARNGI_DEBIAN_ARCHITECTURE arm64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR "qemu-aarch64;-L;/usr/aarch64-linux-gnu")
# scripts/arm64-dependencies.sh unpacks there what readers of files take.
get_filename_component(arm64_dependencies
    ${CMAKE_CURRENT_LIST_DIR}/../build/arm64-dependencies/usr ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${arm64_dependencies} /usr/aarch64-linux-gnu)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Modules for what is headers alone.
list(APPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR}/headers)
