/**
 * @file values.h
 * Single values of a request from texts, as a person types them.
 */
#ifndef ZARNGI_COMPARISON_REQUEST_VALUES_H
#define ZARNGI_COMPARISON_REQUEST_VALUES_H

#include <string>

#include "comparison/request/request.h"

namespace zarngi
{

/** A number above 0 in the range that the library takes. @throws UsageError */
double parsePositive(const MemberPlace& place, const std::string& text);
double positive(const MemberPlace& place, double value);

/** "evaluation", or a dose in Gy. @throws UsageError at Member::normalisation */
NormalisationRequest parseNormalisation(const std::string& text);

/** "coronal", and "0,0,24" (mm); an empty text: not given. @throws UsageError */
PlaneRequest parsePlane(const std::string& name, const std::string& at);

/** mm, 1 to 100. @throws UsageError at Member::explainRange */
double explanationRange(double millimetres);

/** A whole number from 0 to 2^32 - 1. @throws UsageError at Member::noiseSeed */
std::uint32_t noiseSeed(double value);

/** "Gy" or "cGy", "mm" or "cm"; an empty text: not given. @throws UsageError */
files::TableUnits parseUnits(const std::string& dose, const std::string& length);

} // namespace zarngi

#endif
