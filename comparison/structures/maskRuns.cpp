#include "comparison/structures/maskRuns.h"

#include <algorithm>

namespace zarngi
{

files::Runs runsOf(const Geometry& grid, std::span<const unsigned char> mask)
{
    const auto isSet = [](unsigned char value) { return value != 0; };
    const unsigned char* row = mask.data();
    files::Runs runs;
    for (int z = 0; z < grid.size[2]; ++z) {
        for (int y = 0; y < grid.size[1]; ++y, row += grid.size[0]) {
            const auto* const end = row + grid.size[0];
            for (const auto* x = std::find_if(row, end, isSet); x != end;) {
                const auto* const behind = std::find_if_not(x, end, isSet);
                runs.push_back({z, y, static_cast<int>(x - row), static_cast<int>(behind - row)});
                x = std::find_if(behind, end, isSet);
            }
        }
    }
    return runs;
}

} // namespace zarngi
