/**
 * @file structureLimits.h
 * Numbers that hold for single structures: "95" for all, "PTV*:98" for some.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_STRUCTURELIMITS_H
#define ZARNGI_COMPARISON_STRUCTURES_STRUCTURELIMITS_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "comparison/structures/namePattern.h"

namespace zarngi
{

/** A text for the structures that a pattern means: "PTV*:2%/1mm"; the last colon separates. */
struct ForStructures {
    std::string pattern; ///< empty: for all
    std::string text;
};

ForStructures splitAtLastColon(const std::string& text);

/** Percentages, of all voxels and of single structures. */
class StructureLimits
{
public:
    /** @param member that they are, which errors name. */
    explicit StructureLimits(Member member) : member_(member) {}
    /**
     * @param texts like "95" (once) and "PTV*:98".
     * @throws UsageError
     */
    StructureLimits(Member member, const std::vector<std::string>& texts);

    /** What is said of all voxels. */
    std::optional<double> general() const { return general_; }
    bool namesStructures() const { return !own_.empty(); }
    /** Leaves out what is said of structures whose pattern is not kept. */
    void keepOwn(const std::function<bool(const std::string& pattern)>& isKept);
    /** As a person would write them. */
    std::vector<std::string> texts() const;

    /**
     * What is said of each of the structures; the last pattern that matches counts.
     * @throws UsageError where a pattern matches none
     */
    std::vector<std::optional<double>> of(const std::vector<StructureName>& structures) const;

private:
    struct Own {
        std::string pattern;
        double percent;
    };

    Member member_;
    std::optional<double> general_;
    std::vector<Own> own_;
};

} // namespace zarngi

#endif
