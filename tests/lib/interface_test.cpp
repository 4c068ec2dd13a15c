// The exported interface: lifecycle, status codes and parameters.
#include <limits>
#include <string>

#include "support/host.h"

namespace
{

constexpr float notSet = -1.0F;
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

Grid uniformCube(float dose)
{
    return makeGrid({3, 3, 3}, {2, 2, 2}, {0, 0, 0}, [dose](int, int, int) { return dose; });
}

void prepareComputation()
{
    setCriteria(3, 3, 10);
    ASSERT_EQ(setRef(uniformCube(1)), ZARNGI_OK);
    ASSERT_EQ(setEval(uniformCube(1)), ZARNGI_OK);
}

TEST(BeforeInit, AnyCallCreatesTheEnvironment)
{
    if (Env != nullptr) {
        GTEST_SKIP() << "needs a process of its own";
    }
    float DTA = 0;
    EXPECT_EQ(zarnGI_getDTA(&DTA), ZARNGI_OK);
    EXPECT_EQ(DTA, notSet);
    ASSERT_NE(Env, nullptr);
    EXPECT_EQ(zarnGI_startComputation(), ZARNGI_NO_CRITERIA);
}

using Lifecycle = LibraryTest;

TEST_F(Lifecycle, SecondInitKeepsTheRecordAndResetsIt)
{
    calculationEnvironment* const before = Env;
    prepareComputation();
    ASSERT_EQ(zarnGI_init(), ZARNGI_OK);
    EXPECT_EQ(Env, before);
    EXPECT_EQ(Env->map_ref, nullptr);
    EXPECT_EQ(Env->map_eval, nullptr);
    EXPECT_EQ(Env->gamma, nullptr);
    EXPECT_EQ(zarnGI_isReadyToGo(), ZARNGI_NO_CRITERIA);
}

TEST_F(Lifecycle, ResetRestoresEveryDefault)
{
    prepareComputation();
    compute();
    zarnGI_setVerbose(3);
    zarnGI_setGlobalNormalization(2);
    zarnGI_setGammaSearchMax(2);
    zarnGI_setDDCriterium(ZARNGI_DD_LOCAL);
    zarnGI_setComputationMode(ZARNGI_MODE_PASS_RATE);
    zarnGI_setNumThreads(3);
    zarnGI_setNumSamplesEval(5);
    zarnGI_setInterpolation(false);
    zarnGI_setRandomRotation(true);
    Env->gammaindex2D = Env->gammaindex2D_x = Env->gammaindex2D_y = Env->gammaindex2D_z = true;
    ASSERT_EQ(zarnGI_reset(), ZARNGI_OK);

    for (const float value : {Env->DCO, Env->DTA, Env->DD, Env->global_normalisation,
                              Env->gammaSearchMax, Env->passrate, Env->stepSize}) {
        EXPECT_EQ(value, notSet);
    }
    for (const bool flag :
         {Env->passRateMode, Env->gammaindex2D, Env->gammaindex2D_x, Env->gammaindex2D_y,
          Env->gammaindex2D_z, Env->lNoInterpolation, Env->randomRotation}) {
        EXPECT_FALSE(flag);
    }
    EXPECT_TRUE(Env->globalDD);
    EXPECT_EQ(Env->verbose, 0);
    EXPECT_EQ(Env->num_threads, 1);
    EXPECT_EQ(Env->numSamplesEval, 1000);
    EXPECT_EQ(Env->map_ref, nullptr);
    EXPECT_EQ(Env->map_eval, nullptr);
    EXPECT_EQ(Env->gamma, nullptr);
    float passRate = 7;
    EXPECT_EQ(zarnGI_getGammaIndexPassRate(&passRate), ZARNGI_NOT_READY);
    EXPECT_EQ(passRate, 7);
}

TEST_F(Lifecycle, VersionFillsItsBufferWithNul)
{
    std::string buffer(ZARNGI_VERSION_BUFFER_SIZE + 1, 'x');
    ASSERT_EQ(zarnGI_version(buffer.data()), ZARNGI_OK);
    EXPECT_EQ(buffer, "4.1" + std::string(252, '\0') + "x");
    EXPECT_EQ(zarnGI_version(nullptr), ZARNGI_NULL_POINTER);
}

TEST_F(Lifecycle, VerbosityOutsideItsRangeIsRejected)
{
    for (int level = 0; level <= 5; ++level) {
        EXPECT_EQ(zarnGI_setVerbose(level), ZARNGI_OK);
        EXPECT_EQ(zarnGI_setVerbose(-1), ZARNGI_OUT_OF_RANGE);
        EXPECT_EQ(zarnGI_setVerbose(6), ZARNGI_OUT_OF_RANGE);
        EXPECT_EQ(Env->verbose, level);
    }
}

TEST_F(Lifecycle, ReadinessNamesTheFirstThingMissing)
{
    const Grid cube = uniformCube(1);
    EXPECT_EQ(zarnGI_isReadyToGo(), ZARNGI_NO_CRITERIA);
    zarnGI_setDCO(10);
    EXPECT_EQ(zarnGI_isReadyToGo(), ZARNGI_NO_CRITERIA);
    zarnGI_setDTA(3);
    EXPECT_EQ(zarnGI_isReadyToGo(), ZARNGI_NO_CRITERIA);
    zarnGI_setDD(3);
    EXPECT_EQ(zarnGI_isReadyToGo(), ZARNGI_NO_REFERENCE);
    setRef(cube);
    EXPECT_EQ(zarnGI_startComputation(), ZARNGI_NO_EVALUATION);
    setEval(cube);
    EXPECT_EQ(libStatus.isReadyToGo, 0);
    EXPECT_EQ(zarnGI_isReadyToGo(), ZARNGI_OK);
    EXPECT_EQ(libStatus.isReadyToGo, 1);
    EXPECT_EQ(libStatus.hasFinished, 0);
}

TEST_F(Lifecycle, CriterionOfExactlyZeroIsReady)
{
    prepareComputation();
    Env->DCO = 0;
    EXPECT_EQ(zarnGI_isReadyToGo(), ZARNGI_OK);
}

TEST_F(Lifecycle, BusyFlagsStopEverything)
{
    prepareComputation();
    compute();
    float passRate = 7;
    for (int* flag : {&libStatus.isComputing, &libStatus.isAborting}) {
        *flag = 2;
        EXPECT_EQ(zarnGI_getGammaIndexPassRate(&passRate), ZARNGI_BUSY);
        EXPECT_EQ(zarnGI_getGammaIndex3DMap(&passRate), ZARNGI_BUSY);
        *flag = 0;
    }
    libStatus.isComputing = 1;
    EXPECT_EQ(zarnGI_startComputation(), ZARNGI_BUSY);
    EXPECT_EQ(zarnGI_getGammaIndexPassRate(&passRate), ZARNGI_NOT_READY);
    EXPECT_EQ(passRate, 7);
}

TEST_F(Lifecycle, ResultsAreCheckedBeforePointers)
{
    EXPECT_EQ(zarnGI_getGammaIndexPassRate(nullptr), ZARNGI_NOT_READY);
    EXPECT_EQ(zarnGI_getGammaIndex3DMap(nullptr), ZARNGI_NOT_READY);
    prepareComputation();
    ASSERT_EQ(zarnGI_isReadyToGo(), ZARNGI_OK);
    EXPECT_EQ(zarnGI_getGammaIndexPassRate(nullptr), ZARNGI_NO_RESULTS);
    EXPECT_EQ(zarnGI_getGammaIndex3DMap(nullptr), ZARNGI_NO_RESULTS);
    compute();
    EXPECT_EQ(zarnGI_getGammaIndexPassRate(nullptr), ZARNGI_NULL_POINTER);
    EXPECT_EQ(zarnGI_getGammaIndex3DMap(nullptr), ZARNGI_NULL_POINTER);
}

TEST_F(Lifecycle, FailedReadinessWithdrawsResultsUntilACheckPasses)
{
    prepareComputation();
    compute();
    Env->DD = notSet;
    EXPECT_EQ(zarnGI_startComputation(), ZARNGI_NO_CRITERIA);
    EXPECT_EQ(libStatus.hasFinished, 1);
    float passRate = 7;
    EXPECT_EQ(zarnGI_getGammaIndexPassRate(&passRate), ZARNGI_NOT_READY);
    zarnGI_setDD(3);
    ASSERT_EQ(zarnGI_isReadyToGo(), ZARNGI_OK);
    EXPECT_EQ(zarnGI_getGammaIndexPassRate(&passRate), ZARNGI_OK);
    EXPECT_EQ(passRate, 100);
}

struct FloatParameter {
    const char* name;
    int (*set)(float);
    int (*get)(float*);
};

class FloatParameters : public LibraryTest, public testing::WithParamInterface<FloatParameter>
{
};

TEST_P(FloatParameters, AcceptWhatIsNotAtMostZero)
{
    const auto [name, set, get] = GetParam();
    float value = 0;
    ASSERT_EQ(get(&value), ZARNGI_OK);
    EXPECT_EQ(value, notSet);
    constexpr float huge = std::numeric_limits<float>::infinity();
    constexpr float tiny = std::numeric_limits<float>::denorm_min();
    for (const float accepted : {0.001F, 3.0F, tiny, huge}) {
        EXPECT_EQ(set(accepted), ZARNGI_OK);
        for (const float rejected : {0.0F, -0.0F, -tiny, -1.0F, -huge}) {
            EXPECT_EQ(set(rejected), ZARNGI_OUT_OF_RANGE);
        }
        EXPECT_EQ(get(&value), ZARNGI_OK);
        EXPECT_EQ(value, accepted);
    }
    EXPECT_EQ(set(nan), ZARNGI_OK);
    EXPECT_EQ(get(&value), ZARNGI_OK);
    EXPECT_NE(value, value);
    EXPECT_EQ(get(nullptr), ZARNGI_NULL_POINTER);
}

INSTANTIATE_TEST_SUITE_P(
    Interface, FloatParameters,
    testing::Values(FloatParameter{"DTA", zarnGI_setDTA, zarnGI_getDTA},
                    FloatParameter{"DD", zarnGI_setDD, zarnGI_getDD},
                    FloatParameter{"GlobalNormalization", zarnGI_setGlobalNormalization,
                                   zarnGI_getGlobalNormalization},
                    FloatParameter{"GammaSearchMax", zarnGI_setGammaSearchMax,
                                   zarnGI_getGammaSearchMax},
                    FloatParameter{"DCO", zarnGI_setDCO, zarnGI_getDCO},
                    FloatParameter{"StepSize", zarnGI_setStepSize, zarnGI_getStepSize}),
    [](const auto& test) { return std::string(test.param.name); });

struct IntParameter {
    const char* name;
    int (*set)(int);
    int (*get)(int*);
    int byDefault;
    std::vector<int> accepted;
    std::vector<int> rejected;
};

class IntParameters : public LibraryTest, public testing::WithParamInterface<IntParameter>
{
};

TEST_P(IntParameters, AcceptTheirRange)
{
    const IntParameter& parameter = GetParam();
    int value = 0;
    ASSERT_EQ(parameter.get(&value), ZARNGI_OK);
    EXPECT_EQ(value, parameter.byDefault);
    for (const int accepted : parameter.accepted) {
        EXPECT_EQ(parameter.set(accepted), ZARNGI_OK);
        for (const int rejected : parameter.rejected) {
            EXPECT_EQ(parameter.set(rejected), ZARNGI_OUT_OF_RANGE);
        }
        EXPECT_EQ(parameter.get(&value), ZARNGI_OK);
        EXPECT_EQ(value, accepted);
    }
    EXPECT_EQ(parameter.get(nullptr), ZARNGI_NULL_POINTER);
}

constexpr int minInt = std::numeric_limits<int>::min();
constexpr int maxInt = std::numeric_limits<int>::max();

INSTANTIATE_TEST_SUITE_P(Interface, IntParameters,
                         testing::Values(IntParameter{"DDCriterium",
                                                      zarnGI_setDDCriterium,
                                                      zarnGI_getDDCriterium,
                                                      1,
                                                      {2, 1},
                                                      {0, 3, -1}},
                                         IntParameter{"ComputationMode",
                                                      zarnGI_setComputationMode,
                                                      zarnGI_getComputationMode,
                                                      1,
                                                      {2, 1},
                                                      {0, 3, -2}},
                                         IntParameter{"NumThreads",
                                                      zarnGI_setNumThreads,
                                                      zarnGI_getNumThreads,
                                                      1,
                                                      {64, 1, maxInt},
                                                      {0, -1, minInt}},
                                         IntParameter{"NumSamplesEval",
                                                      zarnGI_setNumSamplesEval,
                                                      zarnGI_getNumSamplesEval,
                                                      1000,
                                                      {1, maxInt},
                                                      {0, -1, minInt}}),
                         [](const auto& test) { return std::string(test.param.name); });

using Parameters = LibraryTest;

TEST_F(Parameters, SwitchesAreStoredAndRead)
{
    bool on = false;
    EXPECT_EQ(zarnGI_getInterpolation(&on), ZARNGI_OK);
    EXPECT_TRUE(on);
    EXPECT_EQ(zarnGI_setInterpolation(false), ZARNGI_OK);
    EXPECT_EQ(zarnGI_getInterpolation(&on), ZARNGI_OK);
    EXPECT_FALSE(on);
    EXPECT_TRUE(Env->lNoInterpolation);
    EXPECT_EQ(zarnGI_setRandomRotation(true), ZARNGI_OK);
    EXPECT_EQ(zarnGI_getRandomRotation(&on), ZARNGI_OK);
    EXPECT_TRUE(on);
    EXPECT_EQ(zarnGI_getInterpolation(nullptr), ZARNGI_NULL_POINTER);
    EXPECT_EQ(zarnGI_getRandomRotation(nullptr), ZARNGI_NULL_POINTER);
}

TEST_F(Parameters, OnlyTheFirstDTASetsTheStepSize)
{
    float step = 0;
    const auto stepSize = [&step] {
        zarnGI_getStepSize(&step);
        return step;
    };
    EXPECT_EQ(zarnGI_setDTA(-3), ZARNGI_OUT_OF_RANGE);
    EXPECT_EQ(stepSize(), notSet);
    zarnGI_setDTA(3);
    EXPECT_EQ(stepSize(), 0.3F);
    zarnGI_setDTA(2);
    EXPECT_EQ(stepSize(), 0.3F);
    zarnGI_setStepSize(0.5F);
    EXPECT_EQ(stepSize(), 0.5F);

    zarnGI_reset();
    zarnGI_setStepSize(0.5F);
    zarnGI_setDTA(3);
    EXPECT_EQ(stepSize(), 0.5F);
}

TEST_F(Parameters, VectorPathsAreListedAndTaken)
{
    constexpr int fastest = -1;
    const char* name = nullptr;
    int isSupported = 0;
    ASSERT_EQ(zarnGI_getVectorPath(0, &name, &isSupported), ZARNGI_OK);
    EXPECT_STREQ(name, "portable");
    EXPECT_EQ(isSupported, 1);
    int count = 0;
    for (; zarnGI_getVectorPath(count, &name, &isSupported) == ZARNGI_OK; ++count) {
        EXPECT_EQ(zarnGI_setVectorPath(count), isSupported == 1 ? ZARNGI_OK : ZARNGI_OUT_OF_RANGE);
    }
    EXPECT_EQ(zarnGI_getVectorPath(-1, &name, &isSupported), ZARNGI_OUT_OF_RANGE);
    EXPECT_EQ(zarnGI_getVectorPath(0, nullptr, &isSupported), ZARNGI_NULL_POINTER);
    EXPECT_EQ(zarnGI_getVectorPath(0, &name, nullptr), ZARNGI_NULL_POINTER);
    EXPECT_EQ(zarnGI_setVectorPath(count), ZARNGI_OUT_OF_RANGE);
    EXPECT_EQ(zarnGI_setVectorPath(fastest - 1), ZARNGI_OUT_OF_RANGE);
    EXPECT_EQ(zarnGI_setVectorPath(fastest), ZARNGI_OK);
}

TEST_F(Parameters, SettingThemTouchesNoStatusFlag)
{
    prepareComputation();
    compute();
    zarnGI_setDTA(2);
    zarnGI_setComputationMode(2);
    setEval(uniformCube(2));
    EXPECT_EQ(libStatus.isReadyToGo, 1);
    EXPECT_EQ(libStatus.hasFinished, 1);
}

} // namespace
