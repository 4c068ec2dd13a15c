#include "comparison/documents/protocols.h"

#include <algorithm>
#include <utility>

#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/requestJson.h"
#include "comparison/failure.h"
#include "comparison/fileDigest.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

std::vector<ShippedProtocol>::const_iterator shipped(std::string_view name)
{
    const std::vector<ShippedProtocol>& all = shippedProtocols();
    return std::find_if(all.begin(), all.end(),
                        [&](const ShippedProtocol& one) { return one.name == name; });
}

/** The request of a text; that of a later version is refused with what can be had instead. */
Request readText(std::string_view text)
{
    try {
        return requestOfText(text);
    } catch (const UsageError& error) {
        if (error.member() != "formatVersion") {
            throw;
        }
        throw UsageError(error.member(),
                         error.sentence() + "; shipped with it are " + namesOfProtocols());
    }
}

} // namespace

std::string namesOfProtocols()
{
    std::vector<std::string> names;
    for (const ShippedProtocol& one : shippedProtocols()) {
        names.emplace_back(one.name);
    }
    return join(names, ", ");
}

bool isShippedProtocol(std::string_view name)
{
    return shipped(name) != shippedProtocols().end();
}

Request shippedProtocol(std::string_view name)
{
    const auto found = shipped(name);
    if (found == shippedProtocols().end()) {
        throw UsageError(Sentence("\"") + oneLine(std::string(name)) +
                         "\" is no file and no shipped protocol, which are " + namesOfProtocols());
    }
    return protocolOfText(found->text, std::string(found->name));
}

Request protocolOfText(std::string_view text, const std::string& name)
{
    Request request = protocolPart(readText(text));
    nameProtocol(request, oneLine(name));
    request.structures.ifPresent = true;
    request.protocol.sha256 = protocolDigest(request);
    return request;
}

void nameProtocol(Request& request, const std::string& name)
{
    Protocol& protocol = request.protocol;
    if (protocol.name.empty()) {
        protocol.name.append(name);
        if (protocol.version.empty()) {
            protocol.version.append("1");
        }
    }
}

Request protocolPart(Request request)
{
    clearFiles(request);
    request.header = request.header.ofEveryPatient();
    request.isReferenceGuessed = false;
    request.formerDigests.clear();
    return request;
}

Json protocolJson(Request request)
{
    request.protocol.sha256.clear();
    return requestJson(protocolPart(std::move(request)));
}

Json protocolsJson()
{
    Json list = Json::array();
    for (const ShippedProtocol& one : shippedProtocols()) {
        const Protocol protocol = shippedProtocol(one.name).protocol;
        list.push_back({{"name", one.name},
                        {"version", protocol.version},
                        {"title", protocol.title},
                        {"source", protocol.source},
                        {"sha256", protocol.sha256}});
    }
    return list;
}

std::string protocolDigest(Request request)
{
    request.protocol.title.clear();
    request.protocol.source.clear();
    request.header = {};
    request.identify = false;
    request.structures.ifPresent = true; // decides whether it is refused, not what comes out
    const std::string text = toText(protocolJson(std::move(request)), -1);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text.data());
    return digestOf({bytes, text.size()}).sha256;
}

std::optional<UsedProtocol> usedProtocol(const Request& asked)
{
    const Protocol& protocol = asked.protocol;
    if (protocol.name.empty() || protocol.sha256.empty()) {
        return {};
    }
    return UsedProtocol{protocol, protocolDigest(asked) != protocol.sha256};
}

Json usedProtocolJson(const Request& asked)
{
    const std::optional<UsedProtocol> used = usedProtocol(asked);
    if (!used) {
        return nullptr;
    }
    const Protocol& protocol = used->protocol;
    return {{"name", protocol.name},     {"version", protocol.version},
            {"title", protocol.title},   {"source", protocol.source},
            {"sha256", protocol.sha256}, {"changed", used->isChanged}};
}

} // namespace zarngi
