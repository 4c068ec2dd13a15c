/**
 * @file dicomStructure.h
 * The skeleton of a DICOM file, checked before a reader believes it.
 */
#ifndef ZARNGI_CLI_DICOMSTRUCTURE_H
#define ZARNGI_CLI_DICOMSTRUCTURE_H

#include <string>

namespace cli
{

/**
 * Walks over all elements and checks that each lies within the file. A reader fills what a cut
 * file lacks with zeros, which would be doses.
 * @throws InputError
 */
void checkDicomStructure(const std::string& path);

} // namespace cli

#endif
