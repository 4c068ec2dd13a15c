// Included before anything else where clang reads headers of ITK.
//
// CMake generated itk_compiler_detection.h when Debian built ITK, with the features of the one
// compiler that was there, and it stops every other. Clang has all of those features (C++11 and
// C++14), and GCC's binary interface: for this header alone it passes for GCC 12.
#pragma push_macro("__clang__")
#pragma push_macro("__GNUC__")
#undef __clang__
#undef __GNUC__
#define __GNUC__ 12
#include <itk_compiler_detection.h>
#pragma pop_macro("__GNUC__")
#pragma pop_macro("__clang__")
