#include "comparison/request/header.h"

#include <algorithm>

#include "comparison/failure.h"
#include "comparison/text.h"

namespace zarngi
{

namespace
{

constexpr std::array<const char*, headerFieldCount> names{
    "patientName", "patientId", "plan",     "beams",  "machine", "prescription", "fractions",
    "isocentre",   "date",      "approval", "series", "comment", "performedBy",  "reviewedBy"};

std::string namesOfFields()
{
    std::string list;
    for (const char* const name : names) {
        list += (list.empty() ? "" : ", ") + std::string(name);
    }
    return list;
}

} // namespace

const char* headerFieldName(HeaderField field)
{
    return names[static_cast<std::size_t>(field)];
}

std::optional<HeaderField> headerFieldOf(std::string_view name)
{
    const auto* const found = std::find(names.begin(), names.end(), name);
    return found != names.end() ? std::optional(static_cast<HeaderField>(found - names.begin()))
                                : std::nullopt;
}

Header Header::ofEveryPatient() const
{
    Header header;
    for (const HeaderField field :
         {HeaderField::machine, HeaderField::performedBy, HeaderField::reviewedBy}) {
        header[field] = (*this)[field];
    }
    return header;
}

void Header::replaceBy(const Header& other)
{
    for (std::size_t i = 0; i < headerFieldCount; ++i) {
        if (!other.texts_[i].empty()) {
            texts_[i] = other.texts_[i];
        }
    }
}

std::array<HeaderField, headerFieldCount> headerFields()
{
    std::array<HeaderField, headerFieldCount> fields{};
    for (std::size_t i = 0; i < headerFieldCount; ++i) {
        fields[i] = static_cast<HeaderField>(i);
    }
    return fields;
}

Header parseHeader(const std::vector<std::string>& texts)
{
    Header header;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const auto equals = texts[i].find('=');
        const std::optional<HeaderField> field = headerFieldOf(texts[i].substr(0, equals));
        if (equals == std::string::npos || !field) {
            throw refusalOf({Member::header, i}, "\"" + oneLine(texts[i]) +
                                                     "\" is not like KEY=TEXT with a key of " +
                                                     namesOfFields());
        }
        header[*field] = oneLine(texts[i].substr(equals + 1));
    }
    return header;
}

} // namespace zarngi
