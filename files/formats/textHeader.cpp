#include "files/formats/textHeader.h"

#include <algorithm>
#include <cmath>

#include "files/error.h"
#include "files/text.h"

namespace files
{

namespace
{

/** More than any image has. */
constexpr std::size_t mostDimensions = 10;

std::vector<std::string_view> wordsOf(std::string_view text)
{
    constexpr std::string_view blanks = " \t";
    std::vector<std::string_view> words;
    for (auto start = text.find_first_not_of(blanks); start != std::string_view::npos;
         start = text.find_first_not_of(blanks, start)) {
        const auto end = std::min(text.find_first_of(blanks, start), text.size());
        words.push_back(text.substr(start, end - start));
        start = end;
    }
    return words;
}

} // namespace

std::string_view stripped(std::string_view text)
{
    constexpr std::string_view blanks = " \t";
    const auto first = std::min(text.find_first_not_of(blanks), text.size());
    const auto last = text.find_last_not_of(blanks); // npos + 1 is 0
    return text.substr(first, last + 1 - std::min(first, last + 1));
}

std::optional<std::string_view> Lines::next()
{
    if (position_ >= text_.size()) {
        return {};
    }
    const auto end = std::min(text_.find('\n', position_), text_.size());
    std::string_view line = text_.substr(position_, end - position_);
    position_ = std::min(end + 1, text_.size());
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return line;
}

void TextHeader::add(std::string_view key, std::string_view value)
{
    const auto [entry, isNew] = entries_.emplace(lowerCase(stripped(key)), stripped(value));
    if (!isNew && entry->second != stripped(value)) {
        refuseDamaged("its header gives \"" + excerpt(entry->first) + "\" twice");
    }
}

const std::string* TextHeader::find(std::string_view key) const
{
    const auto entry = entries_.find(key);
    return entry == entries_.end() ? nullptr : &entry->second;
}

const std::string* TextHeader::findAny(std::initializer_list<std::string_view> keys) const
{
    const std::string* found = nullptr;
    for (const std::string_view key : keys) {
        const std::string* const entry = find(key);
        if (entry != nullptr && found != nullptr && *entry != *found) {
            refuseDamaged("its header gives \"" + std::string(*keys.begin()) +
                          "\" twice, under two names");
        }
        found = entry == nullptr ? found : entry;
    }
    return found;
}

const std::string& TextHeader::need(std::string_view key) const
{
    const std::string* const entry = find(key);
    if (entry == nullptr) {
        refuseDamaged("its header has no \"" + std::string(key) + "\"");
    }
    return *entry;
}

bool TextHeader::isTrue(std::initializer_list<std::string_view> keys, bool otherwise) const
{
    const std::string* const entry = findAny(keys);
    if (entry == nullptr) {
        return otherwise;
    }
    const std::string word = lowerCase(*entry);
    const bool isYes = word == "true" || word == "t" || word == "1";
    // Readers take any other word for false, "yes" among them.
    const bool isNo = word == "false" || word == "f" || word == "0" || word == "no" || word == "n";
    if (!isYes && !isNo) {
        refuseDamaged("its header gives \"" + std::string(*keys.begin()) + "\" as \"" +
                      excerpt(*entry) + "\" (accepted: True, False)");
    }
    return isYes;
}

void refuseEntry(const char* what, std::string_view entry)
{
    refuseDamaged("its header gives " + std::string(what) + " of \"" + excerpt(entry) + "\"");
}

std::vector<double> numbersOf(std::string_view entry, const char* what, std::size_t count)
{
    std::vector<double> numbers;
    for (const std::string_view word : wordsOf(entry)) {
        numbers.push_back(parseNumber(word));
        if (!std::isfinite(numbers.back()) || numbers.size() > mostDimensions * mostDimensions) {
            refuseEntry(what, entry);
        }
    }
    if (numbers.empty() || (count != 0 && numbers.size() != count)) {
        refuseEntry(what, entry);
    }
    return numbers;
}

std::vector<std::int64_t> wholeNumbersOf(std::string_view entry, const char* what,
                                         std::size_t count)
{
    constexpr double largest = 9e15; // all whole numbers up to it are doubles
    std::vector<std::int64_t> whole;
    for (const double value : numbersOf(entry, what, count)) {
        if (value != std::floor(value) || !(std::fabs(value) < largest)) {
            refuseEntry(what, entry);
        }
        whole.push_back(static_cast<std::int64_t>(value));
    }
    return whole;
}

std::array<std::int64_t, 3> volumeSize(const std::vector<std::int64_t>& sizes)
{
    if (sizes.size() > mostDimensions) {
        refuseUnsupported("its header gives " + std::to_string(sizes.size()) + " dimensions");
    }
    const bool isVolume =
        sizes.size() >= 3 &&
        std::all_of(sizes.begin() + 3, sizes.end(), [](std::int64_t size) { return size == 1; });
    if (!isVolume) {
        refuseUnsupported("is not three-dimensional but " + std::to_string(sizes.size()) +
                          "-dimensional");
    }
    return {sizes[0], sizes[1], sizes[2]};
}

void checkDataFileName(const std::string& name)
{
    if (name.empty()) {
        refuseDamaged("its header does not tell where its data are");
    }
    const std::string lower = lowerCase(name);
    if (lower == "list" || lower.starts_with("list ") || name.find('%') != std::string::npos) {
        refuseUnsupported("its data are spread over several files; write them into one");
    }
}

std::optional<double> millimetresOf(std::string_view unit)
{
    static const std::map<std::string, double, std::less<>> units = {{"mm", 1},
                                                                     {"millimeter", 1},
                                                                     {"millimeters", 1},
                                                                     {"millimetre", 1},
                                                                     {"millimetres", 1},
                                                                     {"cm", 10},
                                                                     {"centimeter", 10},
                                                                     {"centimeters", 10},
                                                                     {"centimetre", 10},
                                                                     {"centimetres", 10},
                                                                     {"m", 1000},
                                                                     {"meter", 1000},
                                                                     {"meters", 1000},
                                                                     {"metre", 1000},
                                                                     {"metres", 1000},
                                                                     {"um", 1e-3},
                                                                     {"\xC2\xB5m", 1e-3},
                                                                     {"\xCE\xBCm", 1e-3},
                                                                     {"micron", 1e-3},
                                                                     {"microns", 1e-3},
                                                                     {"micrometer", 1e-3},
                                                                     {"micrometers", 1e-3},
                                                                     {"micrometre", 1e-3},
                                                                     {"micrometres", 1e-3}};
    const auto found = units.find(lowerCase(trimmed(unit)));
    return found == units.end() ? std::nullopt : std::optional(found->second);
}

} // namespace files
