/**
 * @file diskSource.h
 * Doses, structures and plans from files on disk.
 */
#ifndef ZARNGI_COMPARISON_SOURCES_DISKSOURCE_H
#define ZARNGI_COMPARISON_SOURCES_DISKSOURCE_H

#include "comparison/doseSource.h"
#include "files/formats/dicom/study.h"

namespace zarngi
{

class DiskSource : public DoseSource
{
public:
    /**
     * @param unpackPixels of DICOM files of the JPEG families; may be empty.
     * @param isDigested whether digests are formed, which documents hold.
     * @param isDiscreet whether sentences quote nothing of what stands in files.
     */
    DiskSource(files::UnpackPixels unpackPixels, bool isDigested, bool isDiscreet = false);

    DoseImage dose(const std::string& name, const files::TableUnits& units) override;
    files::StructureSet structures(const std::string& name) override;
    files::Plan plan(const std::string& name) override;
    std::optional<files::Plan> planBeside(const std::string& dose,
                                          const std::string& sopInstance) override;
    std::pair<DoseImage, DoseImage> doses(const std::string& reference,
                                          const std::string& evaluation,
                                          const files::TableUnits& units) override;
    FileDigests digests() const override { return digests_; }
    bool isDiscreet() const override { return isDiscreet_; }
    /** Whose a DICOM file is, for RT Doses that belong beside it. @throws InputError */
    files::DicomStudy study(const std::string& name);

private:
    /** What the readers get, whose digests go into a map. */
    files::Host host(FileDigests& digests, const files::TableUnits& units = {}) const;
    DoseImage dose(const std::string& name, const files::TableUnits& units,
                   FileDigests& digests) const;

    files::UnpackPixels unpackPixels_;
    bool isDigested_;
    bool isDiscreet_;
    FileDigests digests_;
};

} // namespace zarngi

#endif
