/*
 * Compares two dose distributions from C.
 *
 *     cc compare_doses.c $(pkg-config --cflags --libs zarngi) -o compare_doses
 */
#include <libZarnGI.h>
#include <stdio.h>
#include <stdlib.h>

enum { NX = 40, NY = 40, NZ = 20, VOXELS = NX * NY * NZ };
enum { MIDDLE = NX / 2 + NX * (NY / 2 + NY * (NZ / 2)) };

/* A field of 50 mm with soft edges, its centre at (cx, 50, 50) mm. */
static float dose(float x, float y, float z, float cx)
{
    const float dx = (x - cx) / 25;
    const float dy = (y - 50) / 25;
    const float r2 = dx * dx + dy * dy;
    return 2.0F / (1 + r2 * r2 * r2 * r2) * (1 - z / 300);
}

static void fill(float* map, const float* hs, float cx)
{
    for (int i = 0; i < VOXELS; ++i) {
        const int ix = i % NX;
        const int iy = i / NX % NY;
        const int iz = i / (NX * NY);
        map[i] = dose(((float)ix + 0.5F) * hs[0], ((float)iy + 0.5F) * hs[1],
                      ((float)iz + 0.5F) * hs[2], cx);
    }
}

static void check(int status, const char* what)
{
    if (status != ZARNGI_OK) {
        fprintf(stderr, "%s: status %d\n", what, status);
        exit(EXIT_FAILURE);
    }
}

int main(void)
{
    static float reference[VOXELS];
    static float evaluation[VOXELS];
    static float gamma[VOXELS];
    int nn[3] = {NX, NY, NZ};
    float hs[3] = {2.5F, 2.5F, 5};
    float x0[3] = {0, 0, 0}; /* the outer corner of the first voxel, not its centre */
    float passRate = 0;

    fill(reference, hs, 50);
    fill(evaluation, hs, 52.5F);

    check(zarnGI_init(), "zarnGI_init");
    check(zarnGI_setRef(nn, hs, x0, reference), "reference");
    check(zarnGI_setEval(nn, hs, x0, evaluation), "evaluation");
    check(zarnGI_setDTA(2), "DTA");
    check(zarnGI_setDD(2), "DD");
    check(zarnGI_setDCO(10), "DCO");
    check(zarnGI_setNumThreads(2), "threads");
    check(zarnGI_startComputation(), "computation");
    check(zarnGI_getGammaIndexPassRate(&passRate), "pass rate");
    check(zarnGI_getGammaIndex3DMap(gamma), "gamma map");

    printf("pass rate 2%%/2mm: %.2f %%\n", (double)passRate);
    printf("gamma in the middle: %.3f\n", (double)gamma[MIDDLE]);
    return EXIT_SUCCESS;
}
