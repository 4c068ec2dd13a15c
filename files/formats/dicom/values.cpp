#include "files/formats/dicom/values.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "files/error.h"
#include "files/text.h"

namespace files
{

namespace
{

/** Numbers are padded by blanks, by some with NUL; anything else is damage. */
std::string withoutPadding(std::string_view text)
{
    constexpr std::string_view padding(" \0", 2);
    const auto first = text.find_first_not_of(padding);
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(padding) + 1 - first));
}

} // namespace

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
    const std::string text = withoutPadding(asText(bytes(tag)));
    if (text.empty()) {
        refuse("has no " + std::string(tag.name));
    }
    const auto separators = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\\'));
    const std::size_t there = text.back() == '\\' ? separators : separators + 1;
    if (there != count) {
        refuse("has a " + std::string(tag.name) + " of " + std::to_string(there) +
               " numbers instead of " + std::to_string(count));
    }
    std::vector<double> numbers;
    numbers.reserve(count);
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\\', start), text.size());
        const std::string piece = withoutPadding(std::string_view(text).substr(start, end - start));
        numbers.push_back(parseNumber(piece));
        if (!std::isfinite(numbers.back())) {
            refuse("has a " + std::string(tag.name) + " with \"" + excerpt(piece) + "\" in it");
        }
        start = end + 1;
    }
    return numbers;
}

unsigned DicomValues::integer(const DicomTag& tag) const
{
    const ByteView value = bytes(tag);
    if (value.size() != sizeof(std::uint16_t)) {
        refuse("has no " + std::string(tag.name));
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
        refuse("has a Number of Frames of " + number(count));
    }
    return static_cast<std::size_t>(count);
}

} // namespace files
