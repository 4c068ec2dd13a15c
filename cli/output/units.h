/**
 * @file units.h
 * Units of doses on a screen.
 */
#ifndef ZARNGI_CLI_OUTPUT_UNITS_H
#define ZARNGI_CLI_OUTPUT_UNITS_H

#include <string>

#include "comparison/doseImage.h"

namespace zarngi
{

/** As it follows a number: " Gy", " (relative)". */
inline std::string unitBehind(DoseUnit unit)
{
    const std::string name = files::unitName(unit);
    return unit == DoseUnit::relative ? " (" + name + ")" : " " + name;
}

} // namespace zarngi

#endif
