#include "comparison/selfTest/grid.h"

#include <cstring>

#include "libZarnGI.h"

namespace zarngi::definition
{

Grid makeGrid(std::array<int, 3> nn, std::array<float, 3> hs, std::array<float, 3> x0,
              const std::function<float(int, int, int)>& dose)
{
    Grid grid{nn, hs, x0, {}};
    for (int iz = 0; iz < nn[2]; ++iz) {
        for (int iy = 0; iy < nn[1]; ++iy) {
            for (int ix = 0; ix < nn[0]; ++ix) {
                grid.map.push_back(dose(ix, iy, iz));
            }
        }
    }
    return grid;
}

Grid makeRow(const std::vector<float>& doses, float size)
{
    return {{static_cast<int>(doses.size()), 1, 1}, {size, size, size}, {0, 0, 0}, doses};
}

int setRef(Grid grid)
{
    return zarnGI_setRef(grid.nn.data(), grid.hs.data(), grid.x0.data(), grid.map.data());
}

int setEval(Grid grid)
{
    return zarnGI_setEval(grid.nn.data(), grid.hs.data(), grid.x0.data(), grid.map.data());
}

bool sameBits(const std::vector<float>& a, const std::vector<float>& b)
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

} // namespace zarngi::definition
