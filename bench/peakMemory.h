/**
 * @file peakMemory.h
 * The largest resident memory of this process, as the kernel counts it.
 */
#ifndef ZARNGI_BENCH_PEAKMEMORY_H
#define ZARNGI_BENCH_PEAKMEMORY_H

namespace bench
{

/** Starts counting anew from the memory resident now; throws where the kernel does not allow it. */
void resetPeakMemory();

/** Bytes; VmHWM of /proc/self/status. */
double peakMemory();

} // namespace bench

#endif
