// The records of the engine's exported lists, which hosts walk through. A failure here calls for a
// new soname.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "gammaIndexKernelCPU.h"

template <typename Field, typename Declared>
constexpr bool isAt(std::size_t actual, std::size_t expected)
{
    return actual == expected && std::is_same_v<Field, Declared>;
}

#define AT(record, field, type, offset)                                                            \
    static_assert(isAt<type, decltype(record::field)>(offsetof(record, field), offset),            \
                  "moved or retyped: " #field)

AT(ActiveVoxel, ivxl, std::int32_t, 0);
AT(ActiveVoxel, passed, bool, 4);
AT(ActiveVoxel, stopSearching, bool, 5);
AT(ActiveVoxel, ichk, std::int32_t, 8);
AT(ActiveVoxel, irefvxl, std::int32_t, 12);
AT(ActiveVoxel, gammasq, float, 16);
AT(ActiveVoxel, distanceMinGamma, float, 20);
static_assert(sizeof(ActiveVoxel) == 24, "ActiveVoxel changed its size");

AT(vec3dRT, x, float, 0);
AT(vec3dRT, y, float, 4);
AT(vec3dRT, z, float, 8);
static_assert(sizeof(vec3dRT) == 12, "vec3dRT changed its size");
