#include "comparison/structures/structureCatalogue.h"

#include <algorithm>
#include <set>
#include <utility>

#include "platform/paths.h"

namespace zarngi
{

namespace
{

/** How each file is called behind the names of its structures. */
std::vector<std::string> fileLabels(const std::vector<files::StructureSet>& sets)
{
    std::vector<std::string> labels;
    for (const files::StructureSet& set : sets) {
        const auto namesakes = std::count_if(sets.begin(), sets.end(), [&](const auto& other) {
            return platform::nameOf(other.path) == platform::nameOf(set.path);
        });
        labels.push_back(namesakes == 1 ? platform::nameOf(set.path) : set.path);
    }
    return labels;
}

/** How each file is called by its role. */
std::vector<std::string> roleLabels(std::size_t count)
{
    std::vector<std::string> labels;
    for (std::size_t i = 0; i < count; ++i) {
        labels.push_back(structuresRole(i, count));
    }
    return labels;
}

void nameByRole(std::vector<files::StructureSet>& sets)
{
    for (std::size_t i = 0; i < sets.size(); ++i) {
        for (files::Structure& structure : sets[i].structures) {
            if (structure.isNamedAfterFile) {
                structure.name = structuresRole(i, sets.size());
            }
        }
    }
}

} // namespace

std::string structuresRole(std::size_t file, std::size_t files)
{
    return files > 1 ? "structures " + std::to_string(file + 1) : "structures";
}

StructureCatalogue::StructureCatalogue(std::vector<files::StructureSet> sets, double gridSpacing,
                                       bool isDiscreet)
    : sets_(std::move(sets))
{
    if (isDiscreet) {
        nameByRole(sets_);
    }
    for (std::size_t i = 0; i < sets_.size(); ++i) {
        addEntries(i, gridSpacing);
    }
    nameEntries(isDiscreet ? roleLabels(sets_.size()) : fileLabels(sets_));
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

void StructureCatalogue::nameEntries(const std::vector<std::string>& labels)
{
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
