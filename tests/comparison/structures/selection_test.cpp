#include <gtest/gtest.h>

#include "comparison/failure.h"
#include "comparison/structures/structureExpression.h"
#include "comparison/structures/structureLimits.h"
#include "comparison/structures/structureSelection.h"

using files::Runs;
using zarngi::StructureName;
using zarngi::UsageError;

namespace
{

std::vector<StructureName> namesOf(const std::vector<std::string>& texts)
{
    std::vector<StructureName> names;
    for (const std::string& text : texts) {
        names.push_back({text, text});
    }
    return names;
}

using Places = std::vector<std::size_t>;

TEST(NamePattern, ANameItselfWins)
{
    const auto names =
        namesOf({"PTV1", "ptv1", "PTV10", "Dose 52[cGy]", "Dose 52c", "PTV*", "Br\xC3\xBCste"});
    for (const auto& [pattern, places] : std::vector<std::pair<std::string, Places>>{
             {"PTV1", {0}},
             {"ptv1", {1}},
             {"Ptv1", {0, 1}},
             {"ptv1?", {2}},
             {"PTV*", {5}},
             {"ptv*", {5}},
             {"p*", {0, 1, 2, 5}},
             {"Dose 52[cGy]", {3}},
             {"dose 52[xc]", {4}},
             {"br*ste", {6}},
             {"br?ste", {6}},
             {"br??ste", {}},
             {"BR\xC3\x9CSTE", {6}},
             {"br[\xC3\xA4-\xC3\xBC]ste", {6}},
             {"br[!\xC3\xBC]ste", {}},
             {"br[^a-z]ste", {6}},
             {"ptv1[0]", {2}},
             {"ptv[1", {}},
             {"ptv[]1]0", {2}},
             {"ptv\\*", {5}},
             {"*v*1*", {0, 1, 2}},
             {"*\xC3", {}},
             {"nothing", {}},
             {"", {}},
         }) {
        EXPECT_EQ(zarngi::matches(names, pattern), places) << pattern;
    }
    EXPECT_EQ(zarngi::matches({{"A (s.dcm)", "A"}, {"A (t.dcm)", "A"}}, "A"), (Places{0, 1}));
    EXPECT_EQ(zarngi::matches({{"A (s.dcm)", "A"}, {"A (t.dcm)", "A"}}, "a (T.dcm)"), (Places{1}));
}

/** What an expression gives where structure i is the points whose bit i is set. */
Runs evaluated(const std::string& text, const std::vector<StructureName>& names)
{
    return pointsIn(parseStructureExpression({zarngi::Member::shown}, text, names),
                    [](std::size_t place) {
                        Runs runs;
                        for (int x = 0; x < 32; ++x) {
                            if ((x >> place & 1) != 0) {
                                runs = files::unionOf(runs, {{0, 0, x, x + 1}});
                            }
                        }
                        return runs;
                    });
}

/** The points whose number fulfils a condition, as runs. */
template <class Condition> Runs where(const Condition& condition)
{
    Runs runs;
    for (int x = 0; x < 32; ++x) {
        const auto bit = [x](int i) { return (x >> i & 1) != 0; };
        if (condition(bit(0), bit(1), bit(2), bit(3), bit(4))) {
            runs = files::unionOf(runs, {{0, 0, x, x + 1}});
        }
    }
    return runs;
}

TEST(StructureExpression, Evaluates)
{
    const auto names = namesOf({"a", "b-c", "b", "c", "A (x)"});
    EXPECT_EQ(evaluated("b|c", names),
              where([](bool, bool, bool b, bool c, bool) { return b || c; }));
    EXPECT_EQ(evaluated("a-b-c", names), // the longest name first
              where([](bool a, bool bc, bool, bool, bool) { return a && !bc; }));
    EXPECT_EQ(evaluated("a - 'b' - c", names),
              where([](bool a, bool, bool b, bool c, bool) { return a && !b && !c; }));
    EXPECT_EQ(evaluated("a - b & c", names),
              where([](bool a, bool, bool b, bool c, bool) { return a && !(b && c); }));
    EXPECT_EQ(evaluated("(a - \"b\") & c", names),
              where([](bool a, bool, bool b, bool c, bool) { return a && !b && c; }));
    EXPECT_EQ(evaluated("a | b - c", names),
              where([](bool a, bool, bool b, bool c, bool) { return (a || b) && !c; }));
    EXPECT_EQ(evaluated("B & a (X)", names),
              where([](bool, bool, bool b, bool, bool d) { return b && d; }));
    EXPECT_EQ(evaluated("?", names),
              where([](bool a, bool, bool b, bool c, bool) { return a || b || c; }));
}

TEST(StructureExpression, Refuses)
{
    const auto names = namesOf({"a", "b"});
    for (const std::string& text :
         {std::string(), std::string("a |"), std::string("| a"), std::string("(a"),
          std::string("a)"), std::string("'a"), std::string("a & x"), std::string("(a) b"),
          std::string(200, '(') + "a" + std::string(200, ')')}) {
        EXPECT_THROW(parseStructureExpression({zarngi::Member::shown}, text, names), UsageError)
            << text;
    }
}

TEST(StructureLimits, TheLastThatMatchesCounts)
{
    const auto names = namesOf({"PTV1", "PTV2", "a:b"});
    const zarngi::StructureLimits limits(zarngi::Member::tolerance,
                                         {"90", "PTV*:98", "PTV2:97.5", "a:b:50"});
    EXPECT_EQ(limits.general(), 90);
    EXPECT_EQ(limits.of(names), (std::vector<std::optional<double>>{98, 97.5, 50}));
    EXPECT_FALSE(zarngi::StructureLimits(zarngi::Member::action, {"PTV*:98"}).general());
    EXPECT_EQ(zarngi::StructureLimits(zarngi::Member::action, {}).of(names),
              std::vector<std::optional<double>>(3));
    for (const char* const text : {"", ":90", "x", "101", "-1", "PTV1:", "PTV1:nan"}) {
        EXPECT_THROW(zarngi::StructureLimits(zarngi::Member::tolerance, {text}), UsageError)
            << text;
    }
    EXPECT_THROW(zarngi::StructureLimits(zarngi::Member::tolerance, {"90", "91"}), UsageError);
    EXPECT_THROW(zarngi::StructureLimits(zarngi::Member::tolerance, {"X:90"}).of(names),
                 UsageError);
}

files::StructureSet setOf(const std::string& path, const std::vector<std::string>& names)
{
    files::StructureSet set;
    set.path = path;
    for (const std::string& name : names) {
        files::Structure& structure = set.structures.emplace_back();
        structure.name = name;
        structure.refusal = name == "bad" ? "is bad" : "";
    }
    return set;
}

std::string shown(const zarngi::StructureSelection& selection)
{
    std::string text;
    for (const zarngi::ChosenStructure& chosen : selection.shown) {
        text += (text.empty() ? "" : ", ") + chosen.name;
    }
    for (const zarngi::RefusedStructure& refused : selection.refused) {
        text += "; " + refused.name + " " + refused.reason;
    }
    return text;
}

TEST(StructureSelection, RowsAreChosenAndNamedApart)
{
    const zarngi::StructureCatalogue catalogue(
        {setOf("x/s.dcm", {"A", "bad", "B"}), setOf("y/s.dcm", {"A"}), setOf("t.nrrd", {"C", "B"})},
        2);
    using Texts = std::vector<std::string>;
    const auto selected = [&](const Texts& wanted, const Texts& excluded) {
        return shown(selectStructures(catalogue, wanted, excluded));
    };
    EXPECT_EQ(selected({}, {}), "A (x/s.dcm), B (x/s.dcm), A (y/s.dcm), C, B (t.nrrd); bad is bad");
    EXPECT_EQ(selected({"C", "A", "a*"}, {}), "C, A (x/s.dcm), A (y/s.dcm)");
    EXPECT_EQ(selected({"C", "bad"}, {}), "C; bad is bad");
    EXPECT_EQ(selected({"C", "bad"}, {"BAD"}), "C");
    EXPECT_EQ(selected({"n=C-B", "C", "m=C|'A (y/s.dcm)'"}, {"c"}), "n, m");
    EXPECT_EQ(selected({"n=C-B", "C"}, {"N"}), "C");
    for (const Texts& wanted : {Texts{"X"}, Texts{"n=C-bad"}, Texts{"C=A"}, Texts{"n=A", "n=B"},
                                Texts{"=A"}, Texts{"n="}}) {
        EXPECT_THROW(selected(wanted, {}), UsageError) << wanted.front();
    }
    EXPECT_THROW(selected({}, {"X"}), UsageError);
    EXPECT_THROW(selected({"C"}, {"C"}), UsageError);

    const auto selection = selectStructures(catalogue, {"n=C-B", "C"}, {});
    const auto together = [&](const std::string& text) {
        return structuresIn(
            structuresTogether({zarngi::Member::within}, text, catalogue, selection));
    };
    EXPECT_EQ(together("n"), (Places{2, 4, 5}));
    EXPECT_EQ(together("C"), (Places{4}));
    EXPECT_EQ(together("A - C"), (Places{0, 3, 4}));
    EXPECT_THROW(together("bad"), UsageError);
}

} // namespace
