/**
 * @file dicomDose.h
 * DICOM RT Dose files, read with GDCM.
 */
#ifndef ZARNGI_CLI_DICOMDOSE_H
#define ZARNGI_CLI_DICOMDOSE_H

#include <string>

#include "doseImage.h"

namespace cli
{

/**
 * Reads an RT Dose grid: stored values times Dose Grid Scaling, frames in the order and at the
 * positions of the Grid Frame Offset Vector, brought to the patient's axes.
 * @throws InputError for every other object, and for a dose without its units, scaling or geometry.
 */
DoseImage readDicomDose(const std::string& path);

} // namespace cli

#endif
