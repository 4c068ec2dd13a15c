/**
 * @file machine.h
 * What a record tells of the machine on which it was made.
 */
#ifndef ZARNGI_PLATFORM_MACHINE_H
#define ZARNGI_PLATFORM_MACHINE_H

#include <string>
#include <vector>

namespace platform
{

/** Name and version: "Linux 6.1.0". */
std::string systemName();

/** As its maker calls it; empty where that is not told. */
std::string processorName();

/** The file of the program that runs. */
std::string programFile();

/** The file that holds the code at an address, as a library does; empty where none is known. */
std::string fileOfCode(const void* address);

} // namespace platform

#endif
