#include "comparison/composition/presentStructures.h"

#include <algorithm>
#include <set>
#include <string>

#include "comparison/composition/chosenStructures.h"
#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** Tells which names mean a structure, and keeps those that mean none. */
class Presence
{
public:
    explicit Presence(std::vector<StructureName> names) : names_(std::move(names)) {}

    /** A structure made of others: its parts are looked for where it is made. */
    void addCombined(const std::string& text)
    {
        const std::size_t equals = text.find('=');
        if (equals != std::string::npos && matches(names_, text).empty()) {
            const std::string name = trimmed(std::string_view(text).substr(0, equals));
            names_.push_back({name, name});
            combined_.insert(text);
        }
    }

    bool isThere(const std::string& pattern)
    {
        if (combined_.count(pattern) > 0 || !matches(names_, pattern).empty()) {
            return true;
        }
        missing_.insert(pattern);
        return false;
    }

    void keepPresent(std::vector<std::string>& patterns)
    {
        std::erase_if(patterns, [this](const std::string& pattern) { return !isThere(pattern); });
    }

    const std::set<std::string>& missing() const { return missing_; }

private:
    std::vector<StructureName> names_;
    std::set<std::string> combined_;
    std::set<std::string> missing_;
};

void keepPresentCriteria(std::vector<CriterionRequest>& criteria, Presence& presence)
{
    std::erase_if(criteria, [&](CriterionRequest& asked) {
        const bool isForAll = asked.patterns.empty();
        presence.keepPresent(asked.patterns);
        return !isForAll && asked.patterns.empty();
    });
    if (criteria.empty()) {
        throw refusalOf({Member::criteria}, "none of their structures is there");
    }
}

/** Names that were asked for are not replaced by all that there are. */
void keepPresentNames(StructureRequest& structures, Presence& presence)
{
    const bool areNamed = !structures.shown.empty();
    presence.keepPresent(structures.shown);
    presence.keepPresent(structures.excluded);
    if (areNamed && structures.shown.empty() && structures.within.empty()) {
        structures.files.clear();
    }
    if (structures.files.empty()) {
        StructureRequest none;
        none.within = structures.within;
        none.ifPresent = true;
        structures = std::move(none);
    }
}

/** Goals, less those of structures that are not there, and all of them where none is shown. */
void keepPresentGoals(Request& request, Presence& presence, std::vector<Sentence>& warnings)
{
    std::erase_if(request.goals, [&](const Goal& goal) { return !presence.isThere(goal.pattern); });
    if (!request.structures.files.empty()) {
        return;
    }
    for (const Goal& goal : request.goals) {
        warnings.emplace_back("no structure is shown, so \"" + oneLine(goal.text) +
                              "\" is left out");
    }
    request.goals.clear();
}

} // namespace

Request presentPart(Request request, const StructureCatalogue* catalogue,
                    std::vector<Sentence>& warnings)
{
    Presence presence(catalogue != nullptr ? catalogue->names() : std::vector<StructureName>());
    for (const std::string& text : request.structures.shown) {
        if (catalogue != nullptr) {
            presence.addCombined(text);
        }
    }
    keepPresentCriteria(request.criteria, presence);
    const auto isThere = [&](const std::string& pattern) { return presence.isThere(pattern); };
    for (StructureLimits* const limits :
         {&request.limits.tolerance, &request.limits.action, &request.limits.failBelow}) {
        limits->keepOwn(isThere);
    }
    keepPresentNames(request.structures, presence);
    keepPresentGoals(request, presence, warnings);
    for (const std::string& pattern : presence.missing()) {
        warnings.emplace_back("no structure is called \"" + oneLine(pattern) +
                              "\", so it is left out");
    }
    return request;
}

void leaveOutStructures(Request& request, std::vector<Sentence>& warnings)
{
    if (request.structures.ifPresent && request.structures.files.empty()) {
        request = presentPart(std::move(request), nullptr, warnings);
    }
}

std::shared_ptr<const StructureCatalogue>
presentCatalogue(Request& request, DoseSource& source, const std::vector<const DoseImage*>& doses,
                 std::vector<Sentence>& warnings)
{
    std::shared_ptr<const StructureCatalogue> catalogue =
        catalogueOf(request.structures, source, doses, warnings);
    if (catalogue && request.structures.ifPresent) {
        request = presentPart(std::move(request), catalogue.get(), warnings);
        if (request.structures.files.empty()) {
            catalogue = nullptr;
        }
    }
    return catalogue;
}

} // namespace zarngi
