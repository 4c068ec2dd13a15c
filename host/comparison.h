/**
 * @file comparison.h
 * What the C interface calls a comparison.
 */
#ifndef ZARNGI_HOST_COMPARISON_H
#define ZARNGI_HOST_COMPARISON_H

#include <memory>

#include "comparison/comparison.h"
#include "host/libZarnGIHost.h"

struct zarnGIHost_Comparison {
    std::shared_ptr<const zarngi::Comparison> value; ///< the host's while the watcher looks at it
    zarngi::Comparison* own = nullptr;               ///< what value holds, once it may be changed
};

#endif
