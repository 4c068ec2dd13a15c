/**
 * @file outputs.h
 * The files that a comparison writes.
 */
#ifndef ZARNGI_CLI_OUTPUTS_H
#define ZARNGI_CLI_OUTPUTS_H

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "comparison.h"
#include "outputFile.h"

namespace cli
{

/** Names of the files to write; an empty name: not wanted. */
struct OutputNames {
    std::string gammaMap;
    std::string json;
    std::string csv;
    std::string report;

    /** @throws UsageError for an unknown extension, or one name for two files or for an input. */
    void check(const std::string& reference, const std::string& evaluation) const;
};

/** The name for one of several gamma maps: "gamma.nii.gz" becomes "gamma-3G-2mm.nii.gz". */
std::string gammaMapName(const std::string& name, const Criterion& criterion);

/** Writes an image in the format that the file's name tells, and commits. @throws InputError */
void writeImage(OutputFile& file, const Image& image);

/** The files, opened under temporary names before the computation and filled after it. */
class Outputs
{
public:
    /** @throws InputError when a file cannot be created. */
    Outputs(const OutputNames& names, const std::vector<Criterion>& criteria);

    /** Writes and names all files. @throws InputError */
    void write(const Comparison& comparison);

private:
    std::deque<OutputFile> gammaMaps_; ///< one per criterion, or none
    std::optional<OutputFile> json_;
    std::optional<OutputFile> csv_;
    std::optional<OutputFile> report_;
};

} // namespace cli

#endif
