#include "comparison/documents/warningsJson.h"

namespace zarngi
{

Json warningsJson(const std::vector<Sentence>& warnings, const Wording& wording)
{
    Json list = Json::array();
    for (const Sentence& warning : warnings) {
        list.push_back(warning.text(wording));
    }
    return list;
}

Json gateJson(const std::vector<GateWarning>& gate, const Wording& wording)
{
    Json list = Json::array();
    for (const GateWarning& warning : gate) {
        list.push_back(
            {{"name", gateName(warning.name)}, {"text", warning.sentence.text(wording)}});
    }
    return list;
}

} // namespace zarngi
