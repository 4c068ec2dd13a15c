/**
 * @file boundaries.h
 * The boundaries between voxels along an axis.
 */
#ifndef ZARNGI_FILES_SIMULATIONS_BOUNDARIES_H
#define ZARNGI_FILES_SIMULATIONS_BOUNDARIES_H

#include <string_view>
#include <vector>

namespace files
{

class Boundaries
{
public:
    explicit Boundaries(char axis) : axis_(axis) {}

    /** Adds one. @param word as it is written: how many digits it has tells how it is rounded. */
    void add(double centimetres, std::string_view word);

    /**
     * The size of the voxels, by the first and the last boundary, mm.
     * @throws Refusal when they do not rise evenly, or stand for an axis without an end.
     */
    double spacing() const;

    /** The centre of the first voxel, mm. @throws Refusal where spacing() does. */
    double firstCentre() const;

private:
    void checkRises() const;
    double tolerance(double spacing) const;

    char axis_;
    std::vector<double> places_; ///< mm
    double finest_ = 10;         ///< mm, of the last digit that is written
};

} // namespace files

#endif
