/**
 * @file outputs.h
 * The files that a comparison, or the evaluation of one dose, writes.
 */
#ifndef ZARNGI_CLI_OUTPUT_OUTPUTS_H
#define ZARNGI_CLI_OUTPUT_OUTPUTS_H

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "cli/output/outputFile.h"
#include "comparison/comparison.h"
#include "comparison/documents/json.h"
#include "comparison/doseEvaluation.h"
#include "files/formats/dicom/encodeDose.h"

namespace zarngi
{

/** Names of the files to write; an empty name: not wanted. */
struct OutputNames {
    std::string gammaMap;
    std::string difference;
    std::string like; ///< a DICOM file, whose patient and study RT Doses get; empty: nobody's
    std::string json;
    std::string csv;
    std::string report;
    std::string request; ///< a protocol
    /** Of the pair in documents that say nothing of its files; empty: they name the files. */
    std::string alias;

    /** @throws UsageError for an unknown extension */
    void checkFormats() const;

    /**
     * Compares files, not names: links of both kinds are followed.
     * @throws UsageError when an output would overwrite another one or a file that is read.
     */
    void checkFiles(const std::vector<std::string>& inputs,
                    const std::vector<Criterion>& criteria) const;

    /** One per criterion, or none. */
    std::vector<std::string> gammaMaps(const std::vector<Criterion>& criteria) const;

    /** Beside gamma maps that cannot tell which voxels were tested: one per criterion, or none. */
    std::vector<std::string> testedMasks(const std::vector<Criterion>& criteria) const;

    /** Whether an RT Dose is written. */
    bool haveDicom() const;
};

/** The name for one of several gamma maps: "gamma.nii.gz" becomes "gamma-3G-2mm.nii.gz". */
std::string gammaMapName(const std::string& name, const Criterion& criterion);

/**
 * Writes an image in the format that the file's name tells, and commits.
 * @param facts of an RT Dose
 * @throws InputError
 */
void writeImage(OutputFile& file, const Image& image, const files::RtDoseFacts& facts = {});

/**
 * The outputs, prepared before the computation and filled after it. An output on standard output
 * has it alone: from then on, what else is printed there goes to standard error.
 */
class Outputs
{
public:
    /** @throws InputError when an output cannot be written. */
    Outputs(const OutputNames& names, const std::vector<Criterion>& criteria);

    /** Writes and names all files. @throws InputError */
    void write(const Comparison& comparison);
    /** Document, table and page of one dose. @throws InputError */
    void write(const DoseEvaluation& evaluation);

private:
    bool useStandardOutput() const;
    Json recordFor(const Comparison& comparison, const OutputFile& file) const;

    void writeGamma(std::size_t index, const Comparison& comparison);

    std::deque<OutputFile> gammaMaps_;   ///< one per criterion, or none
    std::deque<OutputFile> testedMasks_; ///< one per gamma map, or none
    std::optional<OutputFile> difference_;
    files::DicomStudy study_; ///< of RT Doses
    std::optional<OutputFile> json_;
    std::optional<OutputFile> csv_;
    std::optional<OutputFile> report_;
    std::optional<OutputFile> request_;
    std::optional<std::string> alias_;
};

} // namespace zarngi

#endif
