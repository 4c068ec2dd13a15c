/**
 * @file machine.h
 * What the figures were measured on.
 */
#ifndef ZARNGI_BENCH_MACHINE_H
#define ZARNGI_BENCH_MACHINE_H

#include <string>

namespace bench
{

/** Processor, number of CPUs, vector instructions, memory, compiler. */
std::string machineDescription();

} // namespace bench

#endif
