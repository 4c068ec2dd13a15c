/**
 * @file protocols.h
 * Protocols: requests without files that many pairs share. Some are shipped, others are files.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_PROTOCOLS_H
#define ZARNGI_COMPARISON_DOCUMENTS_PROTOCOLS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "comparison/documents/json.h"
#include "comparison/request/request.h"

namespace zarngi
{

/** A shipped protocol: the document in protocols/, called as its file is. */
struct ShippedProtocol {
    std::string_view name;
    std::string_view text;
};

/** All of them, by their names; the source is made from protocols/ while building. */
const std::vector<ShippedProtocol>& shippedProtocols();

/** "PROTOCOL, PROTOCOL": for sentences. */
std::string namesOfProtocols();

bool isShippedProtocol(std::string_view name);

/** @param name of isShippedProtocol() @throws UsageError for another one, with all names */
Request shippedProtocol(std::string_view name);

/**
 * The protocol in a document, which may be a request or a record: without files, patient and plan.
 * Structures that a pair does not have are left out of it and told.
 * @param name of one that tells none itself
 * @throws UsageError as requestOfText() does
 */
Request protocolOfText(std::string_view text, const std::string& name);

/** Gives one without a name this one, and without a version the first. */
void nameProtocol(Request& request, const std::string& name);

/** What another pair does not change: no files, no patient, no plan. */
Request protocolPart(Request request);

/** As a document to save: its digest is that of what it holds, so it is not told. */
Json protocolJson(Request request);

/** Name, version, title, source and digest of each shipped protocol. */
Json protocolsJson();

/**
 * SHA-256 of the canonical text of a protocol: its document in one line, with all that decides
 * results and verdicts, without files, header, title and source.
 */
std::string protocolDigest(Request request);

/** By which protocol was compared, and whether something was asked otherwise. */
struct UsedProtocol {
    Protocol protocol;
    bool isChanged = false;
};

/** None where what was asked has no name. */
std::optional<UsedProtocol> usedProtocol(const Request& asked);

/** For a record; null where there is none. */
Json usedProtocolJson(const Request& asked);

} // namespace zarngi

#endif
