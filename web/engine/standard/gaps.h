/**
 * @file gaps.h
 * What the standard library of Debian's emscripten (LLVM 13) lacks of C++20 and the sources of the
 * other folders use. Included before every source; empty where the library is newer.
 */
#ifndef ZARNGI_WEB_ENGINE_STANDARD_GAPS_H
#define ZARNGI_WEB_ENGINE_STANDARD_GAPS_H

#ifdef __cplusplus

#include <cstddef>
#include <memory>
#include <type_traits>
#include <version>

namespace std // NOLINT(cert-dcl58-cpp): the names that belong there
{

#ifndef __cpp_lib_bit_cast
template <class To, class From> To bit_cast(const From& from) noexcept
{
    static_assert(sizeof(To) == sizeof(From) && is_trivially_copyable_v<To>);
    To to;
    __builtin_memcpy(&to, &from, sizeof to);
    return to;
}
#endif

#if _LIBCPP_VERSION < 16000
template <class Array> unique_ptr<Array> make_unique_for_overwrite(size_t size)
{
    return unique_ptr<Array>(new remove_extent_t<Array>[size]);
}
#endif

} // namespace std

#endif

#endif
