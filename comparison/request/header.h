/**
 * @file header.h
 * What stands above the results of a document: whose plan was compared, and who signs.
 */
#ifndef ZARNGI_COMPARISON_REQUEST_HEADER_H
#define ZARNGI_COMPARISON_REQUEST_HEADER_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zarngi
{

enum class HeaderField {
    patientName,
    patientId,
    plan,
    beams,
    machine,
    prescription,
    fractions,
    isocentre,
    date,
    approval,
    series,
    comment,
    performedBy,
    reviewedBy
};

constexpr std::size_t headerFieldCount = static_cast<std::size_t>(HeaderField::reviewedBy) + 1;

/** As documents call it: "patientName". */
const char* headerFieldName(HeaderField field);

/** The field of a name. */
std::optional<HeaderField> headerFieldOf(std::string_view name);

/** A text for each field; an empty one where there is none. */
class Header
{
public:
    std::string& operator[](HeaderField field) { return texts_[static_cast<std::size_t>(field)]; }
    const std::string& operator[](HeaderField field) const
    {
        return texts_[static_cast<std::size_t>(field)];
    }

    /** What is the same from patient to patient. */
    Header ofEveryPatient() const;

    /** Takes the texts of the other one where it has any. */
    void replaceBy(const Header& other);

private:
    std::array<std::string, headerFieldCount> texts_;
};

/** All fields, in the order in which documents show them. */
std::array<HeaderField, headerFieldCount> headerFields();

/** Of texts like "plan=HN 60"; the last one of a field counts. @throws UsageError */
Header parseHeader(const std::vector<std::string>& texts);

} // namespace zarngi

#endif
