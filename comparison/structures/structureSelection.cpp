#include "comparison/structures/structureSelection.h"

#include <algorithm>
#include <set>

#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

/** @param who names the expression: empty, or "NAME: ". */
void requireUsable(const MemberPlace& member, const std::string& who,
                   const StructureExpression& expression, const StructureCatalogue& catalogue)
{
    for (const std::size_t place : structuresIn(expression)) {
        if (catalogue.region(place) == nullptr) {
            throw refusalOf(member, who + oneLine(catalogue.names()[place].unique) + ": " +
                                        catalogue.structure(place).refusal);
        }
    }
}

/** Fills a selection, row by row. */
class Selector
{
public:
    explicit Selector(const StructureCatalogue& catalogue) : catalogue_(catalogue) {}

    void add(const std::string& text, const MemberPlace& member)
    {
        const std::size_t equals = text.find('=');
        if (equals != std::string::npos && matches(catalogue_.names(), text).empty()) {
            addCombined(trimmed(std::string_view(text).substr(0, equals)),
                        trimmed(std::string_view(text).substr(equals + 1)), member);
            return;
        }
        for (const std::size_t place : matchesOf(member, catalogue_.names(), text)) {
            addStructure(place);
        }
    }

    void addStructure(std::size_t place)
    {
        if (!known_.insert(place).second) {
            return;
        }
        const std::string& name = catalogue_.names()[place].unique;
        if (catalogue_.region(place) == nullptr) {
            selection_.refused.push_back({name, catalogue_.structure(place).refusal});
            return;
        }
        selection_.shown.push_back({.name = name,
                                    .place = place,
                                    .points = {{ExpressionStep::Kind::structures, {place}}}});
    }

    StructureSelection take() { return std::move(selection_); }

private:
    void addCombined(const std::string& name, const std::string& expression,
                     const MemberPlace& member)
    {
        if (name.empty()) {
            throw refusalOf(member, "\"=" + oneLine(expression) +
                                        "\": the name of the combined structure is missing");
        }
        const bool isTaken =
            std::any_of(catalogue_.names().begin(), catalogue_.names().end(),
                        [&](const StructureName& other) { return other.unique == name; }) ||
            std::any_of(selection_.shown.begin(), selection_.shown.end(),
                        [&](const ChosenStructure& other) { return other.name == name; });
        if (isTaken) {
            throw refusalOf(member, "there is a structure \"" + oneLine(name) +
                                        "\" already; a combined one needs another name");
        }
        ChosenStructure chosen{
            .name = name,
            .expression = expression,
            .points = parseStructureExpression(member, expression, catalogue_.names())};
        std::string who = "\"";
        who.append(oneLine(name)).append("\": ");
        requireUsable(member, who, chosen.points, catalogue_);
        selection_.shown.push_back(std::move(chosen));
    }

    const StructureCatalogue& catalogue_;
    StructureSelection selection_;
    std::set<std::size_t> known_;
};

void exclude(StructureSelection& selection, const std::string& pattern, const MemberPlace& member,
             const StructureCatalogue& catalogue)
{
    std::vector<StructureName> names = catalogue.names();
    for (const ChosenStructure& structure : selection.shown) {
        if (!structure.place) {
            names.push_back({structure.name, structure.name});
        }
    }
    std::set<std::string> excluded;
    for (const std::size_t place : matchesOf(member, names, pattern)) {
        excluded.insert(names[place].unique);
    }
    const auto isExcluded = [&](const auto& structure) {
        return excluded.count(structure.name) > 0;
    };
    std::erase_if(selection.shown, isExcluded);
    std::erase_if(selection.refused, isExcluded);
}

} // namespace

StructureSelection selectStructures(const StructureCatalogue& catalogue,
                                    const std::vector<std::string>& wanted,
                                    const std::vector<std::string>& excluded)
{
    Selector selector(catalogue);
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        selector.add(wanted[i], {Member::shown, i});
    }
    for (std::size_t place = 0; wanted.empty() && place < catalogue.names().size(); ++place) {
        selector.addStructure(place);
    }
    StructureSelection selection = selector.take();
    for (std::size_t i = 0; i < excluded.size(); ++i) {
        exclude(selection, excluded[i], {Member::excluded, i}, catalogue);
    }
    if (!excluded.empty() && selection.shown.empty()) {
        throw refusalOf({Member::excluded}, "no structure is left");
    }
    return selection;
}

StructureExpression structuresTogether(const MemberPlace& place, const std::string& text,
                                       const StructureCatalogue& catalogue,
                                       const StructureSelection& selection)
{
    for (const ChosenStructure& structure : selection.shown) {
        if (!structure.place && structure.name == text) {
            return structure.points;
        }
    }
    const std::vector<std::size_t> places = matches(catalogue.names(), text);
    StructureExpression expression =
        places.empty() ? parseStructureExpression(place, text, catalogue.names())
                       : StructureExpression{{ExpressionStep::Kind::structures, places}};
    requireUsable(place, "", expression, catalogue);
    return expression;
}

files::Runs pointsIn(const StructureExpression& expression, const StructureCatalogue& catalogue,
                     const files::Raster& raster)
{
    return pointsIn(expression,
                    [&](std::size_t place) { return catalogue.region(place)->pointsIn(raster); });
}

} // namespace zarngi
