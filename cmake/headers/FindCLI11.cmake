# CLI11 as the headers that it consists of.
find_path(CLI11_INCLUDE_DIR CLI/CLI.hpp REQUIRED)
add_library(CLI11::CLI11 INTERFACE IMPORTED)
target_include_directories(CLI11::CLI11 INTERFACE ${CLI11_INCLUDE_DIR})
set(CLI11_FOUND TRUE)
