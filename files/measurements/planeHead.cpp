#include "files/measurements/planeHead.h"

#include <cmath>

#include "files/error.h"
#include "files/text.h"

namespace files
{

void PlaneHead::add(const TextLine& line, char separator)
{
    const auto end = line.text.find(separator);
    if (end == std::string_view::npos) {
        refuseDamaged("has \"" + excerpt(stripped(line.text)) +
                      "\" in the place of a key and what it tells (" + placeOf(line) + ")");
    }
    entries_.add(line.text.substr(0, end), line.text.substr(end + 1));
}

const std::string* PlaneHead::find(std::string_view key) const
{
    return entries_.find(lowerCase(key));
}

const std::string& PlaneHead::need(std::string_view key) const
{
    const std::string* const entry = find(key);
    if (entry == nullptr) {
        refuseDamaged("tells no " + std::string(key) + where_);
    }
    return *entry;
}

double PlaneHead::number(std::string_view key) const
{
    const std::string& entry = need(key);
    const double value = parseNumber(entry);
    if (!std::isfinite(value)) {
        refuseDamaged("tells a " + std::string(key) + " of \"" + excerpt(entry) + "\"" + where_ +
                      ", which is no number");
    }
    return value;
}

std::size_t PlaneHead::count(std::string_view key) const
{
    constexpr double most = 1e6;
    const double value = number(key);
    if (!(value >= 1 && value <= most && value == std::floor(value))) {
        refuseDamaged("tells a " + std::string(key) + " of " + files::number(value) + where_ +
                      ", which is no sensible count");
    }
    return static_cast<std::size_t>(value);
}

} // namespace files
