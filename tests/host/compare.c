/* Comparisons through the C interface, as a host in C11 makes them. Fails by its exit code. */
#include <errno.h>
#include <math.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "check.h"
#include "libZarnGIHost.h"

#define SIDE 12
#define VOXELS (SIDE * SIDE * SIDE)

static float reference[VOXELS];
static float evaluation[VOXELS];
static unsigned char mask[VOXELS];

static void fill(void)
{
    for (int i = 0; i < VOXELS; ++i) {
        const double x = i % SIDE - 5.5;
        const double y = i / SIDE % SIDE - 5.5;
        const double z = i / SIDE / SIDE - 5.5;
        reference[i] = (float)(40 * exp(-(x * x + y * y + z * z) / 20));
        evaluation[i] = (float)(41 * exp(-((x - 0.6) * (x - 0.6) + y * y + z * z) / 20));
        mask[i] = x < 0;
    }
}

static struct zarnGIHost_Volume volume(const void* values, int type)
{
    const struct zarnGIHost_Volume made = {
        {SIDE, SIDE, SIDE}, {2, 2, 2.5}, {-11, -11, -12}, type, values};
    return made;
}

/* The default request with some of its texts replaced; the caller frees it. */
static char* request(const char* const (*changes)[2])
{
    struct zarnGIHost_Bytes bytes = {NULL, 0};
    check(zarnGIHost_defaultRequest(&bytes, NULL) == ZARNGI_HOST_OK, "a default request");
    char* text = calloc(1, 1 << 16);
    memcpy(text, bytes.data, bytes.size);
    zarnGIHost_freeBytes(&bytes);
    for (; (*changes)[0] != NULL; ++changes) {
        char* const place = strstr(text, (*changes)[0]);
        check(place != NULL, (*changes)[0]);
        if (place != NULL) {
            const size_t length = strlen((*changes)[0]);
            const size_t added = strlen((*changes)[1]);
            memmove(place + added, place + length, strlen(place + length) + 1);
            memcpy(place, (*changes)[1], added);
        }
    }
    return text;
}

#define IN_MEMORY                                                                                  \
    {"\"file\": null", "\"file\": \"r\""},                                                         \
    {                                                                                              \
        "\"file\": null", "\"file\": \"e\""                                                        \
    }

static const char* const two_criteria[][2] = {
    IN_MEMORY, {"\"3%/2mm\"", "\"3%/2mm\", \"2%L/1mm\""}, {NULL, NULL}};

static struct zarnGIHost_NamedDose doses[2];

static struct zarnGIHost_Source in_memory(void)
{
    doses[0] = (struct zarnGIHost_NamedDose){.name = "r"};
    doses[0].volume = volume(reference, ZARNGI_HOST_FLOAT);
    doses[1] = (struct zarnGIHost_NamedDose){.name = "e"};
    doses[1].volume = volume(evaluation, ZARNGI_HOST_FLOAT);
    return (struct zarnGIHost_Source){.doses = doses, .doseCount = 2, .threads = 2};
}

static struct zarnGIHost_Comparison* compared(const char* text,
                                              const struct zarnGIHost_Source* source)
{
    struct zarnGIHost_Comparison* comparison = NULL;
    struct zarnGIHost_Refusal refusal;
    check(zarnGIHost_compare(text, strlen(text), source, NULL, &comparison, &refusal) ==
                  ZARNGI_HOST_OK &&
              refusal.kind == ZARNGI_HOST_REFUSAL_NONE,
          refusal.sentence);
    return comparison;
}

static int have_equal_maps(const struct zarnGIHost_Comparison* one,
                           const struct zarnGIHost_Comparison* other, size_t criterion)
{
    struct zarnGIHost_Volume maps[4];
    return zarnGIHost_getGamma(one, criterion, &maps[0]) == ZARNGI_HOST_OK &&
           zarnGIHost_getGamma(other, criterion, &maps[1]) == ZARNGI_HOST_OK &&
           zarnGIHost_getPassed(one, criterion, &maps[2]) == ZARNGI_HOST_OK &&
           zarnGIHost_getPassed(other, criterion, &maps[3]) == ZARNGI_HOST_OK &&
           maps[0].type == ZARNGI_HOST_FLOAT && maps[2].type == ZARNGI_HOST_UINT8 &&
           memcmp(maps[0].size, maps[3].size, sizeof maps[0].size) == 0 &&
           memcmp(maps[0].values, maps[1].values, VOXELS * sizeof(float)) == 0 &&
           memcmp(maps[2].values, maps[3].values, VOXELS) == 0;
}

struct contents {
    struct zarnGIHost_Bytes files[2];
};

static const void* find(const char* name, void* context, size_t* size)
{
    const struct contents* const contents = context;
    const struct zarnGIHost_Bytes* const file = &contents->files[name[0] == 'r' ? 0 : 1];
    *size = file->size;
    return strlen(name) == 1 ? file->data : NULL;
}

/* Arrays, contents of files, and files give the same bits. */
static void compare_from_everywhere(void)
{
    char* const text = request(two_criteria);
    struct zarnGIHost_Source source = in_memory();
    struct zarnGIHost_Comparison* const arrays = compared(text, &source);
    struct contents contents;
    check(zarnGIHost_encodeVolume("r.mha", &doses[0].volume, &contents.files[0], NULL) ==
                  ZARNGI_HOST_OK &&
              zarnGIHost_encodeVolume("e.nrrd", &doses[1].volume, &contents.files[1], NULL) ==
                  ZARNGI_HOST_OK,
          "files in memory");
    const struct zarnGIHost_Source found = {.find = find, .context = &contents};
    struct zarnGIHost_Comparison* const memory = compared(text, &found);
    const char* const names[2] = {"r", "e"};
    for (int i = 0; i < 2; ++i) {
        FILE* const file = fopen(names[i], "wb");
        fwrite(contents.files[i].data, 1, contents.files[i].size, file);
        fclose(file);
    }
    struct zarnGIHost_Comparison* const files = compared(text, NULL);
    for (size_t i = 0; i < 2; ++i) {
        check(have_equal_maps(arrays, memory, i), "arrays and contents");
        check(have_equal_maps(arrays, files, i), "arrays and files");
        remove(names[i]);
        zarnGIHost_freeBytes(&contents.files[i]);
    }
    struct zarnGIHost_Volume map;
    check(zarnGIHost_getGamma(arrays, 2, &map) == ZARNGI_HOST_BAD_ARGUMENT, "two criteria");
    zarnGIHost_freeComparison(arrays);
    zarnGIHost_freeComparison(memory);
    zarnGIHost_freeComparison(files);
    free(text);
}

static int holds(struct zarnGIHost_Bytes* bytes, const char* piece)
{
    char* const text = calloc(1, bytes->size + 1);
    memcpy(text, bytes->data, bytes->size);
    const int is_there = strstr(text, piece) != NULL;
    free(text);
    zarnGIHost_freeBytes(bytes);
    return is_there;
}

static void tell_in_documents(void)
{
    static const char* const changes[][2] = {
        IN_MEMORY, {"\"files\": []", "\"files\": [\"s\"]"}, {NULL, NULL}};
    static const char page_template[] = "<html><!--ZARNGI-DATA--></html>";
    char* const text = request(changes);
    const struct zarnGIHost_Volume voxels = volume(mask, ZARNGI_HOST_UINT8);
    struct zarnGIHost_NamedStructures structures = {"s", NULL};
    struct zarnGIHost_Structures* made = NULL;
    check(zarnGIHost_makeStructure("Left", &voxels, &made, NULL) == ZARNGI_HOST_OK, "a structure");
    structures.structures = made;
    struct zarnGIHost_Source source = in_memory();
    source.structures = &structures;
    source.structureCount = 1;
    struct zarnGIHost_Comparison* const comparison = compared(text, &source);
    const int were_shown = zarnGIHost_setExcerpts(0);
    struct zarnGIHost_Comparison* const discreet = compared(text, &source);
    zarnGIHost_setExcerpts(were_shown);
    zarnGIHost_freeStructures(made);
    struct zarnGIHost_Bytes bytes = {NULL, 0};
    struct zarnGIHost_Error error;
    check(zarnGIHost_getRecord(comparison, NULL, &bytes, &error) == ZARNGI_HOST_OK &&
              holds(&bytes, "\"Left\""),
          "a record with structures");
    check(zarnGIHost_getCsv(comparison, NULL, &bytes, &error) == ZARNGI_HOST_OK &&
              holds(&bytes, "3%/2mm"),
          "a table");
    check(zarnGIHost_getPage(comparison, page_template, strlen(page_template), NULL, &bytes,
                             &error) == ZARNGI_HOST_OK &&
              holds(&bytes, "zarngi-data"),
          "a page");
    check(zarnGIHost_getPage(comparison, "<html>", 6, NULL, &bytes, &error) ==
              ZARNGI_HOST_BAD_ARGUMENT,
          "a page without a place");
    check(zarnGIHost_getRecord(comparison, "pair-7", &bytes, &error) == ZARNGI_HOST_REFUSED,
          "an anonymous record of files that were read to be named");
    zarnGIHost_freeComparison(comparison);
    check(zarnGIHost_getRecord(discreet, "pair-7", &bytes, &error) == ZARNGI_HOST_OK &&
              holds(&bytes, "pair-7 reference"),
          "an anonymous record");
    check(zarnGIHost_getCsv(discreet, "pair-7", &bytes, &error) == ZARNGI_HOST_OK &&
              holds(&bytes, "pair-7 evaluation"),
          "an anonymous table");
    zarnGIHost_freeComparison(discreet);
    free(text);
}

struct expected {
    const char* changes[4][2];
    int status;
    int kind;
    const char* member;
    const char* file;
};

static void expect_refusal(const struct expected* expected, const struct zarnGIHost_Source* source)
{
    char* const text = request(expected->changes);
    struct zarnGIHost_Comparison* comparison = NULL;
    struct zarnGIHost_Refusal refusal;
    check(zarnGIHost_compare(text, strlen(text), source, NULL, &comparison, &refusal) ==
                  expected->status &&
              comparison == NULL && refusal.kind == expected->kind,
          refusal.sentence);
    check(strcmp(refusal.member, expected->member) == 0, refusal.member);
    check(strcmp(refusal.file, expected->file) == 0, refusal.file);
    check((refusal.systemError == ENOENT) == (expected->kind == ZARNGI_HOST_REFUSAL_SYSTEM),
          "errno");
    free(text);
}

static void refuse(void)
{
    static const struct expected all[] = {
        {{IN_MEMORY, {"\"3%/2mm\"", "\"3%/2mm\", \"2%/0mm\""}, {NULL, NULL}},
         ZARNGI_HOST_REFUSED,
         ZARNGI_HOST_REFUSAL_REQUEST,
         "criteria[1]",
         ""},
        {{IN_MEMORY, {"\"rotate\": false,", ""}, {NULL, NULL}},
         ZARNGI_HOST_REFUSED,
         ZARNGI_HOST_REFUSAL_REQUEST,
         "rotate",
         ""},
        {{IN_MEMORY, {"\"within\": null", "\"within\": \"PTV\""}, {NULL, NULL}},
         ZARNGI_HOST_REFUSED,
         ZARNGI_HOST_REFUSAL_REQUEST,
         "structures.within",
         ""},
        {{IN_MEMORY, {"\"cutOff\": 10.0", "\"cutOff\": 200.0"}, {NULL, NULL}},
         ZARNGI_HOST_REFUSED,
         ZARNGI_HOST_REFUSAL_PAIR,
         "",
         ""},
        {{{"\"file\": null", "\"file\": \"absent\""}, {"\"file\": null", "\"file\": \"e\""}},
         ZARNGI_HOST_SYSTEM,
         ZARNGI_HOST_REFUSAL_SYSTEM,
         "",
         "absent"}};
    const struct zarnGIHost_Source source = in_memory();
    for (size_t i = 0; i < sizeof all / sizeof *all; ++i) {
        expect_refusal(&all[i], &source);
    }
}

static const void* contents_of(const char* name, void* context, size_t* size)
{
    static const char cut[] = "NRRD0004\ntype: float\n";
    static const char too_new[] = "NRRD0009\n\n";
    static const char photograph[] = "\xFF\xD8\xFF\xE0";
    (void)context;
    const int is_cut = strcmp(name, "cut") == 0;
    const int is_too_new = strcmp(name, "too new") == 0;
    *size = is_cut ? sizeof cut - 1 : is_too_new ? sizeof too_new - 1 : sizeof photograph - 1;
    return is_cut ? cut : is_too_new ? too_new : photograph;
}

static void refuse_files(void)
{
    static const struct expected all[] = {
        {{{"\"file\": null", "\"file\": \"cut\""}, {"\"file\": null", "\"file\": \"e\""}},
         ZARNGI_HOST_REFUSED,
         ZARNGI_HOST_REFUSAL_FILE,
         "",
         "cut"},
        {{{"\"file\": null", "\"file\": \"too new\""}, {"\"file\": null", "\"file\": \"e\""}},
         ZARNGI_HOST_REFUSED,
         ZARNGI_HOST_REFUSAL_UNSUPPORTED,
         "",
         "too new"},
        {{{"\"file\": null", "\"file\": \"photo\""}, {"\"file\": null", "\"file\": \"e\""}},
         ZARNGI_HOST_REFUSED,
         ZARNGI_HOST_REFUSAL_FOREIGN,
         "",
         "photo"}};
    struct zarnGIHost_Source source = in_memory();
    source.find = contents_of;
    for (size_t i = 0; i < sizeof all / sizeof *all; ++i) {
        expect_refusal(&all[i], &source);
    }
}

static void refuse_arguments(void)
{
    struct zarnGIHost_Source sources[4];
    struct zarnGIHost_NamedDose wrong[4];
    const struct zarnGIHost_Source fine = in_memory();
    struct zarnGIHost_Comparison* comparison = NULL;
    for (int i = 0; i < 4; ++i) {
        sources[i] = fine;
        wrong[i] = doses[0];
        sources[i].doses = &wrong[i];
        sources[i].doseCount = 1;
    }
    wrong[0].name = NULL;
    wrong[1].volume.spacing[1] = 0;
    wrong[2].places.kind = ZARNGI_HOST_PLANE;
    sources[3].threads = -1;
    char* const text = request(two_criteria);
    for (int i = 0; i < 4; ++i) {
        struct zarnGIHost_Refusal refusal;
        check(zarnGIHost_compare(text, strlen(text), &sources[i], NULL, &comparison, &refusal) ==
                      ZARNGI_HOST_BAD_ARGUMENT &&
                  refusal.kind == ZARNGI_HOST_REFUSAL_ARGUMENT && comparison == NULL,
              "a source that cannot be");
    }
    check(zarnGIHost_compare(NULL, 0, NULL, NULL, &comparison, NULL) == ZARNGI_HOST_BAD_ARGUMENT &&
              zarnGIHost_compare(text, 1, NULL, NULL, NULL, NULL) == ZARNGI_HOST_BAD_ARGUMENT,
          "null");
    zarnGIHost_freeComparison(NULL);
    free(text);
}

struct told {
    int calls;
    int prepared_ends;
    int progress_ends;
    double done;
    int nested; /* what a comparison within a watcher returns */
};

static int prepared(const struct zarnGIHost_Comparison* comparison, void* context)
{
    struct told* const told = context;
    struct zarnGIHost_Bytes bytes = {NULL, 0};
    struct zarnGIHost_Comparison* other = NULL;
    check(zarnGIHost_getRecord(comparison, NULL, &bytes, NULL) == ZARNGI_HOST_OK &&
              holds(&bytes, "\"criteria\": []"),
          "a record before the search");
    told->nested = zarnGIHost_compare("{}", 2, NULL, NULL, &other, NULL);
    ++told->calls;
    return told->prepared_ends;
}

static int progress(const struct zarnGIHost_Progress* now, void* context)
{
    struct told* const told = context;
    check(now->done >= told->done && now->done <= 1 && now->share >= 0 && now->share <= 1,
          "what is done");
    told->done = now->done;
    ++told->calls;
    return told->progress_ends;
}

static void follow(void)
{
    char* const text = request(two_criteria);
    const struct zarnGIHost_Source source = in_memory();
    for (int ends = 0; ends < 3; ++ends) {
        struct told told = {0, ends == 1, ends == 2, 0, 0};
        const struct zarnGIHost_Watcher watcher = {prepared, progress, &told};
        struct zarnGIHost_Comparison* comparison = NULL;
        struct zarnGIHost_Refusal refusal;
        const int status =
            zarnGIHost_compare(text, strlen(text), &source, &watcher, &comparison, &refusal);
        check(told.nested == ZARNGI_HOST_BAD_ARGUMENT, "a comparison within another one");
        if (ends == 0) {
            check(status == ZARNGI_HOST_OK && told.calls > 1, "followed to its end");
        } else {
            check(status == ZARNGI_HOST_REFUSED && comparison == NULL && told.calls == ends &&
                      refusal.kind == ZARNGI_HOST_REFUSAL_INTERRUPTED,
                  "ended by its watcher");
        }
        zarnGIHost_freeComparison(comparison);
    }
    free(text);
}

static struct zarnGIHost_Comparison* compared_with(const char* text,
                                                   const struct zarnGIHost_Options* options)
{
    const struct zarnGIHost_Source source = in_memory();
    struct zarnGIHost_Comparison* comparison = NULL;
    struct zarnGIHost_Refusal refusal;
    check(zarnGIHost_compareWith(text, strlen(text), &source, NULL, options, &comparison,
                                 &refusal) == ZARNGI_HOST_OK,
          refusal.sentence);
    return comparison;
}

static void lend_and_take(void)
{
    char* const text = request(two_criteria);
    const struct zarnGIHost_Options lent = {.areLent = 1};
    struct zarnGIHost_Comparison* const copied = compared_with(text, NULL);
    struct zarnGIHost_Comparison* const looked_at = compared_with(text, &lent);
    check(have_equal_maps(copied, looked_at, 0) && have_equal_maps(copied, looked_at, 1), "lent");
    struct zarnGIHost_Volume described;
    struct zarnGIHost_Volume kept;
    struct zarnGIHost_Map* map = NULL;
    check(zarnGIHost_getGamma(copied, 1, &kept) == ZARNGI_HOST_OK &&
              zarnGIHost_takeGamma(looked_at, 1, &map, &described) == ZARNGI_HOST_OK,
          "a map to take");
    check(zarnGIHost_getGamma(looked_at, 1, &described) == ZARNGI_HOST_BAD_ARGUMENT &&
              zarnGIHost_takeGamma(looked_at, 1, &map, &kept) == ZARNGI_HOST_BAD_ARGUMENT,
          "a map that was taken");
    struct zarnGIHost_Bytes page = {NULL, 0};
    static const char page_template[] = "<html><!--ZARNGI-DATA--></html>";
    check(zarnGIHost_getPage(looked_at, page_template, strlen(page_template), NULL, &page, NULL) ==
              ZARNGI_HOST_BAD_ARGUMENT,
          "a page without a map");
    zarnGIHost_freeComparison(looked_at);
    check(memcmp(described.values, kept.values, VOXELS * sizeof(float)) == 0, "it lives on");
    zarnGIHost_freeMap(map);
    zarnGIHost_freeMap(NULL);
    zarnGIHost_freeComparison(copied);
    free(text);
}

/* A cut-off above all doses, and a gamma that no search is bounded by. */
static void compare_without_bounds(void)
{
    static const char* const high[][2] = {
        IN_MEMORY, {"\"cutOff\": 10.0", "\"cutOff\": 200.0"}, {NULL, NULL}};
    static const char* const strict[][2] = {
        IN_MEMORY, {"\"3%/2mm\"", "\"0.1%/0.2mm\""}, {NULL, NULL}};
    const struct zarnGIHost_Options empty = {.mayTestNothing = 1};
    const struct zarnGIHost_Options unbounded = {.isUnbounded = 1};
    char* text = request(high);
    struct zarnGIHost_Comparison* comparison = compared_with(text, &empty);
    struct zarnGIHost_Volume map;
    check(zarnGIHost_getGamma(comparison, 0, &map) == ZARNGI_HOST_OK &&
              ((const float*)map.values)[0] == -1,
          "nothing tested");
    zarnGIHost_freeComparison(comparison);
    free(text);
    text = request(strict);
    comparison = compared_with(text, &unbounded);
    float largest = 0;
    check(zarnGIHost_getGamma(comparison, 0, &map) == ZARNGI_HOST_OK, "a map");
    for (int i = 0; i < VOXELS; ++i) {
        largest = fmaxf(largest, ((const float*)map.values)[i]);
    }
    check(largest > 4, "gamma beyond the usual bound");
    zarnGIHost_freeComparison(comparison);
    free(text);
}

static void explain_alone(void)
{
    static const char* const changes[][2] = {
        IN_MEMORY,
        {"\"explain\": null", "\"explain\": {\"range\": null, \"structure\": null}"},
        {NULL, NULL}};
    const struct zarnGIHost_Options options = {
        .hasOnlyFindings = 1, .explained = mask, .explainedName = "the left half"};
    char* const text = request(changes);
    struct zarnGIHost_Comparison* const comparison = compared_with(text, &options);
    struct zarnGIHost_Volume map;
    struct zarnGIHost_Bytes bytes = {NULL, 0};
    check(zarnGIHost_getGamma(comparison, 0, &map) == ZARNGI_HOST_BAD_ARGUMENT, "no search");
    check(zarnGIHost_getExplainedGamma(comparison, &map) == ZARNGI_HOST_OK, "a map afterwards");
    for (int i = 0; i < VOXELS; ++i) {
        check(mask[i] || ((const float*)map.values)[i] == -1, "voxels of the part alone");
    }
    check(zarnGIHost_getRecord(comparison, NULL, &bytes, NULL) == ZARNGI_HOST_OK &&
              holds(&bytes, "\"structure\": \"the left half\""),
          "a record of an explanation");
    zarnGIHost_freeComparison(comparison);
    free(text);
}

/* Sentences have the caller's words for members; what refuses a pair tells what mends it. */
static void refuse_in_words(void)
{
    static const char* const wrong[][2] = {
        IN_MEMORY, {"\"step\": null", "\"step\": \"x\""}, {NULL, NULL}};
    const struct zarnGIHost_Options options = {.words = "{\"step\": \"the lattice\"}"};
    struct zarnGIHost_Comparison* comparison = NULL;
    struct zarnGIHost_Refusal refusal;
    struct zarnGIHost_Source source = in_memory();
    char* text = request(wrong);
    check(zarnGIHost_compareWith(text, strlen(text), &source, NULL, &options, &comparison,
                                 &refusal) == ZARNGI_HOST_REFUSED &&
              strncmp(refusal.sentence, "the lattice: ", 13) == 0 &&
              strcmp(refusal.member, "step") == 0,
          refusal.sentence);
    free(text);
    text = request(two_criteria);
    doses[1].unit = ZARNGI_HOST_GRAY_PER_HISTORY;
    check(zarnGIHost_compare(text, strlen(text), &source, NULL, &comparison, &refusal) ==
                  ZARNGI_HOST_REFUSED &&
              refusal.kind == ZARNGI_HOST_REFUSAL_PAIR &&
              strcmp(refusal.member, "normalisation") == 0,
          refusal.sentence);
    free(text);
}

static void* compare_often(void* text)
{
    struct zarnGIHost_Comparison* first = NULL;
    const struct zarnGIHost_Source source = {.doses = doses, .doseCount = 2, .threads = 1};
    for (int i = 0; i < 5; ++i) {
        struct zarnGIHost_Comparison* const next = compared(text, &source);
        const int is_same = first == NULL || have_equal_maps(first, next, 1);
        zarnGIHost_freeComparison(first);
        first = next;
        if (!is_same) {
            zarnGIHost_freeComparison(first);
            return text;
        }
    }
    zarnGIHost_freeComparison(first);
    return NULL;
}

static void compare_by_several_threads(void)
{
    static const char* const other_criteria[][2] = {
        IN_MEMORY, {"\"3%/2mm\"", "\"1%/1mm\", \"5%/3mm\""}, {NULL, NULL}};
    char* const texts[2] = {request(two_criteria), request(other_criteria)};
    pthread_t threads[2];
    in_memory();
    for (int i = 0; i < 2; ++i) {
        pthread_create(&threads[i], NULL, compare_often, texts[i]);
    }
    for (int i = 0; i < 2; ++i) {
        void* failed = NULL;
        pthread_join(threads[i], &failed);
        check(failed == NULL, "two threads at once");
        free(texts[i]);
    }
}

/* Whether a text of the library holds another one; frees it. */
static int told(struct zarnGIHost_Bytes* bytes, const char* text)
{
    char* const whole = calloc(1, bytes->size + 1);
    memcpy(whole, bytes->data, bytes->size);
    const int isThere = strstr(whole, text) != NULL;
    free(whole);
    zarnGIHost_freeBytes(bytes);
    return isThere;
}

static void read_protocols(void)
{
    struct zarnGIHost_Bytes bytes = {NULL, 0};
    struct zarnGIHost_Error error;
    check(zarnGIHost_listProtocols(&bytes, NULL) == ZARNGI_HOST_OK, "protocols are listed");
    check(told(&bytes, "\"tg-218\""), "the list names one");
    check(zarnGIHost_readProtocol("tg-218", 6, &bytes, NULL) == ZARNGI_HOST_OK, "a shipped one");
    char* const text = calloc(1, bytes.size + 1);
    memcpy(text, bytes.data, bytes.size);
    check(zarnGIHost_readProtocol(text, strlen(text), &bytes, &error) == ZARNGI_HOST_OK,
          "its document is one");
    check(told(&bytes, text), "the same one");
    char* const version = strstr(text, "\"formatVersion\": ");
    check(version != NULL, "a version");
    memcpy(version, "\"formatVersion\": 9", 18);
    check(zarnGIHost_readProtocol(text, strlen(text), &bytes, &error) == ZARNGI_HOST_REFUSED &&
              strstr(error.sentence, "tg-218") != NULL,
          "one of a later version is refused with those that are shipped");
    free(text);
    check(zarnGIHost_readProtocol("tg-217", 6, &bytes, &error) == ZARNGI_HOST_REFUSED &&
              strstr(error.sentence, "tg-218") != NULL,
          "an unknown name is refused with those that are known");
    check(zarnGIHost_readProtocol(NULL, 0, &bytes, &error) == ZARNGI_HOST_BAD_ARGUMENT &&
              zarnGIHost_listProtocols(NULL, &error) == ZARNGI_HOST_BAD_ARGUMENT,
          "null pointers are refused");
}

static int stop_soon(double done, void* calls)
{
    ++*(int*)calls;
    return done < 0.2 ? ZARNGI_HOST_OK : 1;
}

static void test_itself(void)
{
    struct zarnGIHost_Bytes record = {NULL, 0};
    struct zarnGIHost_Bytes page = {NULL, 0};
    struct zarnGIHost_Error error;
    int passed = -1;
    int calls = 0;
    check(zarnGIHost_selfTest(stop_soon, &calls, &passed, &record, &page, &error) ==
                  ZARNGI_HOST_REFUSED &&
              calls > 0 && passed == -1 && record.data == NULL && page.data == NULL,
          "a self-test that its watcher ends gives nothing");
    check(zarnGIHost_selfTest(NULL, NULL, &passed, &record, &page, &error) == ZARNGI_HOST_OK &&
              passed == 1,
          "a self-test passes");
    check(told(&record, "\"name\": \"libZarnGIHost.so"), "its record names the library");
    check(told(&page, "<td>passed</td>"), "its page tells the cases");
    check(zarnGIHost_selfTest(NULL, NULL, NULL, &record, NULL, &error) == ZARNGI_HOST_BAD_ARGUMENT,
          "a self-test needs a place for its verdict");
}

int main(void)
{
    char folder[] = "/tmp/zarngi-host-XXXXXX";
    if (mkdtemp(folder) == NULL || chdir(folder) != 0) {
        return 1;
    }
    fill();
    compare_from_everywhere();
    tell_in_documents();
    refuse();
    refuse_files();
    refuse_arguments();
    follow();
    lend_and_take();
    compare_without_bounds();
    explain_alone();
    refuse_in_words();
    compare_by_several_threads();
    read_protocols();
    test_itself();
    check(rmdir(folder) == 0, "nothing left in the folder");
    return failures == 0 ? 0 : 1;
}
