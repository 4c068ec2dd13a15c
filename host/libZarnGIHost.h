/**
 * @file libZarnGIHost.h
 * What programs around libZarnGI share: reading, writing and comparing dose files. C11.
 *
 * The command-line program `zarngi` and the Python package `zarngi` read through these functions,
 * or through the same sources, so a file gives the same doses in both or the same sentence.
 *
 * Every function may be called by several threads at once, on different doses. Nothing is printed,
 * no process is started, no state is kept between calls but that of zarnGIHost_setExcerpts(). A
 * comparison, and the acceptance test, takes over the one environment of libZarnGI; all other
 * functions leave it alone.
 * Lengths are in mm, doses in Gy. Coordinates are those of the patient: x to the left, y to the
 * back, z to the head.
 */
#ifndef ZARNGI_HOST_LIBZARNGIHOST_H
#define ZARNGI_HOST_LIBZARNGIHOST_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Makes a function visible outside of the library. */
#if defined(_WIN32) && defined(ZARNGI_BUILDS_HOST_LIBRARY)
#define ZARNGI_HOST_API __declspec(dllexport)
#elif defined(_WIN32)
#define ZARNGI_HOST_API __declspec(dllimport)
#else
#define ZARNGI_HOST_API __attribute__((visibility("default")))
#endif

/** What the functions return. */
enum zarnGIHost_Status {
    ZARNGI_HOST_OK = 0,
    ZARNGI_HOST_REFUSED = -1,   /**< the contents: damaged, not supported, or no dose */
    ZARNGI_HOST_SYSTEM = -2,    /**< a file cannot be opened, read or written; see `systemError` */
    ZARNGI_HOST_NO_MEMORY = -3, /**< it does not fit in memory */
    ZARNGI_HOST_BAD_ARGUMENT = -4 /**< a null pointer, or a number out of its range */
};

/** Bytes of the longest sentence, with its end. */
#define ZARNGI_HOST_SENTENCE_SIZE 1024

/** Why a function failed. */
struct zarnGIHost_Error {
    int systemError; /**< errno of ZARNGI_HOST_SYSTEM, else 0 */
    /** One line that continues "FILE: ", without a full stop: "is cut short". */
    char sentence[ZARNGI_HOST_SENTENCE_SIZE];
};

/**
 * Whether sentences and warnings of the calling thread quote what stands in files, as they do at
 * first: `has Dose Units of "PERCENT"`. Else they have three dots in its place, for hosts that keep
 * them where no name of a patient may be: anything may stand where a unit should. Names of
 * structures are told in either case, and files of a comparison are then called by their roles:
 * "evaluation", "structures 2".
 *
 * @param areShown 0: no.
 * @return 1 or 0: what was set before.
 */
ZARNGI_HOST_API int zarnGIHost_setExcerpts(int areShown);

/** A dose read from a file; the caller frees it with zarnGIHost_freeDose(). */
struct zarnGIHost_Dose;

/** A block of bytes that the caller frees with zarnGIHost_freeBytes(). */
struct zarnGIHost_Bytes {
    unsigned char* data; /**< the bytes; null where there are none */
    size_t size;         /**< how many */
};

/**
 * Reads a dose file: DICOM RT Dose, NRRD, MetaImage, NIfTI, EGSnrc's .3ddose or a dose of TOPAS,
 * told by its contents; zarnGIHost_getUnit() tells what the doses are in. A data file
 * that a header names is read from beside it; a pipe is read to its end. An RT Dose of one frame is
 * a plane, and refused: zarnGIHost_readAnyDose() reads it. Relative doses and differences between
 * doses are read, and zarnGIHost_getFact() tells that they are none in Gy.
 *
 * @param path  the file.
 * @param dose  [out] the dose; null unless ZARNGI_HOST_OK is returned.
 * @param error [out] why there is none; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_REFUSED, ZARNGI_HOST_SYSTEM, ZARNGI_HOST_NO_MEMORY or
 *         ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_readDose(const char* path, struct zarnGIHost_Dose** dose,
                                        struct zarnGIHost_Error* error);

/**
 * Fetches a file that a header names.
 * @param name    as it stands in the header; empty for the data file of a NIfTI pair.
 * @param context as it was given with the function.
 * @param size    [out] bytes of the file.
 * @return its contents, which must stay as they are until the reading ends; null: not there.
 */
typedef const void* (*zarnGIHost_FindFile)(const char* name, void* context, size_t* size);

/**
 * Reads a dose from the contents of a file in memory.
 *
 * @param contents the file.
 * @param size     its bytes.
 * @param find     fetches the files that it names; null: there are none.
 * @param context  handed to `find`.
 * @param dose     [out] as of zarnGIHost_readDose().
 * @param error    [out] as of zarnGIHost_readDose().
 * @return as zarnGIHost_readDose().
 */
ZARNGI_HOST_API int zarnGIHost_readDoseFromMemory(const void* contents, size_t size,
                                                  zarnGIHost_FindFile find, void* context,
                                                  struct zarnGIHost_Dose** dose,
                                                  struct zarnGIHost_Error* error);

/**
 * Frees a dose and everything that was got from it.
 * @param dose the dose; null is allowed.
 */
ZARNGI_HOST_API void zarnGIHost_freeDose(struct zarnGIHost_Dose* dose);

/**
 * The grid of a dose.
 * @param dose    the dose.
 * @param size    [out] voxels along x, y, z.
 * @param spacing [out] mm.
 * @param origin  [out] mm, centre of the first voxel.
 * @return ZARNGI_HOST_OK or ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_getGrid(const struct zarnGIHost_Dose* dose, int size[3],
                                       double spacing[3], double origin[3]);

/**
 * The doses of a grid.
 * @param dose the dose.
 * @return as many values as the grid has voxels, x fastest, in what zarnGIHost_getUnit() tells;
 * they live as long as the dose. Null for null.
 */
ZARNGI_HOST_API const float* zarnGIHost_getDoses(const struct zarnGIHost_Dose* dose);

/** What is true of a dose or not. */
enum zarnGIHost_Fact {
    ZARNGI_HOST_IS_RELATIVE = 0,       /**< doses relative to a value that the file does not tell */
    ZARNGI_HOST_TELLS_POSITION = 1,    /**< else its first voxel or middle is put at 0, 0, 0 */
    ZARNGI_HOST_TELLS_ORIENTATION = 2, /**< else the axes are taken for the patient's */
    ZARNGI_HOST_IS_DICOM = 3,
    ZARNGI_HOST_TELLS_UNIT = 4, /**< of dose; else the values are taken for Gy */
    ZARNGI_HOST_IS_ERROR = 5    /**< differences between doses (Dose Type ERROR), no doses */
};

/**
 * Whether something is true of a dose.
 * @param dose the dose.
 * @param fact of enum zarnGIHost_Fact.
 * @return 1 or 0, or ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_getFact(const struct zarnGIHost_Dose* dose, int fact);

/** Texts of a dose. All but the first two are those of DICOM elements. */
enum zarnGIHost_Text {
    ZARNGI_HOST_FORMAT = 0,    /**< "DICOM RT Dose", "NRRD", "MetaImage", "NIfTI", "TOPAS", ... */
    ZARNGI_HOST_DATA_PATH = 1, /**< path of the file with the values */
    ZARNGI_HOST_MODALITY = 2,
    ZARNGI_HOST_SUMMATION_TYPE = 3,
    ZARNGI_HOST_DOSE_TYPE = 4,
    ZARNGI_HOST_PLAN_LABEL = 5,
    ZARNGI_HOST_SERIES_DESCRIPTION = 6,
    ZARNGI_HOST_DOSE_COMMENT = 7,
    ZARNGI_HOST_MANUFACTURER = 8,
    ZARNGI_HOST_FRAME_OF_REFERENCE = 9,
    ZARNGI_HOST_SOP_INSTANCE = 10,
    ZARNGI_HOST_PATIENT_NAME = 11,
    ZARNGI_HOST_PATIENT_ID = 12,
    ZARNGI_HOST_PATIENT_BIRTH_DATE = 13
};

/**
 * A text of a dose.
 * @param dose the dose.
 * @param text of enum zarnGIHost_Text.
 * @return the text, empty where the file does not tell it; it lives as long as the dose. Null for
 *         null and for other numbers.
 */
ZARNGI_HOST_API const char* zarnGIHost_getText(const struct zarnGIHost_Dose* dose, int text);

/**
 * What was taken for granted while reading, and what speaks against the values being doses.
 * @param dose  the dose.
 * @param index from 0 on.
 * @return a line that continues "FILE: ", or null behind the last one.
 */
ZARNGI_HOST_API const char* zarnGIHost_getWarning(const struct zarnGIHost_Dose* dose, size_t index);

/**
 * What tables of doses that do not tell their units are in. A table that tells none of doses is
 * refused where it is not given here; lengths count as mm.
 */
struct zarnGIHost_TableUnits {
    double gray;        /**< Gy of one unit of dose: 1 or 0.01; 0: not given */
    double millimetres; /**< mm of one unit of length; 0: not given */
};

/**
 * Reads what zarnGIHost_readDose() reads, and planes and points of doses beside: detector arrays,
 * PTW arrays, IBA planes, planes of XiO and Monaco, extracted planes, tables, planar RT Dose and RT
 * Images; see zarnGIHost_getPlaces().
 *
 * @param path  the file.
 * @param units of tables; may be null.
 * @param dose  [out] as of zarnGIHost_readDose().
 * @param error [out] as of zarnGIHost_readDose().
 * @return as zarnGIHost_readDose().
 */
ZARNGI_HOST_API int zarnGIHost_readAnyDose(const char* path,
                                           const struct zarnGIHost_TableUnits* units,
                                           struct zarnGIHost_Dose** dose,
                                           struct zarnGIHost_Error* error);

/**
 * Reads what zarnGIHost_readAnyDose() reads from the contents of a file in memory.
 *
 * @param contents the file.
 * @param size     its bytes.
 * @param find     as of zarnGIHost_readDoseFromMemory().
 * @param context  handed to `find`.
 * @param units    of tables; may be null.
 * @param dose     [out] as of zarnGIHost_readDose().
 * @param error    [out] as of zarnGIHost_readDose().
 * @return as zarnGIHost_readDose().
 */
ZARNGI_HOST_API int zarnGIHost_readAnyDoseFromMemory(const void* contents, size_t size,
                                                     zarnGIHost_FindFile find, void* context,
                                                     const struct zarnGIHost_TableUnits* units,
                                                     struct zarnGIHost_Dose** dose,
                                                     struct zarnGIHost_Error* error);

/** What is told of doses whose files do not tell it. */
struct zarnGIHost_Told {
    struct zarnGIHost_TableUnits units; /**< of tables, TIFFs and RT Doses */
    double pixelSize; /**< mm, of TIFFs and of matrices without coordinates; 0: not
                           given, and they are refused */
};

/**
 * Reads what zarnGIHost_readAnyDose() reads, and planes of pixels beside: TIFFs of one channel
 * (32-bit floats, or 16-bit whole numbers without sign), and matrices without coordinates. Their
 * first row is the upper edge, their middle lies at 0, 0, which warnings tell.
 *
 * @param path  the file.
 * @param told  of the file; may be null.
 * @param dose  [out] as of zarnGIHost_readDose().
 * @param error [out] as of zarnGIHost_readDose().
 * @return as zarnGIHost_readDose().
 */
ZARNGI_HOST_API int zarnGIHost_readToldDose(const char* path, const struct zarnGIHost_Told* told,
                                            struct zarnGIHost_Dose** dose,
                                            struct zarnGIHost_Error* error);

/**
 * Reads what zarnGIHost_readToldDose() reads from the contents of a file in memory.
 *
 * @param contents the file.
 * @param size     its bytes.
 * @param find     as of zarnGIHost_readDoseFromMemory().
 * @param context  handed to `find`.
 * @param told     of the file; may be null.
 * @param dose     [out] as of zarnGIHost_readDose().
 * @param error    [out] as of zarnGIHost_readDose().
 * @return as zarnGIHost_readDose().
 */
ZARNGI_HOST_API int zarnGIHost_readToldDoseFromMemory(const void* contents, size_t size,
                                                      zarnGIHost_FindFile find, void* context,
                                                      const struct zarnGIHost_Told* told,
                                                      struct zarnGIHost_Dose** dose,
                                                      struct zarnGIHost_Error* error);

/** How the doses of a file lie. */
enum zarnGIHost_Kind {
    ZARNGI_HOST_VOLUME = 0, /**< on a grid of three dimensions */
    ZARNGI_HOST_PLANE = 1,  /**< on a grid of one layer, whose thickness means nothing */
    ZARNGI_HOST_POINTS = 2  /**< at points; the grid is the list of their doses */
};

/** Where the doses of a file lie; pointers live as long as the dose. */
struct zarnGIHost_Places {
    int kind;      /**< of enum zarnGIHost_Kind */
    int isInSpace; /**< 1: positions are those of the patient; 0: x to the right, y up in a plane */
    int normal;    /**< of a plane the axis across it: 0 is x, 1 y, 2 z; else -1 */
    size_t gaps;   /**< places of the grid without a dose, which hold 0 */
    const unsigned char* isMeasured; /**< 1 or 0 of each place; null: all have a dose */
    const double* points;            /**< x, y, z of each point, mm; null where there are none */
};

/**
 * Where the doses of a file lie.
 * @param dose   the dose.
 * @param places [out] where.
 * @return ZARNGI_HOST_OK or ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_getPlaces(const struct zarnGIHost_Dose* dose,
                                         struct zarnGIHost_Places* places);

/** A plane of doses, or points of one, to be put into the patient. */
struct zarnGIHost_Plane {
    int size[2];                     /**< places along x and y; of points their number and 1 */
    double spacing[2];               /**< mm, above 0; of points not read */
    double origin[2];                /**< mm, of the first place; of points not read */
    const float* doses;              /**< Gy, x fastest */
    const unsigned char* isMeasured; /**< 1 or 0 of each place; null: all have a dose */
    const double* points;            /**< x, y of each point, mm; null: the doses lie on the grid */
};

/**
 * Puts a plane into the patient: along the axes it stays a plane, else its places become points.
 *
 * @param plane the doses; copied.
 * @param name  "axial" (x, y of the plane are those of the patient), "coronal" (x, z), "sagittal"
 *              (y, z), or "gantry:ANGLE" in degrees: x along (cos, sin, 0), y along z.
 * @param at    where the plane's point 0, 0 lies, mm.
 * @param dose  [out] what zarnGIHost_getPlaces() tells to be in space; the caller frees it. Null
 *              unless ZARNGI_HOST_OK is returned.
 * @param error [out] why there is none; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_REFUSED (another name, too many points),
 *         ZARNGI_HOST_NO_MEMORY or ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_placePlane(const struct zarnGIHost_Plane* plane, const char* name,
                                          const double at[3], struct zarnGIHost_Dose** dose,
                                          struct zarnGIHost_Error* error);

/** What doses are in. */
enum zarnGIHost_Unit {
    ZARNGI_HOST_GRAY = 0,
    ZARNGI_HOST_RELATIVE = 1,         /**< to a value that the file does not tell */
    ZARNGI_HOST_GRAY_PER_HISTORY = 2, /**< of a simulation: Gy by a factor alone */
    ZARNGI_HOST_GRAY_OF_RUN = 3,      /**< of all histories of a simulation: Gy by a factor alone */
    ZARNGI_HOST_CALIBRATED = 4        /**< CU of a portal imager: Gy by a factor alone */
};

/**
 * What the doses of a file are in.
 * @param dose the dose.
 * @return a number of enum zarnGIHost_Unit, or ZARNGI_HOST_BAD_ARGUMENT for null. Later versions
 * may give further numbers.
 */
ZARNGI_HOST_API int zarnGIHost_getUnit(const struct zarnGIHost_Dose* dose);

/**
 * The standard uncertainties of doses, which the files of simulations tell.
 * @param dose the dose.
 * @return as many values as zarnGIHost_getDoses() gives, in the same unit; not a number where none
 *         is known, as where there is no dose. They live as long as the dose. Null where the file
 *         tells none, and for null.
 */
ZARNGI_HOST_API const float* zarnGIHost_getUncertainties(const struct zarnGIHost_Dose* dose);

/** Types of the values that are written. */
enum zarnGIHost_Type {
    ZARNGI_HOST_UINT8 = 0,
    ZARNGI_HOST_INT8 = 1,
    ZARNGI_HOST_UINT16 = 2,
    ZARNGI_HOST_INT16 = 3,
    ZARNGI_HOST_UINT32 = 4,
    ZARNGI_HOST_INT32 = 5,
    ZARNGI_HOST_UINT64 = 6,
    ZARNGI_HOST_INT64 = 7,
    ZARNGI_HOST_FLOAT = 8,
    ZARNGI_HOST_DOUBLE = 9
};

/** A grid of values to write. */
struct zarnGIHost_Volume {
    int size[3];        /**< voxels along x, y, z; 1 and up, fewer than 2^31 in all */
    double spacing[3];  /**< mm, above 0 */
    double origin[3];   /**< mm, centre of the first voxel */
    int type;           /**< of enum zarnGIHost_Type */
    const void* values; /**< x fastest, in the byte order of this machine */
};

/**
 * The contents of a volume file.
 *
 * @param name   a file name whose ending tells the format: .mha, .nrrd, .nii or .nii.gz.
 * @param volume the values.
 * @param bytes  [out] the file; unchanged unless ZARNGI_HOST_OK is returned.
 * @param error  [out] why there is none; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_REFUSED (what the format cannot hold), ZARNGI_HOST_NO_MEMORY
 *         or ZARNGI_HOST_BAD_ARGUMENT (an unknown ending or type, a grid out of range).
 */
ZARNGI_HOST_API int zarnGIHost_encodeVolume(const char* name,
                                            const struct zarnGIHost_Volume* volume,
                                            struct zarnGIHost_Bytes* bytes,
                                            struct zarnGIHost_Error* error);

/**
 * Frees bytes and sets them to none.
 * @param bytes what zarnGIHost_encodeVolume() gave; null is allowed.
 */
ZARNGI_HOST_API void zarnGIHost_freeBytes(struct zarnGIHost_Bytes* bytes);

/**
 * Writes a volume file: under a temporary name beside its own, renamed when it is whole.
 *
 * @param path   the file; its ending tells the format as that of zarnGIHost_encodeVolume().
 * @param volume the values.
 * @param error  [out] why it could not be written; may be null.
 * @return as zarnGIHost_encodeVolume(), and ZARNGI_HOST_SYSTEM.
 */
ZARNGI_HOST_API int zarnGIHost_writeVolume(const char* path, const struct zarnGIHost_Volume* volume,
                                           struct zarnGIHost_Error* error);

/**
 * Counts the failed voxels with more dose than the reference (hot) and with less (cold). The
 * evaluation's dose at the centre of a voxel is trilinear; within the faces of the outermost voxels
 * it is that at their centres, outside of them there is none: such a voxel counts as neither.
 *
 * @param reference  doses of the type ZARNGI_HOST_FLOAT.
 * @param evaluation doses of the type ZARNGI_HOST_FLOAT.
 * @param passed     for each voxel of the reference 1, 0, or 255: not tested.
 * @param hot        [out] voxels.
 * @param cold       [out] voxels.
 * @param error      [out] why they were not counted; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_NO_MEMORY or ZARNGI_HOST_BAD_ARGUMENT (a grid out of range,
 *         another type).
 */
ZARNGI_HOST_API int zarnGIHost_countFailedSides(const struct zarnGIHost_Volume* reference,
                                                const struct zarnGIHost_Volume* evaluation,
                                                const unsigned char* passed, size_t* hot,
                                                size_t* cold, struct zarnGIHost_Error* error);

/** Structures read from a file; the caller frees them with zarnGIHost_freeStructures(). */
struct zarnGIHost_Structures;

/**
 * Reads structures: a DICOM RT Structure Set, or a label mask in NRRD, MetaImage or NIfTI, told by
 * the contents. What zarnGIHost_readDose() says of data files and pipes holds here, too.
 *
 * @param path       the file.
 * @param structures [out] what it holds; null unless ZARNGI_HOST_OK is returned.
 * @param error      [out] why there is nothing; may be null.
 * @return as zarnGIHost_readDose().
 */
ZARNGI_HOST_API int zarnGIHost_readStructures(const char* path,
                                              struct zarnGIHost_Structures** structures,
                                              struct zarnGIHost_Error* error);

/**
 * Reads structures from the contents of a file in memory.
 *
 * @param contents   the file.
 * @param size       its bytes.
 * @param name       of the file: a mask of one label without a name is named after it.
 * @param find       as of zarnGIHost_readDoseFromMemory().
 * @param context    handed to `find`.
 * @param structures [out] as of zarnGIHost_readStructures().
 * @param error      [out] as of zarnGIHost_readStructures().
 * @return as zarnGIHost_readDose().
 */
ZARNGI_HOST_API int zarnGIHost_readStructuresFromMemory(const void* contents, size_t size,
                                                        const char* name, zarnGIHost_FindFile find,
                                                        void* context,
                                                        struct zarnGIHost_Structures** structures,
                                                        struct zarnGIHost_Error* error);

/**
 * A structure of the voxels of a grid that are not 0.
 *
 * @param name       of the structure.
 * @param mask       values of the type ZARNGI_HOST_UINT8; copied.
 * @param structures [out] the one structure; null unless ZARNGI_HOST_OK is returned.
 * @param error      [out] why there is none; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_NO_MEMORY or ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_makeStructure(const char* name, const struct zarnGIHost_Volume* mask,
                                             struct zarnGIHost_Structures** structures,
                                             struct zarnGIHost_Error* error);

/**
 * Frees structures and everything that was got from them.
 * @param structures what was read or made; null is allowed.
 */
ZARNGI_HOST_API void zarnGIHost_freeStructures(struct zarnGIHost_Structures* structures);

/**
 * What a file of structures holds, as a JSON document: that of `zarngi info --json` without the
 * file itself.
 *
 * @param structures what was read.
 * @param json       [out] UTF-8; the caller frees it. Unchanged unless ZARNGI_HOST_OK is returned.
 * @param error      [out] why there is none; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_NO_MEMORY or ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_describeStructures(const struct zarnGIHost_Structures* structures,
                                                  struct zarnGIHost_Bytes* json,
                                                  struct zarnGIHost_Error* error);

/**
 * A closed contour of a structure; the last vertex is joined to the first one.
 * @param structures what was read.
 * @param structure  its number in the description, from 0 on.
 * @param contour    from 0 on.
 * @param vertices   [out] how many there are.
 * @return x, y, z of each vertex, mm; they live as long as the structures. Null behind the last.
 */
ZARNGI_HOST_API const double* zarnGIHost_getContour(const struct zarnGIHost_Structures* structures,
                                                    size_t structure, size_t contour,
                                                    size_t* vertices);

/**
 * The voxels of a grid whose centres belong to a structure.
 *
 * @param structures what was read.
 * @param structure  its number in the description, from 0 on.
 * @param size       voxels along x, y, z of the grid.
 * @param spacing    mm.
 * @param origin     mm, centre of the first voxel.
 * @param voxels     [out] 1 or 0 for each voxel, x fastest; as many as the grid has.
 * @param error      [out] why there are none; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_REFUSED (its contours cannot be taken), ZARNGI_HOST_NO_MEMORY
 *         or ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_findVoxels(const struct zarnGIHost_Structures* structures,
                                          size_t structure, const int size[3],
                                          const double spacing[3], const double origin[3],
                                          unsigned char* voxels, struct zarnGIHost_Error* error);

/** What is compared within structures. */
struct zarnGIHost_StructureInput {
    const struct zarnGIHost_Structures* const* sets; /**< one or more files or masks */
    size_t count;                                    /**< of them */
    struct zarnGIHost_Volume reference;              /**< doses of the type ZARNGI_HOST_FLOAT */
    struct zarnGIHost_Volume evaluation;             /**< doses of the type ZARNGI_HOST_FLOAT */
    const float* gamma;          /**< of each reference voxel, -1: not tested; null: no gamma */
    const unsigned char* passed; /**< of each reference voxel 1, 0, or 255: not tested */
};

/**
 * Compares two doses, and tells the outcome of a gamma test, within structures.
 *
 * @param input   what is compared.
 * @param options a JSON object, UTF-8: `shown` and `excluded` (arrays of names, patterns or
 *                combinations, as `zarngi compare --structure` and `--exclude` take them),
 * `metrics` (an array of texts like "D99,V20Gy"), `fullDose` (Gy, 100 % of a V95%), `maxGamma`,
 *                `passRateOnly`, `tolerance`, `action` (%), `threads`.
 * @param json    [out] an object with `structures` and, with gamma, `criterion`: the members of the
 *                record of `zarngi compare --json` that have to do with structures. The caller
 * frees it. Unchanged unless ZARNGI_HOST_OK is returned.
 * @param error   [out] why there is none; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_REFUSED (a name that matches nothing and the like),
 *         ZARNGI_HOST_NO_MEMORY or ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_compareStructures(const struct zarnGIHost_StructureInput* input,
                                                 const char* options, struct zarnGIHost_Bytes* json,
                                                 struct zarnGIHost_Error* error);

/** A gamma computation that an explanation asks for. */
struct zarnGIHost_Trial {
    double doseDifference; /**< % */
    double distance;       /**< mm, distance to agreement */
    double step;           /**< mm, spacing of the search lattice; 0: a tenth of the distance */
    double maxGamma;       /**< largest gamma searched for */
};

/**
 * How an explanation has gamma computed: by the caller, with the cut-off and all other options of a
 * comparison, with full gamma maps, and with the normalisation dose set. Each function returns
 * ZARNGI_HOST_OK, or another number to end the explanation.
 */
struct zarnGIHost_GammaEngine {
    /** Replaces the reference. @param doses valid during the call. */
    int (*setReference)(const struct zarnGIHost_Volume* doses, void* context);
    /** Replaces the evaluation. @param doses valid during the call. */
    int (*setEvaluation)(const struct zarnGIHost_Volume* doses, void* context);
    /**
     * Computes.
     * @param trial  the criterion.
     * @param gamma  [out] for each voxel of the reference; -1: not tested.
     * @param passed [out] for each voxel of the reference 1, 0, or 255: not tested.
     */
    int (*compute)(const struct zarnGIHost_Trial* trial, float* gamma, unsigned char* passed,
                   void* context);
    /** Is told the part of the work that is done, 0 to 1, from time to time. May be null. */
    int (*progress)(double done, void* context);
    void* context; /**< handed to the functions */
};

/** What is explained. */
struct zarnGIHost_ExplanationInput {
    struct zarnGIHost_Volume reference;  /**< doses of the type ZARNGI_HOST_FLOAT */
    struct zarnGIHost_Volume evaluation; /**< doses of the type ZARNGI_HOST_FLOAT */
    const unsigned char* within; /**< of each reference voxel not 0: explained; null: all are */
    /** Files or masks; in their structures is counted what remains. Null: in none. */
    const struct zarnGIHost_Structures* const* sets;
    size_t count; /**< of them */
};

/**
 * Finds the shift and the dose factor of the evaluation that explain the failed voxels.
 *
 * @param input   what is explained.
 * @param options a JSON object, UTF-8: "doseDifference" (%), "distance" (mm), "local" (true or
 *                false), "step" (mm, or null: a tenth of the distance), "maxGamma" (of the map
 *                afterwards), "range" (mm, or null: the larger of 5 mm and twice the distance),
 *                "within" (the name of what alone is explained; read where there is such a part),
 *                "shown" and "excluded" (as of zarnGIHost_compareStructures(); read where there are
 *                structures), "inPlane" (whether the grids lie nowhere in a patient, so that
 *                directions are told as +x and -x; false where it is absent).
 * @param engine  computes gamma, one call after the other, on the calling thread.
 * @param gamma   [out] the gamma map after the change, as many values as the reference has voxels;
 *                -1: not tested. May be null.
 * @param json    [out] the member "explanation" of the record of `zarngi compare --json`, UTF-8;
 *                the caller frees it. Unchanged unless ZARNGI_HOST_OK is returned.
 * @param error   [out] why there is none; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_REFUSED (nothing is tested, or the engine ended it),
 *         ZARNGI_HOST_NO_MEMORY or ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_explain(const struct zarnGIHost_ExplanationInput* input,
                                       const char* options,
                                       const struct zarnGIHost_GammaEngine* engine, float* gamma,
                                       struct zarnGIHost_Bytes* json,
                                       struct zarnGIHost_Error* error);

/** What refuses a comparison or a conversion. */
enum zarnGIHost_RefusalKind {
    ZARNGI_HOST_REFUSAL_NONE = 0,
    ZARNGI_HOST_REFUSAL_REQUEST = 1, /**< the request, by itself or for these doses; see `member` */
    ZARNGI_HOST_REFUSAL_PAIR = 2, /**< the doses, or what belongs to them, cannot be compared so */
    ZARNGI_HOST_REFUSAL_FOREIGN = 3,     /**< a file is none of the kinds that are read */
    ZARNGI_HOST_REFUSAL_FILE = 4,        /**< a file is damaged */
    ZARNGI_HOST_REFUSAL_SYSTEM = 5,      /**< the system does not give a file, or a thread */
    ZARNGI_HOST_REFUSAL_MEMORY = 6,      /**< there is not enough */
    ZARNGI_HOST_REFUSAL_INTERRUPTED = 7, /**< the watcher has ended it */
    ZARNGI_HOST_REFUSAL_ARGUMENT = 8,    /**< an argument of the function */
    ZARNGI_HOST_REFUSAL_UNSUPPORTED = 9  /**< a file holds what is not read */
};

/** Bytes of the longest name of a member, with its end. */
#define ZARNGI_HOST_MEMBER_SIZE 256
/** Bytes of the longest name of a file, with its end. */
#define ZARNGI_HOST_PATH_SIZE 4096

/** Why there is no comparison, or no conversion. */
struct zarnGIHost_Refusal {
    int kind;        /**< of enum zarnGIHost_RefusalKind */
    int systemError; /**< errno of a file that the system does not give, else 0 */
    /** What is to be mended, or would mend it, as it stands in the request: "criteria[1]",
     * "structures.within"; empty where it is none of its members. */
    char member[ZARNGI_HOST_MEMBER_SIZE];
    /** The file that cannot be read, or that cannot be compared so, as the request names it; else
     * empty. */
    char file[ZARNGI_HOST_PATH_SIZE];
    /** One line without a full stop; it continues "FILE: " where `file` tells one. */
    char sentence[ZARNGI_HOST_SENTENCE_SIZE];
};

/** Doses in memory that stand for a file. */
struct zarnGIHost_NamedDose {
    const char* name;                /**< of the file, as the request has it */
    struct zarnGIHost_Volume volume; /**< values of the type ZARNGI_HOST_FLOAT; see `areLent` */
    /**
     * Where they lie: all 0 for a volume. Else as zarnGIHost_getPlaces() tells it, but `gaps`,
     * which are counted. Of a plane that is not in space, spacing and origin along z are not read,
     * nor those along y where it has one row and a spacing of 0 there: it is a line. Of points,
     * those of the volume are not, and its size is their number, 1 and 1.
     */
    struct zarnGIHost_Places places;
    int unit;                     /**< of the doses, of enum zarnGIHost_Unit */
    const char* frameOfReference; /**< a UID; null: not known */
};

/** Structures in memory that stand for a file. */
struct zarnGIHost_NamedStructures {
    const char* name;                               /**< of the file, as the request has it */
    const struct zarnGIHost_Structures* structures; /**< copied */
};

/**
 * Unpacks the pixel data of a DICOM file of the JPEG families.
 * @param file    the whole file.
 * @param size    its bytes.
 * @param pixels  [out] frames of rows of values, little endian.
 * @param bytes   as many of them are asked for.
 * @param context as it was given with the function.
 * @return ZARNGI_HOST_OK; else the file is refused.
 */
typedef int (*zarnGIHost_UnpackPixels)(const void* file, size_t size, void* pixels, size_t bytes,
                                       void* context);

/** Where the doses and structures of a comparison come from. All 0: from files. */
struct zarnGIHost_Source {
    const struct zarnGIHost_NamedDose* doses;            /**< these stand for files */
    size_t doseCount;                                    /**< of them */
    const struct zarnGIHost_NamedStructures* structures; /**< these stand for files */
    size_t structureCount;                               /**< of them */
    zarnGIHost_FindFile find; /**< gives the contents of all other files; null: they are read */
    zarnGIHost_UnpackPixels unpackPixels; /**< null: such files are refused */
    void* context;                        /**< handed to both functions */
    int threads; /**< that compute; 0: one for each processor. No result depends on it */
};

/** A comparison; the caller frees it with zarnGIHost_freeComparison(). */
struct zarnGIHost_Comparison;

/** How far a comparison is. */
struct zarnGIHost_Progress {
    double
        done; /**< of all, 0 to 1; it never falls, and may jump: searches end when all is found */
    const char* task; /**< what is computed now: "3%/2mm", "sweep", "explaining 3%/2mm" */
    double share;     /**< of this task, 0 to 1 */
};

/**
 * Who follows a comparison; each function may be null, returns ZARNGI_HOST_OK, or another number to
 * end the comparison, and is called on the calling thread. It must not start another one.
 */
struct zarnGIHost_Watcher {
    /**
     * Is told before the search what will be compared.
     * @param prepared valid during the call; zarnGIHost_getRecord() tells its files, grids,
     *                 structures and warnings. It has no criteria yet.
     */
    int (*prepared)(const struct zarnGIHost_Comparison* prepared, void* context);
    /** Is told at least every 50 ms of a search how far it is. */
    int (*progress)(const struct zarnGIHost_Progress* progress, void* context);
    void* context; /**< handed to both */
};

/**
 * Compares two doses as a document asks, in every way that `zarngi compare` does.
 *
 * A comparison takes over the one environment of libZarnGI in this process, and leaves it as
 * zarnGI_reset() does. Threads read their files at once, and are then served one after the other;
 * nothing else may use the environment meanwhile.
 *
 * @param request    the request, or a record that holds one: a JSON document, UTF-8. All members
 *                   must be there; zarnGIHost_defaultRequest() gives them.
 * @param size       its bytes.
 * @param source     where the files that it names come from; null: from the disk.
 * @param watcher    who follows; may be null.
 * @param comparison [out] the results; null unless ZARNGI_HOST_OK is returned.
 * @param refusal    [out] why there are none; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_REFUSED (request, doses, files, or the watcher ended it),
 *         ZARNGI_HOST_SYSTEM, ZARNGI_HOST_NO_MEMORY or ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_compare(const char* request, size_t size,
                                       const struct zarnGIHost_Source* source,
                                       const struct zarnGIHost_Watcher* watcher,
                                       struct zarnGIHost_Comparison** comparison,
                                       struct zarnGIHost_Refusal* refusal);

/** What a caller wants of a comparison that no document asks for. All 0: nothing. */
struct zarnGIHost_Options {
    /** 1: the doses of the source are looked at, not copied, and stay as they are until the
     * comparison is freed; 0: they are copied. */
    int areLent;
    int verbose;        /**< reports of libZarnGI on standard output, 0 to 5 */
    int isUnbounded;    /**< 1: the search ends when all is final, at no largest gamma */
    int mayTestNothing; /**< 1: a result without a tested voxel is one; 0: it is refused */
    /** 1: the criteria are not searched: there is only what explains the first one, or the rates by
     * criterion, and documents without criteria. */
    int hasOnlyFindings;
    /** What alone is explained: for each voxel of the reference not 0; null: what the request says.
     */
    const unsigned char* explained;
    const char* explainedName; /**< what sentences call it; null where it is not there */
    /** A JSON object, UTF-8, from names of members, "structures.within", to what sentences call
     * them; null, or where there is none: by their names. */
    const char* words;
};

/**
 * As zarnGIHost_compare(), which it is without options.
 *
 * @param request    as of zarnGIHost_compare().
 * @param size       as of zarnGIHost_compare().
 * @param source     as of zarnGIHost_compare().
 * @param watcher    as of zarnGIHost_compare().
 * @param options    what else is wanted; may be null.
 * @param comparison [out] as of zarnGIHost_compare().
 * @param refusal    [out] as of zarnGIHost_compare().
 * @return as zarnGIHost_compare().
 */
ZARNGI_HOST_API int zarnGIHost_compareWith(const char* request, size_t size,
                                           const struct zarnGIHost_Source* source,
                                           const struct zarnGIHost_Watcher* watcher,
                                           const struct zarnGIHost_Options* options,
                                           struct zarnGIHost_Comparison** comparison,
                                           struct zarnGIHost_Refusal* refusal);

/**
 * A request with all members, without files, as `zarngi compare` takes it where nothing is asked.
 * @param json  [out] UTF-8; the caller frees it. Unchanged unless ZARNGI_HOST_OK is returned.
 * @param error [out] why there is none; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_NO_MEMORY or ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_defaultRequest(struct zarnGIHost_Bytes* json,
                                              struct zarnGIHost_Error* error);

/**
 * The protocols that are shipped, as `zarngi protocols --json` lists them.
 * @param json  [out] as of zarnGIHost_defaultRequest().
 * @param error [out] why there is none; may be null.
 * @return as zarnGIHost_defaultRequest().
 */
ZARNGI_HOST_API int zarnGIHost_listProtocols(struct zarnGIHost_Bytes* json,
                                             struct zarnGIHost_Error* error);

/**
 * A protocol as a request to be filled with files: its member sha256 is the digest of what it
 * holds, by which the record tells whether something was changed.
 * @param text  UTF-8: the name of a shipped one, or the JSON document of a request or record, whose
 *              files are left out.
 * @param size  bytes.
 * @param json  [out] as of zarnGIHost_defaultRequest().
 * @param error [out] why there is none; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_REFUSED (it is none, or of a later version),
 *         ZARNGI_HOST_NO_MEMORY or ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_readProtocol(const char* text, size_t size,
                                            struct zarnGIHost_Bytes* json,
                                            struct zarnGIHost_Error* error);

/**
 * The record of a comparison, as `zarngi compare --json` writes it.
 * @param comparison what was compared.
 * @param alias      null: everything. Else the record tells nothing of the files but formats and
 *                   digests, and calls them after the pair and their role, "ALIAS reference", or by
 * the role alone where it is empty; that needs zarnGIHost_setExcerpts(0) before the comparison.
 * @param json       [out] UTF-8; the caller frees it. Unchanged unless ZARNGI_HOST_OK is returned.
 * @param error      [out] why there is none; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_REFUSED (it cannot be anonymous), ZARNGI_HOST_NO_MEMORY or
 *         ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_getRecord(const struct zarnGIHost_Comparison* comparison,
                                         const char* alias, struct zarnGIHost_Bytes* json,
                                         struct zarnGIHost_Error* error);

/**
 * The results as a table of comma-separated values, as `zarngi compare --csv` writes it.
 * @param comparison what was compared.
 * @param alias      as of zarnGIHost_getRecord().
 * @param csv        [out] UTF-8; the caller frees it. Unchanged unless ZARNGI_HOST_OK is returned.
 * @param error      [out] why there is none; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_NO_MEMORY or ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_getCsv(const struct zarnGIHost_Comparison* comparison,
                                      const char* alias, struct zarnGIHost_Bytes* csv,
                                      struct zarnGIHost_Error* error);

/**
 * The report of a comparison, as `zarngi compare --report` writes it: one HTML page.
 * @param comparison   what was compared.
 * @param pageTemplate the page without data, as the project's build makes it.
 * @param size         its bytes.
 * @param alias        as of zarnGIHost_getRecord().
 * @param page         [out] UTF-8; the caller frees it. Unchanged unless ZARNGI_HOST_OK is
 * returned.
 * @param error        [out] why there is none; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_NO_MEMORY or ZARNGI_HOST_BAD_ARGUMENT (no such template, or
 *         the search has not been made, or a map was taken).
 */
ZARNGI_HOST_API int zarnGIHost_getPage(const struct zarnGIHost_Comparison* comparison,
                                       const char* pageTemplate, size_t size, const char* alias,
                                       struct zarnGIHost_Bytes* page,
                                       struct zarnGIHost_Error* error);

/**
 * The gamma map of a criterion.
 * @param comparison what was compared.
 * @param criterion  its number in the record, from 0 on.
 * @param map        [out] values of the type ZARNGI_HOST_FLOAT on the grid of the reference, or a
 *                   list of those of points; -1: not tested. They live as long as the comparison.
 * @return ZARNGI_HOST_OK, or ZARNGI_HOST_BAD_ARGUMENT behind the last criterion.
 */
ZARNGI_HOST_API int zarnGIHost_getGamma(const struct zarnGIHost_Comparison* comparison,
                                        size_t criterion, struct zarnGIHost_Volume* map);

/**
 * Which voxels passed a criterion.
 * @param comparison what was compared.
 * @param criterion  its number in the record, from 0 on.
 * @param map        [out] as of zarnGIHost_getGamma(), with values of the type ZARNGI_HOST_UINT8:
 *                   1, 0, or 255: not tested.
 * @return as zarnGIHost_getGamma().
 */
ZARNGI_HOST_API int zarnGIHost_getPassed(const struct zarnGIHost_Comparison* comparison,
                                         size_t criterion, struct zarnGIHost_Volume* map);

/**
 * The gamma map after the change that explains the failed voxels.
 * @param comparison what was compared and explained.
 * @param map        [out] as of zarnGIHost_getGamma().
 * @return ZARNGI_HOST_OK, or ZARNGI_HOST_BAD_ARGUMENT where nothing was explained.
 */
ZARNGI_HOST_API int zarnGIHost_getExplainedGamma(const struct zarnGIHost_Comparison* comparison,
                                                 struct zarnGIHost_Volume* map);

/** Values that a caller took; freed with zarnGIHost_freeMap(). */
struct zarnGIHost_Map;

/**
 * Takes the gamma map of a criterion out of a comparison, without a copy: the caller may change its
 * values, and free the comparison before. From then on the comparison has no such map, and makes no
 * page.
 * @param comparison what was compared.
 * @param criterion  its number in the record, from 0 on.
 * @param map        [out] what the caller frees; null unless ZARNGI_HOST_OK is returned.
 * @param described  [out] as of zarnGIHost_getGamma(); the values live as long as `map`.
 * @return as zarnGIHost_getGamma(), or ZARNGI_HOST_NO_MEMORY.
 */
ZARNGI_HOST_API int zarnGIHost_takeGamma(struct zarnGIHost_Comparison* comparison, size_t criterion,
                                         struct zarnGIHost_Map** map,
                                         struct zarnGIHost_Volume* described);

/**
 * Frees what zarnGIHost_takeGamma() gave.
 * @param map the map; null is allowed.
 */
ZARNGI_HOST_API void zarnGIHost_freeMap(struct zarnGIHost_Map* map);

/**
 * Frees a comparison and everything that was got from it but bytes.
 * @param comparison the comparison; null is allowed.
 */
ZARNGI_HOST_API void zarnGIHost_freeComparison(struct zarnGIHost_Comparison* comparison);

/** A dose that is to be a file of another format. What is null or 0 is not asked for. */
struct zarnGIHost_Conversion {
    const char* input;           /**< a file that zarnGIHost_readToldDose() reads: a volume */
    const char* output;          /**< the file to write; its ending tells the format: .dcm (DICOM RT
                                    Dose), .mha, .nrrd, .nii or .nii.gz */
    const char* like;            /**< a DICOM file whose patient, study, frame of reference and plan
                                    an RT Dose gets; null: nobody's, with UIDs made of its contents */
    const char* scale;           /**< what doses are multiplied by: "1.5" or "1/33" */
    int allowErrorDoses;         /**< 1: RT Doses of the Dose Type ERROR are taken, too */
    struct zarnGIHost_Told told; /**< of an input that does not tell it */
    /** As of zarnGIHost_Options; "like", "scale" and "allowErrorDoses" are the names. */
    const char* words;
};

/**
 * Writes a dose as a file of another format, as `zarngi convert` does and with the same bytes:
 * under a temporary name beside its own, renamed when it is whole. No input is overwritten.
 *
 * @param conversion what is wanted.
 * @param warnings   [out] what was told of the dose when it was read: a JSON array of lines, UTF-8;
 *                   the caller frees it. Unchanged unless ZARNGI_HOST_OK is returned. May be null.
 * @param refusal    [out] why there is no file; its member is "output", "like", "scale" or empty.
 *                   May be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_REFUSED (no volume of doses, or one that the format cannot
 *         hold), ZARNGI_HOST_SYSTEM, ZARNGI_HOST_NO_MEMORY or ZARNGI_HOST_BAD_ARGUMENT.
 */
ZARNGI_HOST_API int zarnGIHost_convert(const struct zarnGIHost_Conversion* conversion,
                                       struct zarnGIHost_Bytes* warnings,
                                       struct zarnGIHost_Refusal* refusal);

/**
 * Follows an acceptance test, on the calling thread; must not start a comparison.
 * @param done    the part that is done, 0 to 1.
 * @param context what was handed over with it.
 * @return ZARNGI_HOST_OK, or another number to end the test.
 */
typedef int (*zarnGIHost_SelfTestWatch)(double done, void* context);

/**
 * The acceptance test of this installation, as `zarngi selftest` makes it, in ten seconds or so:
 * random problems on every set of instructions that the processor runs, held bit by bit to the
 * plain definition of the search, and gamma, files and structures whose results are known. It takes
 * over the one environment of libZarnGI as a comparison does, and leaves the library to choose
 * among the sets of instructions.
 *
 * @param watch    who follows; may be null.
 * @param context  handed to it.
 * @param isPassed [out] 1: all cases passed; 0: this installation must not be used.
 * @param record   [out] versions, machine, digests of the libraries, and what was wanted and found
 * of every case: JSON, UTF-8; the caller frees it. May be null.
 * @param page     [out] the same as a page to print and sign: HTML, UTF-8; the caller frees it. May
 *                 be null.
 * @param error    [out] why there is no result; may be null.
 * @return ZARNGI_HOST_OK, ZARNGI_HOST_REFUSED (the watcher ended it), ZARNGI_HOST_NO_MEMORY or
 *         ZARNGI_HOST_BAD_ARGUMENT. Unless it is ZARNGI_HOST_OK, nothing is given out.
 */
ZARNGI_HOST_API int zarnGIHost_selfTest(zarnGIHost_SelfTestWatch watch, void* context,
                                        int* isPassed, struct zarnGIHost_Bytes* record,
                                        struct zarnGIHost_Bytes* page,
                                        struct zarnGIHost_Error* error);

#ifdef __cplusplus
}
#endif

#endif
