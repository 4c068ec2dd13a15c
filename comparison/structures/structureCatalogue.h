/**
 * @file structureCatalogue.h
 * The structures of one or more files, each under a name of its own.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_STRUCTURECATALOGUE_H
#define ZARNGI_COMPARISON_STRUCTURES_STRUCTURECATALOGUE_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "comparison/structures/namePattern.h"
#include "files/structures/region.h"
#include "files/structures/structureSet.h"

namespace zarngi
{

/** What a file of structures is called where names of files are not told: "structures 2". */
std::string structuresRole(std::size_t file, std::size_t files);

class StructureCatalogue
{
public:
    /**
     * Names that several files use get the name of the file behind them, or its path where files
     * of one name lie in different folders.
     * @param gridSpacing mm, of the dose grid along z.
     * @param isDiscreet whether no name holds that of a file: then "structures 2", the second
     * file's, stands in its place.
     */
    StructureCatalogue(std::vector<files::StructureSet> sets, double gridSpacing,
                       bool isDiscreet = false);

    const std::vector<files::StructureSet>& sets() const { return sets_; }
    /** Of the structures, in the order of the files; their places here are used elsewhere. */
    const std::vector<StructureName>& names() const { return names_; }

    const files::StructureSet& setOf(std::size_t place) const { return sets_[entries_[place].set]; }
    const files::Structure& structure(std::size_t place) const;
    /** Null where the contours cannot be taken. */
    const files::Region* region(std::size_t place) const { return entries_[place].region.get(); }

private:
    struct Entry {
        std::size_t set;
        std::size_t structure;
        std::unique_ptr<files::Region> region;
    };

    void addEntries(std::size_t set, double gridSpacing);
    void nameEntries(const std::vector<std::string>& labels);

    std::vector<files::StructureSet> sets_;
    std::vector<Entry> entries_;
    std::vector<StructureName> names_;
};

} // namespace zarngi

#endif
