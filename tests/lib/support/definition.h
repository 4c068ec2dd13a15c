// The definition of the search, by the names that the tests use.
#ifndef ZARNGI_TESTS_DEFINITION_H
#define ZARNGI_TESTS_DEFINITION_H

#include "comparison/selfTest/definition.h"

using zarngi::definition::DefinedVoxel;
using zarngi::definition::mapByDefinition;
using zarngi::definition::searchByDefinition;

#endif
