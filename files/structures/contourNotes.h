/**
 * @file contourNotes.h
 * What a person should know of the contours of a structure, in words.
 */
#ifndef ZARNGI_FILES_STRUCTURES_CONTOURNOTES_H
#define ZARNGI_FILES_STRUCTURES_CONTOURNOTES_H

#include <string>
#include <vector>

#include "files/structures/structureSet.h"

namespace files
{

/** That there are none, and what was left out; each continues "NAME: ". */
std::vector<std::string> contourNotes(const Structure& structure);

} // namespace files

#endif
