/**
 * @file isodoseVolume.h
 * The volume that a dose encloses, whatever lies in it.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_ISODOSEVOLUME_H
#define ZARNGI_COMPARISON_STRUCTURES_ISODOSEVOLUME_H

#include "comparison/doseSampling.h"

namespace zarngi
{

/** cc, at or above a dose (Gy), by the sub-points of the dose's own grid. */
double isodoseVolume(const DoseView& dose, double level);

} // namespace zarngi

#endif
