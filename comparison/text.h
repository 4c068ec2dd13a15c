/**
 * @file text.h
 * Numbers and lists as text: the program words them as the readers do.
 */
#ifndef ZARNGI_COMPARISON_TEXT_H
#define ZARNGI_COMPARISON_TEXT_H

#include "files/text.h"

namespace zarngi
{

using files::asText;
using files::exactNumber;
using files::excerpt;
using files::fixed;
using files::grouped;
using files::join;
using files::number;
using files::oneLine;
using files::parseNumber;
using files::split;
using files::trimmed;

} // namespace zarngi

#endif
