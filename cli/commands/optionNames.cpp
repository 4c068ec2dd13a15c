#include "cli/commands/optionNames.h"

#include <array>

namespace zarngi
{

namespace
{

/** In the order of Member. */
constexpr std::array<const char*, memberCount> names{"REFERENCE",
                                                     "--reference-add",
                                                     "--reference-scale",
                                                     "--reference-uncertainty",
                                                     "EVALUATION",
                                                     "--evaluation-add",
                                                     "--evaluation-scale",
                                                     "--evaluation-uncertainty",
                                                     "--criteria",
                                                     "--dco",
                                                     "--norm",
                                                     "--norm-at",
                                                     "--max-gamma",
                                                     "--step",
                                                     "--pass-rate-only",
                                                     "--nearest",
                                                     "--slices",
                                                     "--rotate",
                                                     "--structures",
                                                     "--structure",
                                                     "--exclude",
                                                     "--within",
                                                     "--dvh",
                                                     "--prescription",
                                                     "--ignore-frame",
                                                     "--if-present",
                                                     "--tolerance",
                                                     "--action",
                                                     "--fail-below",
                                                     "--goal",
                                                     "--plane",
                                                     "--at",
                                                     "--dose-unit",
                                                     "--length-unit",
                                                     "--pixel-size",
                                                     "--uncertainty-unit",
                                                     "--allow-error-doses",
                                                     "--explain",
                                                     "--explain-range",
                                                     "--explain-structure",
                                                     "--sweep",
                                                     "--noise",
                                                     "--noise-seed",
                                                     "--refuse",
                                                     "--plan",
                                                     "--identify",
                                                     "--header"};

} // namespace

const char* optionName(Member member)
{
    return names[static_cast<std::size_t>(member)];
}

const Wording& programWording()
{
    static const Wording wording{[](Member member) { return std::string(optionName(member)); },
                                 [](const std::string& path) { return path; }};
    return wording;
}

} // namespace zarngi
