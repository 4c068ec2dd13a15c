#include "comparison/gammaRun.h"

#include <algorithm>
#include <cstdint>

#include "comparison/failure.h"
#include "comparison/gammaSearch.h"
#include "comparison/libraryCalls.h"
#include "comparison/text.h"
#include "files/largeVector.h"
#include "libZarnGI.h"

namespace zarngi
{

namespace
{

constexpr std::size_t margin = ZARNGI_LENT_MARGIN * sizeof(float);
static_assert(margin <= files::blockMargin);

/** A check of addresses would report what is read of a caller's neighbours in memory. */
#if defined(__SANITIZE_ADDRESS__)
constexpr bool areAddressesChecked = true;
#elif defined(__has_feature)
constexpr bool areAddressesChecked = __has_feature(address_sanitizer);
#else
constexpr bool areAddressesChecked = false;
#endif

/**
 * Whether the library's margin can be read behind values. Memory can be read by whole pages, and
 * nothing depends on what stands in the margin: mostly it lies on the page of the last value.
 */
bool canBeLent(const files::Values& values)
{
    constexpr std::uintptr_t smallestPage = 4096;
    if (values.hasMargin() || areAddressesChecked) {
        return values.hasMargin();
    }
    const auto end = reinterpret_cast<std::uintptr_t>(values.end());
    return (end - 1) / smallestPage == (end - 1 + margin) / smallestPage;
}

bool isTested(float gamma)
{
    return gamma >= 0;
}

} // namespace

float stepSize(const GammaSettings& settings, const Criterion& criterion)
{
    return settings.step ? static_cast<float>(*settings.step)
                         : static_cast<float>(criterion.distance) / 10;
}

GammaRun::GammaRun(const DoseImage& reference, const DoseImage& evaluation)
    : referenceName_(reference.path), evaluationName_(evaluation.path)
{
    require(zarnGI_init(), "the library");
    try {
        if (canBeLent(reference.image.values)) {
            lendReference(reference.image.geometry, reference.image.values.data(), referenceName_);
            reference_ = reference.image.geometry;
        } else {
            setReference(viewOf(reference.image));
        }
        if (canBeLent(evaluation.image.values)) {
            lendEvaluation(evaluation.image.geometry, evaluation.image.values.data(),
                           evaluationName_);
        } else {
            setEvaluation(viewOf(evaluation.image));
        }
    } catch (...) {
        zarnGI_reset(); // what was lent may go
        throw;
    }
}

GammaRun::~GammaRun()
{
    zarnGI_reset();
    // Smaller ones serve the next comparison, as all do where nobody else would get their memory.
    if (reference_.voxels() > largestWhole && files::givesMemoryBack()) {
        zarnGI_releaseRecords();
    }
}

void GammaRun::setReference(const DoseView& doses)
{
    handGrid(zarnGI_setRef, doses.geometry, doses.values.data(), referenceName_);
    reference_ = doses.geometry;
}

void GammaRun::setEvaluation(const DoseView& doses)
{
    handGrid(zarnGI_setEval, doses.geometry, doses.values.data(), evaluationName_);
}

GammaMap GammaRun::compute(const GammaSettings& settings, const Criterion& criterion,
                           const WatchSearch& watch)
{
    GammaMap map = search(settings, criterion, watch);
    checkTested(map, settings);
    return map;
}

GammaMap GammaRun::search(const GammaSettings& settings, const Criterion& criterion,
                          const WatchSearch& watch)
{
    GammaSearch search(*this, settings, criterion);
    search.searchRest(watch);
    return search.finish();
}

void checkTested(const GammaMap& map, const GammaSettings& settings)
{
    if (!settings.mayTestNothing && std::none_of(map.values.begin(), map.values.end(), isTested)) {
        throw InputError("nothing to compare: no reference voxel lies above the cut-off of " +
                         number(settings.cutOff) + " %");
    }
}

std::string projectVersion()
{
    return ZARNGI_PROJECT_VERSION;
}

} // namespace zarngi
