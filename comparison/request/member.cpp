#include "comparison/request/member.h"

#include <array>

namespace zarngi
{

namespace
{

constexpr std::array<const char*, memberCount> names{"reference.file",
                                                     "reference.add",
                                                     "reference.scale",
                                                     "reference.uncertainty",
                                                     "evaluation.file",
                                                     "evaluation.add",
                                                     "evaluation.scale",
                                                     "evaluation.uncertainty",
                                                     "criteria",
                                                     "cutOff",
                                                     "normalisation",
                                                     "normalisationAt",
                                                     "maxGamma",
                                                     "step",
                                                     "passRateOnly",
                                                     "nearest",
                                                     "slices",
                                                     "rotate",
                                                     "structures.files",
                                                     "structures.show",
                                                     "structures.exclude",
                                                     "structures.within",
                                                     "structures.metrics",
                                                     "structures.prescription",
                                                     "structures.ignoreFrame",
                                                     "structures.ifPresent",
                                                     "limits.tolerance",
                                                     "limits.action",
                                                     "limits.failBelow",
                                                     "goals",
                                                     "plane.name",
                                                     "plane.at",
                                                     "units.dose",
                                                     "units.length",
                                                     "units.pixelSize",
                                                     "units.uncertainty",
                                                     "allowErrorDoses",
                                                     "explain",
                                                     "explain.range",
                                                     "explain.structure",
                                                     "sweeps",
                                                     "noise",
                                                     "noise.seed",
                                                     "refuse",
                                                     "plans",
                                                     "identify",
                                                     "header"};

} // namespace

const char* memberName(Member member)
{
    return names[static_cast<std::size_t>(member)];
}

std::string MemberPlace::name() const
{
    const std::string text = memberName(member);
    return index ? text + "[" + std::to_string(*index) + "]" : text;
}

} // namespace zarngi
