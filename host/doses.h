/**
 * @file doses.h
 * What the C interface calls a dose.
 */
#ifndef ZARNGI_HOST_DOSES_H
#define ZARNGI_HOST_DOSES_H

#include "files/doseImage.h"
#include "host/calls.h"
#include "host/libZarnGIHost.h"

struct zarnGIHost_Dose {
    files::DoseImage image;
};

namespace host
{

/** Hands what was read to the caller. @return a status */
inline int handDose(files::Result<files::DoseImage> result, zarnGIHost_Dose** dose,
                    zarnGIHost_Error* error)
{
    if (!result) {
        return report(result.error(), error);
    }
    *dose = new zarnGIHost_Dose{std::move(*result)};
    return ZARNGI_HOST_OK;
}

} // namespace host

#endif
