#include "comparison/request/gate.h"

#include <algorithm>
#include <array>

#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** In the order of Gate. */
constexpr std::array<const char*, static_cast<std::size_t>(Gate::guessedReference) + 1> names{
    "identical-doses",    "other-patient",  "other-patient-structures",
    "other-patient-plan", "maxima-ratio",   "unreached",
    "little-overlap",     "negative-doses", "guessed-reference"};

Gate parseGate(const std::string& text, const MemberPlace& place)
{
    const auto* const found = std::find(names.begin(), names.end(), text);
    if (found == names.end()) {
        throw refusalOf(place,
                        Sentence("\"") + oneLine(text) + "\" is none of " +
                            join(std::vector<std::string>(names.begin(), names.end()), ", "));
    }
    return static_cast<Gate>(found - names.begin());
}

} // namespace

const char* gateName(Gate gate)
{
    return names[static_cast<std::size_t>(gate)];
}

std::vector<Gate> parseGates(const std::vector<std::string>& texts)
{
    std::vector<Gate> gates;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const Gate gate = parseGate(texts[i], {Member::refuse, i});
        if (std::find(gates.begin(), gates.end(), gate) == gates.end()) {
            gates.push_back(gate);
        }
    }
    return gates;
}

std::vector<std::string> textsOf(const std::vector<Gate>& gates)
{
    std::vector<std::string> texts;
    for (const Gate gate : gates) {
        texts.emplace_back(gateName(gate));
    }
    return texts;
}

} // namespace zarngi
