/* The whole public interface from a C11 program. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "libZarnGI.h"

enum { SIZE = 4, VOXELS = SIZE * SIZE * SIZE };

static void expect(int condition, const char* text, int line)
{
    if (!condition) {
        fprintf(stderr, "c_host.c:%d: %s\n", line, text);
        exit(1);
    }
}

#define EXPECT(condition) expect(condition, #condition, __LINE__)
#define EXPECT_OK(call) EXPECT((call) == ZARNGI_OK)

static void check_floats(void)
{
    float value = 0;
    EXPECT_OK(zarnGI_setDTA(3));
    EXPECT_OK(zarnGI_getDTA(&value));
    EXPECT(value == 3);
    EXPECT_OK(zarnGI_setDD(25));
    EXPECT_OK(zarnGI_getDD(&value));
    EXPECT(value == 25);
    EXPECT_OK(zarnGI_setDCO(10));
    EXPECT_OK(zarnGI_getDCO(&value));
    EXPECT(value == 10);
    EXPECT_OK(zarnGI_setGlobalNormalization(2));
    EXPECT_OK(zarnGI_getGlobalNormalization(&value));
    EXPECT(value == 2);
    EXPECT_OK(zarnGI_setGammaSearchMax(3));
    EXPECT_OK(zarnGI_getGammaSearchMax(&value));
    EXPECT(value == 3);
    EXPECT_OK(zarnGI_setStepSize(0.5F));
    EXPECT_OK(zarnGI_getStepSize(&value));
    EXPECT(value == 0.5F);
}

static void check_ints(void)
{
    int value = 0;
    EXPECT_OK(zarnGI_setDDCriterium(ZARNGI_DD_LOCAL));
    EXPECT_OK(zarnGI_getDDCriterium(&value));
    EXPECT(value == ZARNGI_DD_LOCAL);
    EXPECT_OK(zarnGI_setComputationMode(ZARNGI_MODE_GAMMA_MAP));
    EXPECT_OK(zarnGI_getComputationMode(&value));
    EXPECT(value == ZARNGI_MODE_GAMMA_MAP);
    EXPECT_OK(zarnGI_setNumThreads(2));
    EXPECT_OK(zarnGI_getNumThreads(&value));
    EXPECT(value == 2);
    EXPECT_OK(zarnGI_setNumSamplesEval(500));
    EXPECT_OK(zarnGI_getNumSamplesEval(&value));
    EXPECT(value == 500);
    EXPECT(zarnGI_setVerbose(6) == ZARNGI_OUT_OF_RANGE);
    EXPECT_OK(zarnGI_setVerbose(0));
}

static void check_switches(void)
{
    bool value = true;
    EXPECT_OK(zarnGI_setInterpolation(false));
    EXPECT_OK(zarnGI_getInterpolation(&value));
    EXPECT(!value);
    EXPECT_OK(zarnGI_setRandomRotation(false));
    EXPECT_OK(zarnGI_getRandomRotation(&value));
    EXPECT(!value);
}

static void check_computation(void)
{
    int nn[3] = {SIZE, SIZE, SIZE};
    float hs[3] = {10, 10, 10};
    float x0[3] = {0, 0, 0};
    float reference[VOXELS];
    float evaluation[VOXELS];
    float gamma[VOXELS];
    float pass_rate = 0;
    for (int i = 0; i < VOXELS; ++i) {
        reference[i] = 2;
        evaluation[i] = i == 0 ? 2.25F : 2;
    }
    evaluation[1] = 4;
    EXPECT(zarnGI_startComputation() == ZARNGI_NO_REFERENCE);
    EXPECT_OK(zarnGI_setRef(nn, hs, x0, reference));
    EXPECT_OK(zarnGI_setEval(nn, hs, x0, evaluation));
    EXPECT_OK(zarnGI_isReadyToGo());
    EXPECT(zarnGI_getGammaIndexPassRate(&pass_rate) == ZARNGI_NO_RESULTS);
    EXPECT_OK(zarnGI_startComputation());
    EXPECT_OK(zarnGI_getGammaIndex3DMap(gamma));
    EXPECT_OK(zarnGI_getGammaIndexPassRate(&pass_rate));
    EXPECT(gamma[0] == 0.5F);
    /* The nearest voxel of the right dose begins 5 mm away, and its lower face belongs to it. */
    EXPECT(fabsf(gamma[1] - 5.0F / 3) < 1e-6F);
    EXPECT(gamma[2] == 0);
    EXPECT(pass_rate == 100.0F * 63 / 64);
    EXPECT(Env->N_ref == VOXELS && libStatus.hasFinished == 1);
}

int main(void)
{
    char version[ZARNGI_VERSION_BUFFER_SIZE];
    EXPECT_OK(zarnGI_init());
    EXPECT_OK(zarnGI_version(version));
    EXPECT(strcmp(version, VERSION_STRING) == 0);
    check_floats();
    check_ints();
    check_switches();
    check_computation();
    EXPECT_OK(zarnGI_reset());
    EXPECT(Env->map_ref == NULL);
    return 0;
}
