/**
 * @file verdict.h
 * The judgement of a pass rate by tolerance and action limits, as AAPM TG-218 recommends it.
 */
#ifndef ZARNGI_COMPARISON_VERDICT_H
#define ZARNGI_COMPARISON_VERDICT_H

namespace zarngi
{

/** %, M. Miften et al., Med. Phys. 45 (2018) e53-e83: the universal limits. */
struct Limits {
    double tolerance = 95;
    double action = 90;
};

enum class Verdict { pass, investigate, fail };

inline Verdict verdictOf(double passRate, const Limits& limits)
{
    if (passRate >= limits.tolerance) {
        return Verdict::pass;
    }
    return passRate >= limits.action ? Verdict::investigate : Verdict::fail;
}

/** "pass", "investigate" (below the tolerance limit) or "fail" (below the action limit). */
inline const char* verdictName(Verdict verdict)
{
    switch (verdict) {
    case Verdict::pass:
        return "pass";
    case Verdict::investigate:
        return "investigate";
    case Verdict::fail:
        break;
    }
    return "fail";
}

} // namespace zarngi

#endif
