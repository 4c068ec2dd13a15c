#include "files/formats/dicom/values.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "files/decimal.h"
#include "files/error.h"
#include "files/text.h"

namespace files
{

namespace
{

/** Numbers are padded by blanks, by some with NUL; anything else is damage. */
std::string_view withoutPadding(std::string_view text)
{
    constexpr std::string_view padding(" \0", 2);
    const auto first = std::min(text.find_first_not_of(padding), text.size());
    const auto last = text.find_last_not_of(padding); // npos + 1 is 0
    return text.substr(first, last + 1 - std::min(first, last + 1));
}

} // namespace

DicomNumbers::DicomNumbers(ByteView value, const DicomTag& tag)
    : rest_(withoutPadding(asText(value))), tag_(tag)
{
    if (!rest_.empty()) {
        const auto separators =
            static_cast<std::size_t>(std::count(rest_.begin(), rest_.end(), '\\'));
        count_ = rest_.back() == '\\' ? separators : separators + 1;
    }
}

double DicomNumbers::next()
{
    // As most numbers are written: a separator right behind the last digit.
    double plain = 0;
    const char* const stop = rest_.data() + rest_.size();
    const auto [behind, error] = fromDecimal(rest_.data(), stop, plain);
    if (error == std::errc() && std::isfinite(plain) && behind != stop && *behind == '\\') {
        rest_.remove_prefix(static_cast<std::size_t>(behind + 1 - rest_.data()));
        return plain;
    }
    const std::size_t end = std::min(rest_.find('\\'), rest_.size());
    const std::string_view piece = withoutPadding(rest_.substr(0, end));
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
    const double value = parseNumber(piece);
    if (!std::isfinite(value)) {
        refuseDamaged("has a " + std::string(tag_.name) + " with \"" + excerpt(piece) + "\" in it");
    }
    return value;
}

ByteView DicomValues::bytes(const DicomTag& tag) const
{
    const DicomElement* const element = data.find(tag);
    return element == nullptr ? ByteView{} : element->value;
}

bool DicomValues::has(const DicomTag& tag) const
{
    return !bytes(tag).empty();
}

std::string DicomValues::text(const DicomTag& tag) const
{
    return oneLine(trimmed(asText(bytes(tag))));
}

std::vector<double> DicomValues::numbers(const DicomTag& tag, std::size_t count) const
{
    DicomNumbers there = list(tag);
    if (there.count() == 0) {
        refuseDamaged("has no " + std::string(tag.name));
    }
    if (there.count() != count) {
        refuseDamaged("has a " + std::string(tag.name) + " of " + std::to_string(there.count()) +
                      " numbers instead of " + std::to_string(count));
    }
    std::vector<double> numbers(count);
    std::generate(numbers.begin(), numbers.end(), [&there] { return there.next(); });
    return numbers;
}

std::int32_t DicomValues::wholeNumber(const DicomTag& tag) const
{
    using Limits = std::numeric_limits<std::int32_t>;
    const double value = number(tag);
    if (!(value >= Limits::min() && value <= Limits::max()) || value != std::floor(value)) {
        refuseDamaged("has a " + std::string(tag.name) + " of " + files::number(value));
    }
    return static_cast<std::int32_t>(value);
}

unsigned DicomValues::integer(const DicomTag& tag) const
{
    const ByteView value = bytes(tag);
    if (value.size() != sizeof(std::uint16_t)) {
        refuseDamaged("has no " + std::string(tag.name));
    }
    return numberAt<std::uint16_t>(value.data(), 0, isBigEndian);
}

std::size_t dicomFrameCount(const DicomValues& values)
{
    if (!values.has(dicomTags::numberOfFrames)) {
        return 1;
    }
    const double count = values.number(dicomTags::numberOfFrames);
    const bool isCount = count >= 1 && count <= std::numeric_limits<std::int32_t>::max();
    if (!isCount || count != std::floor(count)) {
        refuseDamaged("has a Number of Frames of " + number(count));
    }
    return static_cast<std::size_t>(count);
}

} // namespace files
