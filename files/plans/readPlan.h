/**
 * @file readPlan.h
 * The one reader of treatment plans: DICOM RT Plans and RT Ion Plans.
 *
 * Safe to be called by several threads at once; starts no process and keeps no state.
 */
#ifndef ZARNGI_FILES_PLANS_READPLAN_H
#define ZARNGI_FILES_PLANS_READPLAN_H

#include <string>

#include "files/error.h"
#include "files/host.h"
#include "files/plans/plan.h"

namespace files
{

/** Reads a plan from the contents of a file. */
Result<Plan> readPlan(ByteView file, const Host& host);

/** Reads a file of a plan; a pipe is read to its end. */
Result<Plan> readPlanFile(const std::string& path, const Host& host);

/** Whether a file begins like a plan. */
bool isPlan(ByteView file, const Deflate& deflate);

} // namespace files

#endif
