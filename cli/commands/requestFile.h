/**
 * @file requestFile.h
 * Requests in files: what `--request` reads and `--save-request` writes.
 */
#ifndef ZARNGI_CLI_COMMANDS_REQUESTFILE_H
#define ZARNGI_CLI_COMMANDS_REQUESTFILE_H

#include <string>

#include "comparison/request/request.h"

namespace zarngi
{

/**
 * The request in a file, or that of the record in it; files that it names lie relative to it.
 * @throws InputError, UsageError
 */
Request readRequest(const std::string& path);

/**
 * A shipped protocol, or that in a file, which may be a request or a record.
 * @throws InputError, UsageError; where it is neither, with the names of those that are shipped
 */
Request readProtocol(const std::string& nameOrFile);

/** A request whose files are named as a document in a folder must name them. */
Request relocated(Request request, const std::string& folder);

/** A request to be used again: the document without files, called as the file is. */
std::string protocolText(Request request, const std::string& path);

} // namespace zarngi

#endif
