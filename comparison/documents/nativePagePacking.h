/**
 * @file nativePagePacking.h
 * The packing of native hosts.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_NATIVEPAGEPACKING_H
#define ZARNGI_COMPARISON_DOCUMENTS_NATIVEPAGEPACKING_H

#include "comparison/documents/pagePacking.h"

namespace zarngi
{

/** By means of libdeflate and a library of the system. */
const PagePacking& nativePagePacking();

} // namespace zarngi

#endif
