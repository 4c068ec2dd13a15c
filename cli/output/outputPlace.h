/**
 * @file outputPlace.h
 * Where an output goes.
 */
#ifndef ZARNGI_CLI_OUTPUT_OUTPUTPLACE_H
#define ZARNGI_CLI_OUTPUT_OUTPUTPLACE_H

#include <optional>
#include <string>

#include "platform/console.h"
#include "platform/places.h"

namespace zarngi
{

/** Where the contents go that the user wants under a name. */
struct OutputPlace {
    std::string name;    ///< for messages
    std::string path;    ///< of the file to create or replace: links are followed
    int descriptor = -1; ///< open since the program's start, as standard output is
    bool isFile = true;  ///< else a device, a pipe or a descriptor: not replaced, written through

    bool isStandardOutput() const { return descriptor == platform::standardOutput; }
};

/** The place with that name: "-" is standard output. */
OutputPlace placeOf(const std::string& name);

/** Nothing for a place where no file can be. */
std::optional<platform::FileIdentity> identityOf(const OutputPlace& place);

} // namespace zarngi

#endif
