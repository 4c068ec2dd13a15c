#include "comparison/structures/structureCatalogue.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

namespace zarngi
{

namespace
{

std::string fileName(const std::string& path)
{
    return std::filesystem::path(path).filename().string();
}

/** How each file is called behind the names of its structures. */
std::vector<std::string> fileLabels(const std::vector<files::StructureSet>& sets)
{
    std::vector<std::string> labels;
    for (const files::StructureSet& set : sets) {
        const auto namesakes = std::count_if(sets.begin(), sets.end(), [&](const auto& other) {
            return fileName(other.path) == fileName(set.path);
        });
        labels.push_back(namesakes == 1 ? fileName(set.path) : set.path);
    }
    return labels;
}

} // namespace

StructureCatalogue::StructureCatalogue(std::vector<files::StructureSet> sets, double gridSpacing)
    : sets_(std::move(sets))
{
    for (std::size_t i = 0; i < sets_.size(); ++i) {
        addEntries(i, gridSpacing);
    }
    nameEntries();
}

const files::Structure& StructureCatalogue::structure(std::size_t place) const
{
    return setOf(place).structures[entries_[place].structure];
}

void StructureCatalogue::addEntries(std::size_t set, double gridSpacing)
{
    std::vector<std::unique_ptr<files::Region>> regions = files::regionsOf(sets_[set], gridSpacing);
    for (std::size_t i = 0; i < regions.size(); ++i) {
        entries_.push_back({set, i, std::move(regions[i])});
        names_.push_back({sets_[set].structures[i].name, sets_[set].structures[i].name});
    }
}

void StructureCatalogue::nameEntries()
{
    const std::vector<std::string> labels = fileLabels(sets_);
    std::multiset<std::string> used;
    for (const StructureName& name : names_) {
        used.insert(name.inFile);
    }
    for (std::size_t i = 0; i < names_.size(); ++i) {
        if (used.count(names_[i].inFile) > 1) {
            names_[i].unique = names_[i].inFile + " (" + labels[entries_[i].set] + ")";
        }
    }
}

} // namespace zarngi
