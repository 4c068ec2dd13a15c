/* Conversions through the C interface, as a host in C11 makes them. Fails by its exit code. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "check.h"
#include "libZarnGIHost.h"

#define VOXELS 24

static void write_dose(const char* path)
{
    float doses[VOXELS];
    for (int i = 0; i < VOXELS; ++i) {
        doses[i] = (float)i + 1;
    }
    const struct zarnGIHost_Volume volume = {
        {4, 3, 2}, {2, 2, 2.5}, {-3, 10, 7}, ZARNGI_HOST_FLOAT, doses};
    check(zarnGIHost_writeVolume(path, &volume, NULL) == ZARNGI_HOST_OK, "a dose is written");
}

static void convert(void)
{
    struct zarnGIHost_Bytes warnings = {NULL, 0};
    struct zarnGIHost_Refusal refusal;
    struct zarnGIHost_Conversion asked = {0};
    asked.input = "dose.mha";
    asked.output = "made.dcm";
    asked.scale = "1/4";
    check(zarnGIHost_convert(&asked, &warnings, &refusal) == ZARNGI_HOST_OK &&
              refusal.kind == ZARNGI_HOST_REFUSAL_NONE,
          "a dose is converted");
    check(warnings.size > 0 && warnings.data[0] == '[' &&
              memmem(warnings.data, warnings.size, "\"dose.mha: ", 11) != NULL,
          "what the file leaves open is told");
    zarnGIHost_freeBytes(&warnings);
    struct zarnGIHost_Dose* made = NULL;
    check(zarnGIHost_readDose("made.dcm", &made, NULL) == ZARNGI_HOST_OK, "it is read back");
    const float* const doses = zarnGIHost_getDoses(made);
    check(doses != NULL && doses[0] > 0.2499F && doses[0] < 0.2501F && doses[VOXELS - 1] == 6,
          "its doses are a quarter of what they were");
    zarnGIHost_freeDose(made);
    check(zarnGIHost_convert(&asked, NULL, NULL) == ZARNGI_HOST_OK, "nobody needs to listen");
    check(unlink("made.dcm") == 0, "a file was made");
}

/* One sentence in the caller's words, and no file. */
static void refuse(void)
{
    const struct {
        struct zarnGIHost_Conversion asked;
        int status;
        int kind;
        const char* member;
        const char* file;
        const char* sentence;
    } rows[] = {
        {{.input = "dose.mha",
          .output = "made.nrrd",
          .like = "a",
          .words = "{\"like\": \"Gleich\"}"},
         ZARNGI_HOST_REFUSED,
         ZARNGI_HOST_REFUSAL_REQUEST,
         "like",
         "",
         "Gleich is for RT Doses"},
        {{.input = "dose.mha", .output = "made.nrrd", .scale = "x", .words = "no table"},
         ZARNGI_HOST_REFUSED,
         ZARNGI_HOST_REFUSAL_REQUEST,
         "scale",
         "",
         "scale: \"x\" is not"},
        {{.input = "dose.mha", .output = "dose.mha"},
         ZARNGI_HOST_REFUSED,
         ZARNGI_HOST_REFUSAL_REQUEST,
         "",
         "",
         "would overwrite"},
        {{.input = "gone.mha", .output = "made.nrrd"},
         ZARNGI_HOST_SYSTEM,
         ZARNGI_HOST_REFUSAL_SYSTEM,
         "",
         "gone.mha",
         ""},
        {{.input = "dose.mha", .output = "made.dcm", .like = "dose.mha"},
         ZARNGI_HOST_REFUSED,
         ZARNGI_HOST_REFUSAL_FOREIGN,
         "",
         "dose.mha",
         "is no DICOM file"},
        {{.input = "dose.mha"},
         ZARNGI_HOST_BAD_ARGUMENT,
         ZARNGI_HOST_REFUSAL_ARGUMENT,
         "",
         "",
         "null"},
    };
    for (size_t i = 0; i < sizeof rows / sizeof *rows; ++i) {
        struct zarnGIHost_Bytes warnings = {NULL, 0};
        struct zarnGIHost_Refusal refusal;
        const int status = zarnGIHost_convert(&rows[i].asked, &warnings, &refusal);
        check(status == rows[i].status && refusal.kind == rows[i].kind && warnings.data == NULL &&
                  strcmp(refusal.member, rows[i].member) == 0 &&
                  strcmp(refusal.file, rows[i].file) == 0 &&
                  strstr(refusal.sentence, rows[i].sentence) != NULL,
              refusal.sentence);
    }
    check(zarnGIHost_convert(NULL, NULL, NULL) == ZARNGI_HOST_BAD_ARGUMENT, "null is refused");
}

int main(void)
{
    char folder[] = "/tmp/zarngi-host-XXXXXX";
    if (mkdtemp(folder) == NULL || chdir(folder) != 0) {
        return 1;
    }
    write_dose("dose.mha");
    convert();
    refuse();
    check(unlink("dose.mha") == 0 && rmdir(folder) == 0, "nothing left in the folder");
    return failures == 0 ? 0 : 1;
}
