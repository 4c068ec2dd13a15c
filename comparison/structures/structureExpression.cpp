#include "comparison/structures/structureExpression.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "comparison/failure.h"
#include "comparison/text.h"
#include "files/characters/utf8.h"

namespace zarngi
{

namespace
{

using Kind = ExpressionStep::Kind;

constexpr std::string_view operators = "|&-()";

/** A parser that goes down the rules of the notation and writes the steps in the order of doing. */
class Parser
{
public:
    Parser(const MemberPlace& place, const std::string& text,
           const std::vector<StructureName>& names)
        : place_(place), text_(text), names_(names)
    {
    }

    StructureExpression parse()
    {
        readSum(0);
        if (next() != '\0') {
            fail("an operator is missing before \"" + text_.substr(position_) + "\"");
        }
        return std::move(steps_);
    }

private:
    [[noreturn]] void fail(const std::string& reason) const
    {
        throw refusalOf(place_, Sentence("\"") + oneLine(text_) + "\": " + oneLine(reason));
    }

    /** The next character that is no blank; NUL at the end. */
    char next()
    {
        while (position_ < text_.size() && text_[position_] == ' ') {
            ++position_;
        }
        return position_ < text_.size() ? text_[position_] : '\0';
    }

    void readSum(int depth)
    {
        readProduct(depth);
        for (char c = next(); c == '|' || c == '-'; c = next()) {
            ++position_;
            readProduct(depth);
            steps_.push_back({c == '|' ? Kind::either : Kind::without});
        }
    }

    void readProduct(int depth)
    {
        readTerm(depth);
        while (next() == '&') {
            ++position_;
            readTerm(depth);
            steps_.push_back({Kind::both});
        }
    }

    void readTerm(int depth)
    {
        constexpr int deepest = 100;
        const char c = next();
        if (const std::size_t length = longestName(); length > 0) {
            addStructures(text_.substr(std::exchange(position_, position_ + length), length));
        } else if (c == '(') {
            if (depth == deepest) {
                fail("has too many parentheses");
            }
            ++position_;
            readSum(depth + 1);
            if (next() != ')') {
                fail("a parenthesis is not closed");
            }
            ++position_;
        } else if (c == '"' || c == '\'') {
            readQuoted(c);
        } else {
            readWord();
        }
    }

    void readQuoted(char quote)
    {
        const std::size_t end = text_.find(quote, position_ + 1);
        if (end == std::string::npos) {
            fail("a quote is not closed");
        }
        addStructures(text_.substr(position_ + 1, end - position_ - 1));
        position_ = end + 1;
    }

    void readWord()
    {
        const std::size_t end = std::min(text_.find_first_of(operators, position_), text_.size());
        const std::string word =
            trimmed(std::string_view(text_).substr(position_, end - position_));
        if (word.empty()) {
            fail("a structure is missing");
        }
        addStructures(word);
        position_ = end;
    }

    void addStructures(const std::string& pattern)
    {
        steps_.push_back({Kind::structures, matchesOf(place_, names_, pattern)});
    }

    /** Of the names that stand here, with an operator or nothing behind; 0: none. */
    std::size_t longestName() const
    {
        const std::string rest = files::inSmallLetters(std::string_view(text_).substr(position_));
        std::size_t longest = 0;
        for (const StructureName& both : names_) {
            for (const std::string& name : {both.unique, both.inFile}) {
                const std::size_t behind = rest.find_first_not_of(' ', name.size());
                const bool isWhole = rest.starts_with(files::inSmallLetters(name)) &&
                                     (behind == std::string::npos ||
                                      operators.find(rest[behind]) != std::string_view::npos);
                longest = isWhole ? std::max(longest, name.size()) : longest;
            }
        }
        return longest;
    }

    const MemberPlace& place_;
    const std::string& text_;
    const std::vector<StructureName>& names_;
    std::size_t position_ = 0;
    StructureExpression steps_;
};

files::Runs combined(Kind kind, const files::Runs& a, const files::Runs& b)
{
    switch (kind) {
    case Kind::either:
        return files::unionOf(a, b);
    case Kind::both:
        return files::intersection(a, b);
    default:
        return files::difference(a, b);
    }
}

} // namespace

StructureExpression parseStructureExpression(const MemberPlace& place, const std::string& text,
                                             const std::vector<StructureName>& names)
{
    return Parser(place, text, names).parse();
}

std::vector<std::size_t> structuresIn(const StructureExpression& expression)
{
    std::vector<std::size_t> places;
    for (const ExpressionStep& step : expression) {
        places.insert(places.end(), step.places.begin(), step.places.end());
    }
    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());
    return places;
}

files::Runs pointsIn(const StructureExpression& expression,
                     const std::function<files::Runs(std::size_t place)>& pointsOf)
{
    std::vector<files::Runs> stack;
    for (const ExpressionStep& step : expression) {
        if (step.kind == Kind::structures) {
            files::Runs points = pointsOf(step.places.front());
            for (std::size_t i = 1; i < step.places.size(); ++i) {
                points = files::unionOf(points, pointsOf(step.places[i]));
            }
            stack.push_back(std::move(points));
            continue;
        }
        const files::Runs second = std::move(stack.back());
        stack.pop_back();
        stack.back() = combined(step.kind, stack.back(), second);
    }
    return std::move(stack.back());
}

} // namespace zarngi
