#include "files/structures/structureNames.h"

#include <map>
#include <set>

namespace files
{

void makeNamesUnique(std::vector<Structure>& structures)
{
    std::map<std::string, std::size_t> counts;
    std::set<std::string> taken;
    for (const Structure& structure : structures) {
        if (++counts[structure.name] == 1) {
            taken.insert(structure.name);
        }
    }
    std::map<std::string, int> tried;
    for (Structure& structure : structures) {
        if (counts[structure.name] == 1) {
            continue;
        }
        const std::string name = structure.name + " (" + std::to_string(structure.number);
        structure.name = name + ")";
        // Layers of a mask may use one label for several structures of one name.
        for (int& i = tried[name]; !taken.insert(structure.name).second;) {
            structure.name = name + ", " + std::to_string(++i + 1) + ")";
        }
    }
}

} // namespace files
