/**
 * @file namedPart.h
 * Voxels of the reference that have a name.
 */
#ifndef ZARNGI_COMPARISON_STRUCTURES_NAMEDPART_H
#define ZARNGI_COMPARISON_STRUCTURES_NAMEDPART_H

#include <string>

#include "files/structures/runs.h"

namespace zarngi
{

/** A part of the reference; its voxels belong to somebody else. */
struct NamedPart {
    std::string name;
    const files::Runs* voxels;
};

} // namespace zarngi

#endif
