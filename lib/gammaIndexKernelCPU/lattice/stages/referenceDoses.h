/**
 * @file referenceDoses.h
 * The reference doses of voxels, one voxel in each lane.
 *
 * Part of lattice/stages/group.h.
 */
#ifndef ZARNGI_LATTICE_STAGES_REFERENCEDOSES_H
#define ZARNGI_LATTICE_STAGES_REFERENCEDOSES_H

#include "gridAxis.h"
#include "lanes/lanes.h"
#include "lattice/pass.h"
#include "lattice/stages/points.h"
#include "lattice/stages/voxelStart.h"

namespace zarngi::engine
{

namespace
{

/** Gives voxels their reference doses, up to Lanes::width of them at once. */
class ReferenceDoses
{
public:
    explicit ReferenceDoses(const SearchPass& pass) : pass_(pass) {}

    void add(VoxelStart& start)
    {
        if (pass_.reader == Reader::nearest || !start.isBetweenCentres()) {
            start.setReferenceDose(pass_, start.findReferenceDose(pass_));
            return;
        }
        for (int a = 0; a < 3; ++a) {
            position_[a][count_] = start.sample[a]->position;
        }
        start_[count_++] = &start;
        if (count_ == Lanes::width) {
            setAll();
        }
    }

    /** Gives their doses to the voxels added since the last time. */
    void setAll()
    {
        if (count_ == 0) {
            return;
        }
        Lanes::F position[3];
        for (int a = 0; a < 3; ++a) {
            for (int lane = count_; lane < Lanes::width; ++lane) { // repeat the first voxel
                position_[a][lane] = position_[a][0];
            }
            position[a] = Lanes::load(position_[a]);
        }
        alignas(64) float dose[Lanes::width];
        Lanes::store(dose, linearDoses(pass_.reference, pass_.reader, position).dose);
        for (int lane = 0; lane < count_; ++lane) {
            start_[lane]->setReferenceDose(pass_, dose[lane]);
        }
        count_ = 0;
    }

private:
    const SearchPass& pass_;
    int count_ = 0;
    VoxelStart* start_[Lanes::width];
    alignas(64) float position_[3][Lanes::width]; ///< mm, sample points
};

} // namespace

} // namespace zarngi::engine

#endif
