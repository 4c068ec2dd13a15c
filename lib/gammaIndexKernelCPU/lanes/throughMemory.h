/**
 * @file throughMemory.h
 * What vectors of four lanes do by way of memory, where no instruction does it.
 */
#ifndef ZARNGI_LANES_THROUGH_MEMORY_H
#define ZARNGI_LANES_THROUGH_MEMORY_H

#include <cstddef>

namespace zarngi::engine
{

namespace
{

/** For the lanes of one path, Own, which says in portable.h what each function does. */
template <typename Own> struct ThroughMemory {
    static constexpr bool spreadsRegisters = false;

    template <std::size_t count, typename F, typename I>
    static F spreadFrom(const F (&vectors)[count], I i)
    {
        alignas(16) float values[count * Own::width];
        for (std::size_t v = 0; v < count; ++v) {
            Own::store(values + v * Own::width, vectors[v]);
        }
        return Own::gather(values, i); // none is beyond: the rows of such a path stay in memory
    }

    template <typename I> static void storeChosen(int* p, unsigned bits, I i)
    {
        alignas(16) int values[Own::width];
        Own::storeIndices(values, i);
        copyChosen(p, bits, values);
    }
    template <typename F> static void storeChosen(float* p, unsigned bits, F a)
    {
        alignas(16) float values[Own::width];
        Own::store(values, a);
        copyChosen(p, bits, values);
    }

private:
    template <typename Number>
    static void copyChosen(Number* p, unsigned bits, const Number* values)
    {
        for (; bits != 0; bits &= bits - 1) {
            *p++ = values[__builtin_ctz(bits)];
        }
    }
};

} // namespace

} // namespace zarngi::engine

#endif
