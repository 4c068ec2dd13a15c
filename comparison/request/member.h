/**
 * @file member.h
 * The members of a request, by which refusals and sentences name what they are about: each host has
 * words of its own for them.
 */
#ifndef ZARNGI_COMPARISON_REQUEST_MEMBER_H
#define ZARNGI_COMPARISON_REQUEST_MEMBER_H

#include <cstddef>
#include <optional>
#include <string>

namespace zarngi
{

enum class Member {
    reference,
    referenceAdded,
    referenceScale,
    referenceUncertainty,
    evaluation,
    evaluationAdded,
    evaluationScale,
    evaluationUncertainty,
    criteria,
    cutOff,
    normalisation,
    normalisationAt,
    maxGamma,
    step,
    passRateOnly,
    nearest,
    slices,
    rotate,
    structureFiles,
    shown,
    excluded,
    within,
    metrics,
    prescription,
    ignoreFrame,
    ifPresent,
    tolerance,
    action,
    failBelow,
    goals,
    plane,
    planeAt,
    doseUnit,
    lengthUnit,
    pixelSize,
    uncertaintyUnit,
    allowErrorDoses,
    explain,
    explainRange,
    explainStructure,
    sweeps,
    noise,
    noiseSeed,
    refuse,
    plans,
    identify,
    header
};

constexpr std::size_t memberCount = static_cast<std::size_t>(Member::header) + 1;

/** Where it stands in the document of a request: "structures.within". */
const char* memberName(Member member);

/** A member, or one of its values. */
struct MemberPlace {
    Member member;
    std::optional<std::size_t> index{};

    /** "structures.within", "criteria[1]". */
    std::string name() const;
};

} // namespace zarngi

#endif
