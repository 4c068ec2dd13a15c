/**
 * @file doseSource.h
 * Where the doses, structures and plans of a comparison come from: files on disk, files that a page
 * keeps, arrays in memory.
 */
#ifndef ZARNGI_COMPARISON_DOSESOURCE_H
#define ZARNGI_COMPARISON_DOSESOURCE_H

#include <optional>
#include <string>
#include <utility>

#include "comparison/doseImage.h"
#include "comparison/fileDigest.h"
#include "files/host.h"
#include "files/plans/plan.h"
#include "files/structures/structureSet.h"

namespace zarngi
{

/** Gives what a request names; its functions throw InputError, whose sentence begins with the name.
 */
class DoseSource
{
public:
    virtual ~DoseSource() = default;

    /** @param units of tables that tell none */
    virtual DoseImage dose(const std::string& name, const files::TableUnits& units) = 0;
    virtual files::StructureSet structures(const std::string& name) = 0;
    virtual files::Plan plan(const std::string& name) = 0;
    /** The plan of a SOP Instance UID in the folder of a dose; none where a source has no folders.
     */
    virtual std::optional<files::Plan> planBeside(const std::string& dose,
                                                  const std::string& sopInstance);

    /** Both doses, the reference first; a source may read them at once. */
    virtual std::pair<DoseImage, DoseImage> doses(const std::string& reference,
                                                  const std::string& evaluation,
                                                  const files::TableUnits& units);

    /** Of all that was given so far, by the paths under which it was read; documents need them. */
    virtual FileDigests digests() const = 0;

    /** From now on doses come with the uncertainties that their files tell. */
    void keepUncertainty() { keepsUncertainty_ = true; }
    bool keepsUncertainty() const { return keepsUncertainty_; }

    /** Whether no warning quotes what stands in a file, as anonymous documents need it. */
    virtual bool isDiscreet() const { return false; }

private:
    bool keepsUncertainty_ = false;
};

} // namespace zarngi

#endif
