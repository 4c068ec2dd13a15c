#include "comparison/libraryCalls.h"

#include <array>
#include <cmath>

#include "comparison/failure.h"
#include "libZarnGI.h"

namespace zarngi
{

namespace
{

constexpr float unbounded = -1; // of the environment, as at first

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

/** What the library takes of a geometry. */
struct LibraryGrid {
    std::array<int, 3> size;
    std::array<float, 3> spacing;
    std::array<float, 3> corner;

    explicit LibraryGrid(const Geometry& geometry) : size(geometry.size), spacing{}, corner{}
    {
        for (std::size_t i = 0; i < 3; ++i) {
            spacing[i] = static_cast<float>(geometry.spacing[i]);
            // Files tell the centre of the first voxel, the library wants its outer corner.
            corner[i] = static_cast<float>(geometry.origin[i] - geometry.spacing[i] / 2);
        }
    }
};

} // namespace

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

void handGrid(HandGrid hand, const Geometry& geometry, const float* doses, const std::string& name)
{
    LibraryGrid grid(geometry);
    // The interface takes the doses through a plain pointer but never writes them.
    require(
        hand(grid.size.data(), grid.spacing.data(), grid.corner.data(), const_cast<float*>(doses)),
        name);
}

void lendReference(const Geometry& geometry, const float* doses, const std::string& name)
{
    const LibraryGrid grid(geometry);
    require(zarnGI_lendRef(grid.size.data(), grid.spacing.data(), grid.corner.data(), doses), name);
}

void lendEvaluation(const Geometry& geometry, const float* doses, const std::string& name)
{
    const LibraryGrid grid(geometry);
    require(zarnGI_lendEval(grid.size.data(), grid.spacing.data(), grid.corner.data(), doses),
            name);
}

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

GammaPlace::GammaPlace(float* map, const std::string& context)
{
    require(zarnGI_lendGammaIndex3DMap(map), context);
}

GammaPlace::~GammaPlace()
{
    zarnGI_lendGammaIndex3DMap(nullptr);
}

} // namespace zarngi
