/**
 * @file outputPlace.h
 * Where an output goes, and whether two names are one file.
 */
#ifndef ZARNGI_CLI_OUTPUT_OUTPUTPLACE_H
#define ZARNGI_CLI_OUTPUT_OUTPUTPLACE_H

#include <sys/types.h>

#include <optional>
#include <string>

namespace zarngi
{

/** Where the contents go that the user wants under a name. */
struct OutputPlace {
    std::string name;    ///< for messages
    std::string path;    ///< of the file to create or replace: links are followed
    int descriptor = -1; ///< open since the program's start, as standard output is
    bool isFile = true;  ///< else a device, a pipe or a descriptor: not replaced, written through

    bool isStandardOutput() const { return descriptor == 1; }
};

/** The place with that name: "-" is standard output. */
OutputPlace placeOf(const std::string& name);

/** What two names of one file have in common. */
struct FileIdentity {
    dev_t device;
    ino_t node;
    std::string newName{}; ///< of a file that is not there yet: the others are those of its folder
    bool isCharacterDevice = false;

    bool operator==(const FileIdentity&) const = default;
};

/** Nothing for a place where no file can be. */
std::optional<FileIdentity> identityOf(const OutputPlace& place);

/** Nothing for a file that is not there. */
std::optional<FileIdentity> identityOfInput(const std::string& path);

} // namespace zarngi

#endif
