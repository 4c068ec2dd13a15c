/**
 * @file rtPlan.h
 * DICOM RT Plans and RT Ion Plans.
 */
#ifndef ZARNGI_FILES_PLANS_RTPLAN_H
#define ZARNGI_FILES_PLANS_RTPLAN_H

#include "files/bytes.h"
#include "files/deflate.h"
#include "files/plans/plan.h"

namespace files
{

/**
 * Reads a plan, packed by gzip or deflated or not.
 * @throws Refusal for another object, and where what is read of it is damaged or ambiguous.
 */
Plan readRtPlan(ByteView file, const Deflate& deflate);

/** Whether a DICOM file begins like one. */
bool isRtPlan(ByteView file, const Deflate& deflate);

} // namespace files

#endif
