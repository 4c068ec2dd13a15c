/**
 * @file structures.h
 * What the C interface calls structures.
 */
#ifndef ZARNGI_HOST_STRUCTURES_H
#define ZARNGI_HOST_STRUCTURES_H

#include "files/structures/structureSet.h"
#include "host/libZarnGIHost.h"

struct zarnGIHost_Structures {
    files::StructureSet set;
};

#endif
