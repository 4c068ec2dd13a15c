#include "libZarnGI.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "gammaIndexKernelCPU/driver.h"
#include "gammaIndexKernelCPU/passedMap.h"
#include "gammaIndexKernelCPU/setup.h"
#include "gammaIndexKernelCPU/testedPlanes.h"
#include "gammaIndexKernelCPU/watch.h"
#include "largePages.h"

using namespace zarngi::engine;

calculationEnvironment* Env = nullptr;
libraryStatus libStatus = {0, 0, 0, 0};
const char* const VERSION_STRING = "4.1";

namespace
{

/** Whether the engine's voxels are those of the reference grid and of the last computation. */
bool voxelsAreCurrent = false;

/** Whether what tells who passed was given back. */
bool recordsAreReleased = false;

/** Whether the grids of the environment are the host's memory. */
bool referenceIsLent = false;
bool evaluationIsLent = false;

/** The host's memory for gamma maps; null: the library's own. */
float* lentGamma = nullptr;

/** Whether all of the environment's gamma map has been written. */
bool gammaHoldsMap = false;

void resetStatus()
{
    libStatus = {0, 0, 0, 0};
    voxelsAreCurrent = false;
    recordsAreReleased = false;
    watch::setCallback(nullptr, nullptr);
}

void releaseGrid(float*& map, bool& isLent)
{
    if (!isLent) {
        delete[] map;
    }
    map = nullptr;
    isLent = false;
}

/** Leaves no gamma map; the host's memory for one stays lent. */
void releaseGamma()
{
    if (Env->gamma != lentGamma) {
        delete[] Env->gamma;
    }
    Env->gamma = nullptr;
}

/** Makes the environment if there is none. Returns a status code. */
int ensureEnvironment()
{
    if (Env != nullptr) {
        return ZARNGI_OK;
    }
    void* const memory = std::malloc(sizeof(calculationEnvironment));
    if (memory == nullptr) {
        return ZARNGI_NULL_POINTER;
    }
    Env = new (memory) calculationEnvironment{};
    return zarnGI_reset();
}

/** Runs an operation of an exported function on the environment and returns its status code. */
template <class Operation> int withEnvironment(const Operation& operation)
{
    const int status = ensureEnvironment();
    return status == ZARNGI_OK ? operation() : status;
}

/** Stores a float parameter that must be greater than 0. */
int setPositive(float calculationEnvironment::*field, float value)
{
    return withEnvironment([&] {
        if (0 >= value) {
            return ZARNGI_OUT_OF_RANGE;
        }
        Env->*field = value;
        return ZARNGI_OK;
    });
}

/** Stores a count that must be at least 1. */
int setCount(int calculationEnvironment::*field, int value)
{
    return withEnvironment([&] {
        if (value < 1) {
            return ZARNGI_OUT_OF_RANGE;
        }
        Env->*field = value;
        return ZARNGI_OK;
    });
}

/** Stores a two-valued option given as 1 or 2: `value` becomes true for the code `trueCode`. */
int setOption(bool calculationEnvironment::*field, int code, int trueCode)
{
    return withEnvironment([&] {
        if (code != 1 && code != 2) {
            return ZARNGI_OUT_OF_RANGE;
        }
        Env->*field = code == trueCode;
        return ZARNGI_OK;
    });
}

/** Writes what `read` returns to `target`, unless that is null. */
template <class T, class Read> int getValue(T* target, const Read& read)
{
    return withEnvironment([&] {
        if (target == nullptr) {
            return ZARNGI_NULL_POINTER;
        }
        *target = read();
        return ZARNGI_OK;
    });
}

template <class T> int getField(T* target, T calculationEnvironment::*field)
{
    return getValue(target, [field] { return Env->*field; });
}

bool isBusy()
{
    return libStatus.isComputing != 0 || libStatus.isAborting != 0;
}

/** Whether results can be handed out through `target`. Returns a status code. */
int checkResults(const void* target, bool areThere = true)
{
    if (libStatus.isReadyToGo == 0) {
        return ZARNGI_NOT_READY;
    }
    if (isBusy()) {
        return ZARNGI_BUSY;
    }
    if (libStatus.hasFinished == 0 || !areThere) {
        return ZARNGI_NO_RESULTS;
    }
    return target == nullptr ? ZARNGI_NULL_POINTER : ZARNGI_OK;
}

/** The environment's fields that describe one of the two grids. */
struct GridFields {
    int* nn;
    float* hs;
    float* xmin;
    float* xmax;
    std::size_t* N;
    float** map;
    bool* isLent;
};

GridFields referenceFields()
{
    return {Env->nn_ref, Env->hs_ref,   Env->xmin_ref,   Env->xmax_ref,
            &Env->N_ref, &Env->map_ref, &referenceIsLent};
}

GridFields evaluationFields()
{
    return {Env->nn_eval, Env->hs_eval,   Env->xmin_eval,   Env->xmax_eval,
            &Env->N_eval, &Env->map_eval, &evaluationIsLent};
}

/** Linear voxel indices are 32-bit signed: a grid holds fewer voxels than this. */
constexpr std::int64_t voxelLimit = std::int64_t{1} << 31;

int checkGrid(const int* nn, const float* hs, const float* x0, const float* map)
{
    if (nn == nullptr || hs == nullptr || x0 == nullptr) {
        return ZARNGI_NULL_POINTER;
    }
    for (int i = 0; i < 3; ++i) {
        if (nn[i] <= 0) {
            return ZARNGI_BAD_GRID_SIZE;
        }
        if (0 >= hs[i]) {
            return ZARNGI_BAD_VOXEL_SIZE;
        }
    }
    // The product of two sizes fits 64 bits, but that of three may not.
    const std::int64_t plane = std::int64_t{nn[0]} * nn[1];
    if (plane >= voxelLimit || plane * nn[2] >= voxelLimit) {
        return ZARNGI_BAD_GRID_SIZE;
    }
    return map == nullptr ? ZARNGI_NULL_POINTER : ZARNGI_OK;
}

using FloatArray = std::unique_ptr<float[]>;

/** A new array, with a margin behind it for a vector that starts at its last element. */
FloatArray newArray(std::size_t count)
{
    const std::size_t whole = count + ZARNGI_LENT_MARGIN;
    FloatArray array(new (std::nothrow) float[whole]);
    if (array) {
        zarngi::adviseLargePages(array.get(), whole * sizeof(float));
        std::fill(array.get() + count, array.get() + whole, 0.0F);
    }
    return array;
}

std::size_t voxelsOf(const int* nn)
{
    return static_cast<std::size_t>(nn[0]) * static_cast<std::size_t>(nn[1]) *
           static_cast<std::size_t>(nn[2]);
}

/** Puts one value in all voxels of a map that are to be tested. */
template <class Value> void fillTested(Value* map, Value value)
{
    const VoxelRange range = testedVoxels();
    std::fill(map + range.first, map + range.last, value);
}

void storeGrid(const GridFields& grid, const int* nn, const float* hs, const float* x0, float* map,
               bool isLent)
{
    for (int i = 0; i < 3; ++i) {
        grid.nn[i] = nn[i];
        grid.hs[i] = hs[i];
        grid.xmin[i] = x0[i];
        grid.xmax[i] = static_cast<float>(nn[i]) * hs[i] + x0[i];
    }
    *grid.N = voxelsOf(nn);
    releaseGrid(*grid.map, *grid.isLent);
    *grid.map = map;
    *grid.isLent = isLent;
}

/** Puts an array, or none, in the place of the gamma map, which the host lends no memory for. */
void replaceGamma(FloatArray gamma)
{
    releaseGamma();
    lentGamma = nullptr;
    Env->gamma = gamma.release();
}

/** Stores a copy of a grid; of the reference also a new gamma map of its shape, all -1. */
int setGrid(const GridFields& grid, bool isReference, const int* nn, const float* hs,
            const float* x0, const float* map)
{
    const int status = checkGrid(nn, hs, x0, map);
    if (status != ZARNGI_OK) {
        return status;
    }
    const std::size_t count = voxelsOf(nn);
    FloatArray mapCopy = newArray(count);
    FloatArray newGamma = isReference ? newArray(count) : nullptr;
    if (!mapCopy || (isReference && !newGamma)) {
        return ZARNGI_NULL_POINTER;
    }
    std::copy(map, map + count, mapCopy.get());
    storeGrid(grid, nn, hs, x0, mapCopy.release(), false);
    if (isReference) {
        std::fill(newGamma.get(), newGamma.get() + count, -1.0F);
        replaceGamma(std::move(newGamma));
        setTestedPlanes(0, 0);
        gammaHoldsMap = true;
        voxelsAreCurrent = false;
    }
    return ZARNGI_OK;
}

/** Stores a grid of the host's; of the reference, a computation makes the gamma map. */
int lendGrid(const GridFields& grid, bool isReference, const int* nn, const float* hs,
             const float* x0, const float* map)
{
    const int status = checkGrid(nn, hs, x0, map);
    if (status != ZARNGI_OK) {
        return status;
    }
    // Nothing writes to the grids of the environment.
    storeGrid(grid, nn, hs, x0, const_cast<float*>(map), true);
    if (isReference) {
        replaceGamma(nullptr);
        setTestedPlanes(0, 0);
        voxelsAreCurrent = false;
    }
    return ZARNGI_OK;
}

/** Sees to it that the engine can write a gamma map. */
void prepareGamma()
{
    if (lentGamma == nullptr && Env->gamma != nullptr) {
        return;
    }
    gammaHoldsMap = false;
    Env->gamma = lentGamma != nullptr ? lentGamma : newArray(Env->N_ref).release();
    if (Env->gamma == nullptr) {
        throw std::bad_alloc();
    }
}

int computeGammaIndex()
{
    prepareGamma();
    const int result = evaluateGammaIndex();
    if (!gammaHoldsMap && !testsAnything()) {
        fillTested(Env->gamma, -1.0F);
    }
    gammaHoldsMap = true;
    return result;
}

void resetParameters()
{
    Env->passRateMode = false;
    Env->globalDD = true;
    Env->verbose = 0;
    Env->num_threads = 1;
    Env->DCO = -1.0F;
    Env->DTA = -1.0F;
    Env->DD = -1.0F;
    Env->global_normalisation = -1.0F;
    Env->gammaSearchMax = -1.0F;
    Env->passrate = -1.0F;
    Env->stepSize = -1.0F;
    Env->gammaindex2D = false;
    Env->gammaindex2D_z = false;
    Env->gammaindex2D_y = false;
    Env->gammaindex2D_x = false;
    Env->lNoInterpolation = false;
    Env->numSamplesEval = 1000;
    Env->randomRotation = false;
}

} // namespace

int zarnGI_init()
{
    return Env == nullptr ? ensureEnvironment() : zarnGI_reset();
}

int zarnGI_reset()
{
    return withEnvironment([] {
        resetStatus();
        releaseGrid(Env->map_ref, referenceIsLent);
        releaseGrid(Env->map_eval, evaluationIsLent);
        replaceGamma(nullptr);
        setTestedPlanes(0, 0);
        resetParameters();
        seedRandomGenerator();
        return ZARNGI_OK;
    });
}

int zarnGI_version(char* version)
{
    return withEnvironment([&] {
        if (version == nullptr) {
            return ZARNGI_NULL_POINTER;
        }
        std::strncpy(version, VERSION_STRING, ZARNGI_VERSION_BUFFER_SIZE);
        return ZARNGI_OK;
    });
}

int zarnGI_setVerbose(int level)
{
    return withEnvironment([&] {
        if (level < 0 || level > 5) {
            return ZARNGI_OUT_OF_RANGE;
        }
        Env->verbose = level;
        return ZARNGI_OK;
    });
}

int zarnGI_isReadyToGo()
{
    return withEnvironment([] {
        libStatus.isReadyToGo = 0;
        if (isBusy()) {
            return ZARNGI_BUSY;
        }
        if (Env->DCO < 0 || Env->DTA < 0 || Env->DD < 0) {
            return ZARNGI_NO_CRITERIA;
        }
        if (Env->map_ref == nullptr) {
            return ZARNGI_NO_REFERENCE;
        }
        if (Env->map_eval == nullptr) {
            return ZARNGI_NO_EVALUATION;
        }
        libStatus.isReadyToGo = 1;
        return ZARNGI_OK;
    });
}

int zarnGI_startComputation()
{
    const int ready = zarnGI_isReadyToGo();
    if (ready != ZARNGI_OK) {
        return ready;
    }
    try {
        voxelsAreCurrent = false;
        recordsAreReleased = false;
        const int result = computeGammaIndex();
        voxelsAreCurrent = true;
        libStatus.hasFinished = 1;
        return result;
    } catch (...) {
        // The gamma map may be incomplete, or an older one: no results until the next computation.
        libStatus.isReadyToGo = 0;
        libStatus.hasFinished = 0;
        return ZARNGI_NOT_READY;
    }
}

int zarnGI_getGammaIndex3DMap(float* gamma)
{
    return withEnvironment([&] {
        const int status = checkResults(gamma, Env->gamma != nullptr);
        if (status == ZARNGI_OK) {
            const VoxelRange range = testedVoxels();
            std::copy(Env->gamma + range.first, Env->gamma + range.last, gamma + range.first);
        }
        return status;
    });
}

int zarnGI_getGammaIndexPassRate(float* passrate)
{
    return withEnvironment([&] {
        const int status = checkResults(passrate);
        if (status == ZARNGI_OK) {
            *passrate = Env->passrate;
        }
        return status;
    });
}

int zarnGI_setRef(int* nn, float* hs, float* x0, float* map)
{
    return withEnvironment([&] { return setGrid(referenceFields(), true, nn, hs, x0, map); });
}

int zarnGI_setEval(int* nn, float* hs, float* x0, float* map)
{
    return withEnvironment([&] { return setGrid(evaluationFields(), false, nn, hs, x0, map); });
}

int zarnGI_setDTA(float DTA)
{
    const int status = setPositive(&calculationEnvironment::DTA, DTA);
    if (status == ZARNGI_OK && Env->stepSize < 0) {
        Env->stepSize = DTA / 10;
    }
    return status;
}

int zarnGI_getDTA(float* DTA)
{
    return getField(DTA, &calculationEnvironment::DTA);
}

int zarnGI_setDD(float DD)
{
    return setPositive(&calculationEnvironment::DD, DD);
}

int zarnGI_getDD(float* DD)
{
    return getField(DD, &calculationEnvironment::DD);
}

int zarnGI_setGlobalNormalization(float doseLevel)
{
    return setPositive(&calculationEnvironment::global_normalisation, doseLevel);
}

int zarnGI_getGlobalNormalization(float* doseLevel)
{
    return getField(doseLevel, &calculationEnvironment::global_normalisation);
}

int zarnGI_setGammaSearchMax(float maxgamma)
{
    return setPositive(&calculationEnvironment::gammaSearchMax, maxgamma);
}

int zarnGI_getGammaSearchMax(float* maxgamma)
{
    return getField(maxgamma, &calculationEnvironment::gammaSearchMax);
}

int zarnGI_setDCO(float DCO)
{
    return setPositive(&calculationEnvironment::DCO, DCO);
}

int zarnGI_getDCO(float* DCO)
{
    return getField(DCO, &calculationEnvironment::DCO);
}

int zarnGI_setStepSize(float step)
{
    return setPositive(&calculationEnvironment::stepSize, step);
}

int zarnGI_getStepSize(float* step)
{
    return getField(step, &calculationEnvironment::stepSize);
}

int zarnGI_setDDCriterium(int criterium)
{
    return setOption(&calculationEnvironment::globalDD, criterium, ZARNGI_DD_GLOBAL);
}

int zarnGI_getDDCriterium(int* criterium)
{
    return getValue(criterium, [] { return Env->globalDD ? ZARNGI_DD_GLOBAL : ZARNGI_DD_LOCAL; });
}

int zarnGI_setComputationMode(int mode)
{
    return setOption(&calculationEnvironment::passRateMode, mode, ZARNGI_MODE_PASS_RATE);
}

int zarnGI_getComputationMode(int* mode)
{
    return getValue(
        mode, [] { return Env->passRateMode ? ZARNGI_MODE_PASS_RATE : ZARNGI_MODE_GAMMA_MAP; });
}

int zarnGI_setNumThreads(int N)
{
    return setCount(&calculationEnvironment::num_threads, N);
}

int zarnGI_getNumThreads(int* N)
{
    return getField(N, &calculationEnvironment::num_threads);
}

int zarnGI_setNumSamplesEval(int N)
{
    return setCount(&calculationEnvironment::numSamplesEval, N);
}

int zarnGI_getNumSamplesEval(int* N)
{
    return getField(N, &calculationEnvironment::numSamplesEval);
}

int zarnGI_setInterpolation(bool TF)
{
    return withEnvironment([&] {
        Env->lNoInterpolation = !TF;
        return ZARNGI_OK;
    });
}

int zarnGI_getInterpolation(bool* TF)
{
    return getValue(TF, [] { return !Env->lNoInterpolation; });
}

int zarnGI_setRandomRotation(bool TF)
{
    return withEnvironment([&] {
        Env->randomRotation = TF;
        return ZARNGI_OK;
    });
}

int zarnGI_getRandomRotation(bool* TF)
{
    return getField(TF, &calculationEnvironment::randomRotation);
}

int zarnGI_getPassed3DMap(unsigned char* passed)
{
    return withEnvironment([&] {
        const int status = checkResults(passed, !recordsAreReleased);
        if (status != ZARNGI_OK) {
            return status;
        }
        if (voxelsAreCurrent) {
            writePassed(passed);
        } else {
            fillTested(passed, static_cast<unsigned char>(ZARNGI_NOT_TESTED));
        }
        return status;
    });
}

int zarnGI_setProgress(zarnGI_progressCallback callback, void* context)
{
    return withEnvironment([&] {
        watch::setCallback(callback, context);
        return ZARNGI_OK;
    });
}

int zarnGI_lendRef(const int* nn, const float* hs, const float* x0, const float* map)
{
    return withEnvironment([&] { return lendGrid(referenceFields(), true, nn, hs, x0, map); });
}

int zarnGI_lendEval(const int* nn, const float* hs, const float* x0, const float* map)
{
    return withEnvironment([&] { return lendGrid(evaluationFields(), false, nn, hs, x0, map); });
}

int zarnGI_lendGammaIndex3DMap(float* gamma)
{
    return withEnvironment([&] {
        if (Env->map_ref == nullptr) {
            return ZARNGI_NO_REFERENCE;
        }
        releaseGamma();
        lentGamma = gamma;
        return ZARNGI_OK;
    });
}

int zarnGI_setTestedPlanes(int first, int count)
{
    return withEnvironment([&] {
        if (isBusy()) {
            return ZARNGI_BUSY;
        }
        if (Env->map_ref == nullptr) {
            return ZARNGI_NO_REFERENCE;
        }
        const bool liesInGrid =
            first >= 0 && count >= 1 && first < Env->nn_ref[2] && count <= Env->nn_ref[2] - first;
        if (!liesInGrid && count != 0) {
            return ZARNGI_OUT_OF_RANGE;
        }
        setTestedPlanes(first, count);
        libStatus.hasFinished = 0;
        gammaHoldsMap = false;
        voxelsAreCurrent = false;
        return ZARNGI_OK;
    });
}

int zarnGI_releaseRecords()
{
    return withEnvironment([] {
        if (isBusy()) {
            return ZARNGI_BUSY;
        }
        zarngi::engine::releaseActiveVoxels();
        recordsAreReleased = true;
        return ZARNGI_OK;
    });
}
