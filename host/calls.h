/**
 * @file calls.h
 * What all functions of the C interface do alike: arguments, errors, exceptions.
 */
#ifndef ZARNGI_HOST_CALLS_H
#define ZARNGI_HOST_CALLS_H

#include "comparison/doseSampling.h"
#include "files/doseImage.h"
#include "files/error.h"
#include "files/host.h"
#include "host/libZarnGIHost.h"

namespace host
{

/** Tells a failure to the caller; its status. */
int report(const files::FileError& failure, zarnGIHost_Error* error);

int refuseArgument(const char* sentence, zarnGIHost_Error* error);

/** Runs a function of this interface: no exception crosses it. */
template <class Call> int guarded(zarnGIHost_Error* error, const Call& call) noexcept
{
    try {
        return call();
    } catch (...) {
        // So short that it needs no memory of its own.
        return report({files::FileError::Kind::outOfMemory, "does not fit"}, error);
    }
}

/** As zarnGIHost_setExcerpts() says for the calling thread. */
bool areExcerptsShown();

/** @return what was so before */
bool setExcerpts(bool areShown);

/** What the readers are given; uncertainties are kept, for callers that ask for them later. */
files::Host readerHost(const zarnGIHost_Told& told = {});

/** The caller's way to the files that a header names. */
files::FindFile finder(zarnGIHost_FindFile find, void* context);

bool isGrid(const int* size, const double* spacing, const double* origin);
files::Geometry geometryOf(const int* size, const double* spacing, const double* origin);

bool isGrid(const zarnGIHost_Volume& volume);
files::Geometry geometryOf(const zarnGIHost_Volume& volume);

/** Whether a volume is there and can be looked at as doses. */
bool holdsDoses(const zarnGIHost_Volume* volume);
zarngi::DoseView dosesOf(const zarnGIHost_Volume& volume);

/** Hands bytes to the caller, who frees them. @return ZARNGI_HOST_OK */
int hand(files::ByteView bytes, zarnGIHost_Bytes* out);

} // namespace host

#endif
