#include "comparison/gammaRun.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>

#include "comparison/failure.h"
#include "comparison/text.h"
#include "files/largeVector.h"
#include "libZarnGI.h"

namespace zarngi
{

namespace
{

constexpr float unbounded = -1; // of the environment, as at first
constexpr float notTested = -1;

std::string reasonOf(int code)
{
    switch (code) {
    case ZARNGI_OUT_OF_RANGE:
        return "a parameter is out of range";
    case ZARNGI_BAD_GRID_SIZE:
        return "the grid size is not usable";
    case ZARNGI_BAD_VOXEL_SIZE:
        return "the voxel size is not usable";
    default:
        return "the library refused with code " + std::to_string(code);
    }
}

void require(int code, const std::string& context)
{
    if (code == ZARNGI_NULL_POINTER || code == ZARNGI_NOT_READY) {
        // Everything that the library asks for was handed over.
        throw MemoryError(context + ": not enough memory");
    }
    if (code != ZARNGI_OK) {
        throw InputError(context + ": " + reasonOf(code));
    }
}

/** Hands a grid to one of the library's functions. */
template <class Hand> void handGrid(const Hand& hand, const DoseView& dose, const std::string& name)
{
    const Geometry& geometry = dose.geometry;
    std::array<int, 3> size = geometry.size;
    std::array<float, 3> spacing{};
    std::array<float, 3> corner{};
    for (std::size_t i = 0; i < 3; ++i) {
        spacing[i] = static_cast<float>(geometry.spacing[i]);
        // Files tell the centre of the first voxel, the library wants its outer corner.
        corner[i] = static_cast<float>(geometry.origin[i] - geometry.spacing[i] / 2);
    }
    // The interface takes the doses through a plain pointer but never writes them.
    auto* const doses = const_cast<float*>(dose.values.data());
    require(hand(size.data(), spacing.data(), corner.data(), doses), name);
}

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

/** Memory of the host's in which computations put their gamma maps, as long as this lives. */
class GammaPlace
{
public:
    GammaPlace(files::LargeVector<float>& map, const std::string& context)
    {
        require(zarnGI_lendGammaIndex3DMap(map.data()), context);
    }
    ~GammaPlace() { zarnGI_lendGammaIndex3DMap(nullptr); }
    GammaPlace(const GammaPlace&) = delete;
    GammaPlace& operator=(const GammaPlace&) = delete;
};

void setParameters(const GammaSettings& settings, const Criterion& criterion)
{
    const std::string label = criterion.label();
    require(zarnGI_setVerbose(settings.verbose), label);
    require(zarnGI_setDTA(static_cast<float>(criterion.distance)), label);
    require(zarnGI_setStepSize(stepSize(settings, criterion)), label);
    require(zarnGI_setDD(static_cast<float>(criterion.doseDifference)), label);
    require(zarnGI_setDDCriterium(criterion.isLocal ? ZARNGI_DD_LOCAL : ZARNGI_DD_GLOBAL), label);
    if (settings.cutOff > 0) {
        require(zarnGI_setDCO(static_cast<float>(settings.cutOff)), label);
    } else {
        Env->DCO = 0; // which the setter refuses: all voxels with a dose
    }
    if (std::isfinite(settings.maxGamma)) {
        require(zarnGI_setGammaSearchMax(static_cast<float>(settings.maxGamma)), label);
    } else {
        Env->gammaSearchMax = unbounded;
    }
    require(zarnGI_setComputationMode(settings.passRateOnly ? ZARNGI_MODE_PASS_RATE
                                                            : ZARNGI_MODE_GAMMA_MAP),
            label);
    require(zarnGI_setInterpolation(!settings.nearest), label);
    require(zarnGI_setRandomRotation(settings.rotate), label);
    require(zarnGI_setNumThreads(settings.threads), label);
    if (settings.normalisation) {
        const auto dose = static_cast<float>(*settings.normalisation);
        require(zarnGI_setGlobalNormalization(dose), label);
    }
    Env->gammaindex2D = settings.slices;
    Env->gammaindex2D_z = settings.slices && settings.verbose > 0;
}

/** Of a reference without a dose above 0, which the library takes for no normalisation. */
bool hasNothingAbove(const GammaSettings& settings)
{
    return settings.normalisation && !(*settings.normalisation > 0);
}

GammaMap untested(std::size_t voxels)
{
    GammaMap map;
    map.values.assign(voxels, notTested);
    map.passed.assign(voxels, ZARNGI_NOT_TESTED);
    return map;
}

bool isTested(float gamma)
{
    return gamma >= 0;
}

} // namespace

namespace
{

/** The context of the library's callback. */
struct Watcher {
    const WatchSearch& watch;
    bool hasEnded = false;
};

int tellWatcher(const zarnGI_progress* progress, void* context)
{
    Watcher& watcher = *static_cast<Watcher*>(context);
    watcher.hasEnded = !watcher.watch({progress->shell, progress->shellLimit, progress->share});
    return watcher.hasEnded ? 1 : 0;
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
            handGrid(zarnGI_lendRef, viewOf(reference.image), referenceName_);
            referenceVoxels_ = reference.image.geometry.voxels();
        } else {
            setReference(viewOf(reference.image));
        }
        if (canBeLent(evaluation.image.values)) {
            handGrid(zarnGI_lendEval, viewOf(evaluation.image), evaluationName_);
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
    constexpr std::size_t mostKept = std::size_t{1} << 22;
    if (referenceVoxels_ > mostKept && files::givesMemoryBack()) {
        zarnGI_releaseRecords();
    }
}

void GammaRun::setReference(const DoseView& doses)
{
    handGrid(zarnGI_setRef, doses, referenceName_);
    referenceVoxels_ = doses.geometry.voxels();
}

void GammaRun::setEvaluation(const DoseView& doses)
{
    handGrid(zarnGI_setEval, doses, evaluationName_);
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
    if (hasNothingAbove(settings)) {
        return untested(referenceVoxels_);
    }
    setParameters(settings, criterion);
    GammaMap map;
    map.values.resize(referenceVoxels_);
    const GammaPlace place(map.values, criterion.label());
    Watcher watcher{watch};
    require(zarnGI_setProgress(watch ? tellWatcher : nullptr, &watcher), "the library");
    const auto start = std::chrono::steady_clock::now();
    const int status = zarnGI_startComputation();
    if (watcher.hasEnded) {
        throw InputError(criterion.label() + ": the computation was interrupted",
                         FailureKind::interrupted);
    }
    require(status, criterion.label());
    const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
    map.seconds = duration.count();
    float passRate = 0;
    require(zarnGI_getGammaIndexPassRate(&passRate), criterion.label());
    map.passRate = static_cast<double>(passRate);
    map.passed.resize(referenceVoxels_);
    require(zarnGI_getPassed3DMap(map.passed.data()), criterion.label());
    return map;
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
