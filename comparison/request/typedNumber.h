/**
 * @file typedNumber.h
 * Numbers as persons type them.
 */
#ifndef ZARNGI_COMPARISON_REQUEST_TYPEDNUMBER_H
#define ZARNGI_COMPARISON_REQUEST_TYPEDNUMBER_H

#include <string>

namespace zarngi
{

/**
 * As parseNumber(), with a comma before decimals, too: "10,5". Not a number where three digits
 * follow the comma, as they do where it groups thousands.
 */
double parseTyped(const std::string& text);

} // namespace zarngi

#endif
