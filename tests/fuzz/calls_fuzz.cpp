// Random sequences of all exported calls with random arguments. Computations small enough are
// compared with the definition of the search.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include "gammaIndexKernelCPU.h"
#include "support/definition.h"
#include "support/describe.h"

namespace
{

void require(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "violated: %s\n", what);
        std::abort();
    }
}

void requireSame(const std::vector<float>& gamma, const std::vector<float>& defined)
{
    if (std::memcmp(defined.data(), gamma.data(), gamma.size() * sizeof(float)) == 0) {
        return;
    }
    std::fprintf(stderr, "%s", describeProblem().c_str());
    for (std::size_t i = 0; i < gamma.size(); ++i) {
        if (std::memcmp(&gamma[i], &defined[i], sizeof(float)) != 0) {
            std::fprintf(stderr, "voxel %zu: %.9g, by definition %.9g\n", i, gamma[i], defined[i]);
        }
    }
    require(false, "the definition of gamma");
}

class Host
{
public:
    explicit Host(FuzzedDataProvider& data) : data_(data) {}

    void call()
    {
        switch (data_.ConsumeIntegralInRange(0, 11)) {
        case 0:
            require((data_.ConsumeBool() ? zarnGI_init() : zarnGI_reset()) == ZARNGI_OK, "reset");
            break;
        case 1:
        case 2:
            setGrid(zarnGI_setRef);
            break;
        case 3:
        case 4:
            setGrid(zarnGI_setEval);
            break;
        case 5:
            setFloat();
            break;
        case 6:
            setInt();
            break;
        case 7:
            setSwitch();
            break;
        case 8:
            get();
            break;
        case 9:
            setUsualCriteria();
            break;
        default:
            compute();
        }
    }

private:
    float number()
    {
        using Limits = std::numeric_limits<float>;
        constexpr float odd[] = {0.0F,
                                 -0.0F,
                                 Limits::infinity(),
                                 -Limits::infinity(),
                                 Limits::quiet_NaN(),
                                 Limits::denorm_min(),
                                 Limits::max(),
                                 Limits::min(),
                                 -1.0F,
                                 1e-30F,
                                 1e30F};
        switch (data_.ConsumeIntegralInRange(0, 5)) {
        case 0:
            return data_.PickValueInArray(odd);
        case 1: {
            const auto bits = data_.ConsumeIntegral<std::uint32_t>();
            float value = 0;
            std::memcpy(&value, &bits, sizeof value);
            return value;
        }
        default:
            return static_cast<float>(data_.ConsumeIntegralInRange(1, 255)) / 32;
        }
    }

    void setGrid(int (*set)(int*, float*, float*, float*))
    {
        constexpr int absurd[] = {0, -1, std::numeric_limits<int>::max(),
                                  std::numeric_limits<int>::min(), 1 << 16};
        int nn[3];
        float hs[3];
        float x0[3];
        const bool usual = data_.ConsumeIntegralInRange(0, 7) != 0;
        std::size_t count = 1;
        for (int a = 0; a < 3; ++a) {
            nn[a] = usual ? data_.ConsumeIntegralInRange(1, 6) : data_.PickValueInArray(absurd);
            hs[a] =
                usual ? 0.5F * static_cast<float>(data_.ConsumeIntegralInRange(1, 8)) : number();
            x0[a] = usual ? 0.25F * static_cast<float>(data_.ConsumeIntegralInRange(-20, 20))
                          : number();
            count *= usual ? static_cast<std::size_t>(nn[a]) : 1;
        }
        if (!usual && nn[0] == 1 << 16) {
            nn[0] = 1; // a row, of which memory can be had
            nn[1] = 1;
            nn[2] = data_.ConsumeIntegralInRange(1, 64);
            count = static_cast<std::size_t>(nn[2]);
        }
        std::vector<float> map(count);
        const bool numbers = data_.ConsumeBool();
        for (float& dose : map) {
            dose =
                numbers ? number() : static_cast<float>(data_.ConsumeIntegral<std::uint8_t>()) / 64;
        }
        const bool whole = usual || nn[0] == 1;
        const auto orNull = [&](auto* pointer) {
            return data_.ConsumeIntegralInRange(0, 63) == 0 ? nullptr : pointer;
        };
        // Where a grid might be accepted, its map must be there in full.
        const bool valid = whole || nn[0] <= 0 || nn[1] <= 0 || nn[2] <= 0;
        set(orNull(nn), orNull(hs), orNull(x0), valid ? orNull(map.data()) : nullptr);
    }

    void setFloat()
    {
        constexpr int (*setters[])(float) = {zarnGI_setDTA,
                                             zarnGI_setDD,
                                             zarnGI_setDCO,
                                             zarnGI_setGlobalNormalization,
                                             zarnGI_setGammaSearchMax,
                                             zarnGI_setStepSize};
        const auto set = data_.PickValueInArray(setters);
        const float value = number();
        require(set(value) == (0 >= value ? ZARNGI_OUT_OF_RANGE : ZARNGI_OK), "range of floats");
    }

    void setInt()
    {
        constexpr int (*setters[])(int) = {zarnGI_setDDCriterium, zarnGI_setComputationMode,
                                           zarnGI_setNumThreads, zarnGI_setNumSamplesEval,
                                           zarnGI_setVerbose};
        const auto set = data_.PickValueInArray(setters);
        const bool usual = data_.ConsumeBool();
        set(usual ? data_.ConsumeIntegralInRange(0, 6) : data_.ConsumeIntegral<int>());
    }

    void setSwitch()
    {
        const bool on = data_.ConsumeBool();
        switch (data_.ConsumeIntegralInRange(0, 4)) {
        case 0:
            zarnGI_setInterpolation(on);
            break;
        case 1:
            zarnGI_setRandomRotation(on);
            break;
        case 2:
            libStatus.isComputing = on ? 1 : 0;
            break;
        default:
            if (Env != nullptr) {
                Env->gammaindex2D = on;
                Env->gammaindex2D_z = on;
            }
        }
    }

    void get()
    {
        constexpr int (*floats[])(float*) = {zarnGI_getDTA,
                                             zarnGI_getDD,
                                             zarnGI_getDCO,
                                             zarnGI_getGlobalNormalization,
                                             zarnGI_getGammaSearchMax,
                                             zarnGI_getStepSize,
                                             zarnGI_getGammaIndexPassRate};
        constexpr int (*ints[])(int*) = {zarnGI_getDDCriterium, zarnGI_getComputationMode,
                                         zarnGI_getNumThreads, zarnGI_getNumSamplesEval};
        constexpr int (*bools[])(bool*) = {zarnGI_getInterpolation, zarnGI_getRandomRotation};
        float f = 0;
        int i = 0;
        bool b = false;
        char version[ZARNGI_VERSION_BUFFER_SIZE];
        const bool null = data_.ConsumeIntegralInRange(0, 7) == 0;
        data_.PickValueInArray(floats)(null ? nullptr : &f);
        data_.PickValueInArray(ints)(null ? nullptr : &i);
        data_.PickValueInArray(bools)(null ? nullptr : &b);
        zarnGI_version(null ? nullptr : version);
        zarnGI_isReadyToGo();
    }

    void setUsualCriteria()
    {
        zarnGI_setDTA(static_cast<float>(data_.ConsumeIntegralInRange(1, 4)));
        zarnGI_setDD(static_cast<float>(data_.ConsumeIntegralInRange(1, 60)));
        zarnGI_setDCO(static_cast<float>(data_.ConsumeIntegralInRange(1, 60)));
        zarnGI_setStepSize(0.5F);
        zarnGI_setGammaSearchMax(static_cast<float>(data_.ConsumeIntegralInRange(1, 3)));
        zarnGI_setNumThreads(data_.ConsumeIntegralInRange(1, 3));
    }

    /** Whether plain search and threads stay small; not-a-number is not large. */
    static bool isAffordable()
    {
        return Env != nullptr && !(Env->DTA / Env->stepSize > 12) && Env->gammaSearchMax > 0 &&
               !(Env->gammaSearchMax > 3) && Env->num_threads < 9;
    }

    void compute()
    {
        if (!isAffordable()) {
            return;
        }
        if (zarnGI_startComputation() != ZARNGI_OK) {
            return;
        }
        std::vector<float> gamma(Env->N_ref);
        float passRate = 0;
        require(zarnGI_getGammaIndex3DMap(gamma.data()) == ZARNGI_OK, "map after a computation");
        require(zarnGI_getGammaIndexPassRate(&passRate) == ZARNGI_OK, "pass rate");
        if (activeVoxels.empty()) {
            return; // the results are those of an earlier computation
        }
        require(passRate >= 0 && passRate <= 100, "range of the pass rate");
        for (const float g : gamma) {
            require(g >= 0 || g == -1, "range of gamma");
        }
        if (!Env->randomRotation && std::isfinite(Env->gammaSearchMax)) {
            const int shells =
                std::max(1, static_cast<int>(static_cast<double>(Env->gammaSearchMax) + 0.5));
            const std::vector<float> defined = mapByDefinition(searchByDefinition(shells));
            requireSame(gamma, defined);
        }
    }

    FuzzedDataProvider& data_;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    FuzzedDataProvider data(bytes, size);
    zarnGI_reset();
    for (int calls = 0; calls < 100 && data.remaining_bytes() > 0; ++calls) {
        Host(data).call();
    }
    return 0;
}
