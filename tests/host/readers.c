/* The C interface of the readers, as a host in C11 uses it. Fails by its exit code. */
#include <errno.h>
#include <math.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "check.h"
#include "libZarnGIHost.h"

#define VOXELS 24

static const float values[VOXELS] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11,
                                     12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23.5F};

static struct zarnGIHost_Volume volume(void)
{
    const struct zarnGIHost_Volume made = {
        {4, 3, 2}, {2.5, 2, 3}, {-20, 15.5, 8}, ZARNGI_HOST_FLOAT, values};
    return made;
}

static void check_dose(const struct zarnGIHost_Dose* dose, const char* format)
{
    int size[3];
    double spacing[3];
    double origin[3];
    check(zarnGIHost_getGrid(dose, size, spacing, origin) == ZARNGI_HOST_OK, "a grid");
    check(size[0] == 4 && size[1] == 3 && size[2] == 2, "its size");
    check(spacing[0] == 2.5 && spacing[1] == 2 && spacing[2] == 3, "its spacing");
    check(origin[0] == -20 && origin[1] == 15.5 && origin[2] == 8, "its origin");
    check(memcmp(zarnGIHost_getDoses(dose), values, sizeof values) == 0, "its doses");
    check(strcmp(zarnGIHost_getText(dose, ZARNGI_HOST_FORMAT), format) == 0, format);
    check(strcmp(zarnGIHost_getText(dose, ZARNGI_HOST_PLAN_LABEL), "") == 0, "no plan label");
    check(zarnGIHost_getFact(dose, ZARNGI_HOST_TELLS_POSITION) == 1, "a position");
    check(zarnGIHost_getFact(dose, ZARNGI_HOST_IS_DICOM) == 0, "no DICOM");
    check(zarnGIHost_getFact(dose, ZARNGI_HOST_TELLS_UNIT) == 0, "no unit");
    check(zarnGIHost_getFact(dose, ZARNGI_HOST_IS_ERROR) == 0, "doses, no differences");
    check(strstr(zarnGIHost_getWarning(dose, 0), "tells no unit of dose") != NULL, "a warning");
    check(zarnGIHost_getWarning(dose, 1) == NULL, "one warning");
}

static void write_and_read(void)
{
    static const char* const formats[4][2] = {
        {"a.mha", "MetaImage"}, {"a.nrrd", "NRRD"}, {"a.nii", "NIfTI"}, {"a.NII.gz", "NIfTI"}};
    const struct zarnGIHost_Volume written = volume();
    for (int i = 0; i < 4; ++i) {
        struct zarnGIHost_Error error = {0, ""};
        struct zarnGIHost_Bytes bytes = {NULL, 0};
        struct zarnGIHost_Dose* dose = NULL;
        check(zarnGIHost_encodeVolume(formats[i][0], &written, &bytes, &error) == ZARNGI_HOST_OK,
              error.sentence);
        check(zarnGIHost_readDoseFromMemory(bytes.data, bytes.size, NULL, NULL, &dose, &error) ==
                  ZARNGI_HOST_OK,
              error.sentence);
        check_dose(dose, formats[i][1]);
        zarnGIHost_freeDose(dose);
        check(zarnGIHost_readDoseFromMemory(bytes.data, bytes.size - 1, NULL, NULL, &dose, NULL) ==
                      ZARNGI_HOST_REFUSED &&
                  dose == NULL,
              "cut by a byte");
        zarnGIHost_freeBytes(&bytes);
        check(bytes.data == NULL && bytes.size == 0, "freed");

        check(zarnGIHost_writeVolume(formats[i][0], &written, &error) == ZARNGI_HOST_OK,
              error.sentence);
        check(zarnGIHost_readDose(formats[i][0], &dose, &error) == ZARNGI_HOST_OK, error.sentence);
        check_dose(dose, formats[i][1]);
        check(strcmp(zarnGIHost_getText(dose, ZARNGI_HOST_DATA_PATH), formats[i][0]) == 0,
              "the path");
        zarnGIHost_freeDose(dose);
        remove(formats[i][0]);
    }
}

static const void* find(const char* name, void* context, size_t* size)
{
    *size = sizeof values;
    return strcmp(name, context) == 0 ? values : NULL;
}

static void read_what_a_header_names(void)
{
    static const char header[] = "ObjectType = Image\nNDims = 3\nDimSize = 4 3 2\n"
                                 "ElementSpacing = 2.5 2 3\nElementType = MET_FLOAT\n"
                                 "ElementByteOrderMSB = False\nElementDataFile = here.raw\n";
    char name[] = "here.raw";
    char other[] = "there.raw";
    struct zarnGIHost_Dose* dose = NULL;
    struct zarnGIHost_Error error = {0, ""};
    check(zarnGIHost_readDoseFromMemory(header, strlen(header), find, name, &dose, &error) ==
              ZARNGI_HOST_OK,
          error.sentence);
    check(zarnGIHost_getFact(dose, ZARNGI_HOST_TELLS_POSITION) == 0, "no position");
    check(zarnGIHost_getFact(dose, ZARNGI_HOST_TELLS_ORIENTATION) == 0, "no orientation");
    check(strstr(zarnGIHost_getWarning(dose, 0), "tells no position") != NULL, "a warning");
    check(strstr(zarnGIHost_getWarning(dose, 2), "eV/g per proton") != NULL, "another unit");
    check(zarnGIHost_getWarning(dose, 3) == NULL, "three warnings");
    zarnGIHost_freeDose(dose);
    check(zarnGIHost_readDoseFromMemory(header, strlen(header), find, other, &dose, &error) ==
              ZARNGI_HOST_REFUSED,
          "a data file that is not there");
    check(strstr(error.sentence, "missing") != NULL, error.sentence);
}

/* What a file calls its unit may be anything. */
static void quote_or_not(void)
{
    static const char header[] = "ObjectType = Image\nDistanceUnits = DOE\nNDims = 3\n"
                                 "DimSize = 1 1 1\nElementSpacing = 1 1 1\n"
                                 "ElementType = MET_FLOAT\nElementDataFile = LOCAL\n0000";
    static const char* const sentences[2] = {"its lengths are in \"...\", not in mm",
                                             "its lengths are in \"DOE\", not in mm"};
    check(zarnGIHost_setExcerpts(0) == 1, "excerpts at first");
    for (int are_shown = 0; are_shown < 2; ++are_shown) {
        struct zarnGIHost_Error error = {0, ""};
        struct zarnGIHost_Dose* dose = NULL;
        check(zarnGIHost_readDoseFromMemory(header, sizeof header - 1, NULL, NULL, &dose, &error) ==
                      ZARNGI_HOST_REFUSED &&
                  strcmp(error.sentence, sentences[are_shown]) == 0,
              error.sentence);
        check(zarnGIHost_setExcerpts(1) == are_shown, "what was set before");
    }
}

static void refuse_what_cannot_be(void)
{
    struct zarnGIHost_Error error = {0, ""};
    struct zarnGIHost_Dose* dose = NULL;
    struct zarnGIHost_Bytes bytes = {NULL, 0};
    check(zarnGIHost_readDose("absent.mha", &dose, &error) == ZARNGI_HOST_SYSTEM &&
              error.systemError == ENOENT,
          "a file that is not there");
    check(zarnGIHost_readDose(".", &dose, &error) == ZARNGI_HOST_SYSTEM &&
              error.systemError == EISDIR,
          "a folder");
    check(zarnGIHost_readDose(NULL, &dose, &error) == ZARNGI_HOST_BAD_ARGUMENT, "no path");
    check(zarnGIHost_readDose("a", NULL, NULL) == ZARNGI_HOST_BAD_ARGUMENT, "no place for it");
    check(zarnGIHost_getDoses(NULL) == NULL && zarnGIHost_getText(NULL, 0) == NULL, "no dose");
    zarnGIHost_freeDose(NULL);
    zarnGIHost_freeBytes(NULL);

    struct zarnGIHost_Volume wrong[5];
    for (int i = 0; i < 5; ++i) {
        wrong[i] = volume();
    }
    wrong[0].size[1] = 0;
    wrong[1].spacing[2] = NAN;
    wrong[2].type = 10;
    wrong[3].size[0] = wrong[3].size[1] = 1 << 16;
    wrong[4].values = NULL;
    for (int i = 0; i < 5; ++i) {
        check(zarnGIHost_encodeVolume("a.mha", &wrong[i], &bytes, NULL) ==
                      ZARNGI_HOST_BAD_ARGUMENT &&
                  bytes.data == NULL,
              "a volume that cannot be");
    }
    const struct zarnGIHost_Volume fine = volume();
    check(zarnGIHost_encodeVolume("a.dcm", &fine, &bytes, &error) == ZARNGI_HOST_BAD_ARGUMENT,
          "an unknown ending");
    check(zarnGIHost_writeVolume("absent/a.mha", &fine, &error) == ZARNGI_HOST_SYSTEM &&
              error.systemError == ENOENT && strstr(error.sentence, "cannot be written") != NULL,
          error.sentence);
}

static void read_planes_and_points(void)
{
    static const char table[] = "y\\x [mm]\t-5\t0\t5\n10\t1\t\t3\n0\t4\t5\t6\n";
    const struct zarnGIHost_TableUnits centigray = {0.01, 0};
    struct zarnGIHost_Dose* dose = NULL;
    struct zarnGIHost_Error error;
    struct zarnGIHost_Places places = {0};
    check(zarnGIHost_readAnyDoseFromMemory(table, sizeof table - 1, NULL, NULL, NULL, &dose,
                                           &error) == ZARNGI_HOST_REFUSED &&
              dose == NULL && strstr(error.sentence, "tells no unit of dose") != NULL,
          "a table without a unit");
    check(zarnGIHost_readAnyDoseFromMemory(table, sizeof table - 1, NULL, NULL, &centigray, &dose,
                                           &error) == ZARNGI_HOST_OK &&
              zarnGIHost_getPlaces(dose, &places) == ZARNGI_HOST_OK,
          "a table in the unit that is given");
    check(places.kind == ZARNGI_HOST_PLANE && places.isInSpace == 0 && places.normal == 2 &&
              places.gaps == 1 && places.isMeasured[4] == 0 && places.isMeasured[5] == 1 &&
              places.points == NULL,
          "a plane with a gap");
    check(zarnGIHost_getDoses(dose)[0] == 0.04F, "rising rows, in Gy");
    zarnGIHost_freeDose(dose);
    check(zarnGIHost_readDoseFromMemory(table, sizeof table - 1, NULL, NULL, &dose, &error) ==
                  ZARNGI_HOST_REFUSED &&
              dose == NULL,
          "the function for volumes reads no plane");
    check(zarnGIHost_getPlaces(NULL, &places) == ZARNGI_HOST_BAD_ARGUMENT, "places of nothing");
}

static void read_pixels(void)
{
    static const char table[] = "1 2 5 4 3\n6 7 8 9 1\n";
    const struct zarnGIHost_Told told = {{0.01, 0}, 2};
    struct zarnGIHost_Dose* dose = NULL;
    struct zarnGIHost_Error error;
    double spacing[3];
    double origin[3];
    int size[3];
    check(zarnGIHost_readToldDoseFromMemory(table, sizeof table - 1, NULL, NULL, NULL, &dose,
                                            &error) == ZARNGI_HOST_REFUSED &&
              dose == NULL && strstr(error.sentence, "pixel size") != NULL,
          "pixels of no size");
    check(zarnGIHost_readToldDoseFromMemory(table, sizeof table - 1, NULL, NULL, &told, &dose,
                                            &error) == ZARNGI_HOST_OK &&
              zarnGIHost_getGrid(dose, size, spacing, origin) == ZARNGI_HOST_OK,
          "pixels of the size that is told");
    check(spacing[0] == 2 && origin[0] == -4 && origin[1] == -1 && size[1] == 2 &&
              zarnGIHost_getDoses(dose)[0] == 0.06F &&
              zarnGIHost_getFact(dose, ZARNGI_HOST_TELLS_POSITION) == 0,
          "the first row at the upper edge");
    zarnGIHost_freeDose(dose);
}

static void place_planes(void)
{
    static const float doses[6] = {1, 2, 3, 4, 5, 6};
    static const double at[3] = {10, 20, 30};
    struct zarnGIHost_Plane plane = {{3, 2}, {5, 4}, {-5, 0}, doses, NULL, NULL};
    struct zarnGIHost_Dose* dose = NULL;
    struct zarnGIHost_Error error;
    struct zarnGIHost_Places places = {0};
    int size[3] = {0};
    double spacing[3];
    double origin[3] = {0};
    check(zarnGIHost_placePlane(&plane, "sagittal", at, &dose, &error) == ZARNGI_HOST_OK &&
              zarnGIHost_getGrid(dose, size, spacing, origin) == ZARNGI_HOST_OK &&
              zarnGIHost_getPlaces(dose, &places) == ZARNGI_HOST_OK,
          "a plane along the axes");
    check(size[0] == 1 && size[1] == 3 && size[2] == 2 && origin[0] == 10 && origin[1] == 15 &&
              origin[2] == 30 && places.kind == ZARNGI_HOST_PLANE && places.isInSpace == 1 &&
              places.normal == 0,
          "y and z of the patient");
    zarnGIHost_freeDose(dose);
    check(zarnGIHost_placePlane(&plane, "gantry:30", at, &dose, &error) == ZARNGI_HOST_OK &&
              zarnGIHost_getPlaces(dose, &places) == ZARNGI_HOST_OK &&
              places.kind == ZARNGI_HOST_POINTS && places.normal == -1 &&
              fabs(places.points[1] - 17.5) < 1e-6 &&
              fabs(places.points[0] - (10 - 5 * 0.8660254)) < 1e-6 && places.points[5] == 30,
          "a plane across them");
    zarnGIHost_freeDose(dose);
    check(zarnGIHost_placePlane(&plane, "oblique", at, &dose, &error) == ZARNGI_HOST_REFUSED &&
              dose == NULL,
          "an unknown plane");
    plane.spacing[0] = 0;
    check(zarnGIHost_placePlane(&plane, "axial", at, &dose, NULL) == ZARNGI_HOST_BAD_ARGUMENT,
          "a plane that cannot be");
}

static void* read_often(void* path)
{
    for (int i = 0; i < 50; ++i) {
        struct zarnGIHost_Dose* dose = NULL;
        if (zarnGIHost_readDose(path, &dose, NULL) != ZARNGI_HOST_OK ||
            memcmp(zarnGIHost_getDoses(dose), values, sizeof values) != 0) {
            return path;
        }
        zarnGIHost_freeDose(dose);
    }
    return NULL;
}

static void read_a_simulation(void)
{
    static const char file[] = "2 1 1\n0 1 2\n0 1\n0 1\n0 3\n1 .25\n";
    struct zarnGIHost_Dose* dose = NULL;
    check(zarnGIHost_readDoseFromMemory(file, sizeof file - 1, NULL, NULL, &dose, NULL) ==
              ZARNGI_HOST_OK,
          "a simulated dose");
    check(zarnGIHost_getUnit(dose) == ZARNGI_HOST_GRAY_PER_HISTORY, "its unit");
    const float* const uncertainties = zarnGIHost_getUncertainties(dose);
    check(uncertainties != NULL && isnan(uncertainties[0]) && uncertainties[1] == 0.75F,
          "its uncertainties");
    zarnGIHost_freeDose(dose);
    check(zarnGIHost_getUnit(NULL) == ZARNGI_HOST_BAD_ARGUMENT &&
              zarnGIHost_getUncertainties(NULL) == NULL,
          "nothing of nothing");
}

static void read_by_several_threads(void)
{
    const struct zarnGIHost_Volume written = volume();
    char path[] = "threads.nrrd";
    pthread_t threads[4];
    zarnGIHost_writeVolume(path, &written, NULL);
    for (int i = 0; i < 4; ++i) {
        pthread_create(&threads[i], NULL, read_often, path);
    }
    for (int i = 0; i < 4; ++i) {
        void* failed = NULL;
        pthread_join(threads[i], &failed);
        check(failed == NULL, "reading by several threads");
    }
    remove(path);
}

int main(void)
{
    char folder[] = "/tmp/zarngi-host-XXXXXX";
    if (mkdtemp(folder) == NULL || chdir(folder) != 0) {
        return 1;
    }
    write_and_read();
    read_what_a_header_names();
    refuse_what_cannot_be();
    quote_or_not();
    read_planes_and_points();
    read_pixels();
    place_planes();
    read_a_simulation();
    read_by_several_threads();
    check(rmdir(folder) == 0, "nothing left in the folder");
    return failures == 0 ? 0 : 1;
}
