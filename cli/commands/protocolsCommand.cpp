#include "cli/commands/protocolsCommand.h"

#include <algorithm>
#include <iostream>

#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/protocols.h"

namespace zarngi
{

namespace
{

/** A protocol takes two lines: what it is for, and below it who has agreed on it. */
void printList()
{
    std::size_t width = 0;
    for (const ShippedProtocol& one : shippedProtocols()) {
        width = std::max(width, one.name.size() + 2);
    }
    for (const ShippedProtocol& one : shippedProtocols()) {
        const Protocol protocol = shippedProtocol(one.name).protocol;
        std::string name(one.name);
        name.resize(width, ' ');
        std::cout << name << protocol.title << '\n'
                  << std::string(width, ' ') << protocol.source << '\n';
    }
}

} // namespace

ExitCode protocols(const std::string& name, bool asJson)
{
    if (!name.empty()) {
        std::cout << toText(protocolJson(shippedProtocol(name)), 2) << '\n';
    } else if (asJson) {
        std::cout << toText(protocolsJson(), 2) << '\n';
    } else {
        printList();
    }
    return ExitCode::fine;
}

} // namespace zarngi
