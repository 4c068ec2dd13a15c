/**
 * @file keptFiles.h
 * The files of a page: what each is, and the values of those that are compared.
 */
#ifndef ZARNGI_WEB_ENGINE_KEPTFILES_H
#define ZARNGI_WEB_ENGINE_KEPTFILES_H

#include <set>
#include <string>

#include "comparison/documents/json.h"
#include "files/doseImage.h"
#include "files/formats/dicom/study.h"
#include "files/host.h"
#include "files/plans/plan.h"
#include "files/structures/structureSet.h"
#include "web/engine/keptValues.h"

namespace engine
{

/**
 * What was read is kept twice at most: as screens tell of it, whose messages quote what stands in
 * files, and as anonymous documents do, discreetly.
 */
class KeptFiles
{
public:
    /**
     * What a file is: `kind` is "dose", "structures", "plan", "mask" (a dose as well), "foreign"
     * (none of these) or "refused" with the `sentence` and the kind of `failure`; and what tells it
     * from others.
     * @param units of a table that tells none
     */
    zarngi::Json identify(const std::string& path, const files::TableUnits& units = {});

    /** @param units of a table that tells none. @throws zarngi::InputError */
    files::DoseImage dose(const std::string& path, const files::TableUnits& units,
                          bool isDiscreet = false);
    /** Valid until the next call. @throws zarngi::InputError */
    const files::StructureSet& structures(const std::string& path, bool isDiscreet);

    /** @throws zarngi::InputError */
    static files::Plan plan(const std::string& path, bool isDiscreet);

    /** Whose a DICOM file is. @throws zarngi::InputError */
    static files::DicomStudy study(const std::string& path);

    /** The files of a comparison: their values are kept until those of another one are used. */
    void use(const std::set<std::string>& paths, bool isDiscreet);

    /** A file has changed, or is not there any more. */
    void forget(const std::string& path);

private:
    struct Kept {
        KeptValues<files::DoseImage> doses;
        KeptValues<files::StructureSet> sets;

        void use(const std::set<std::string>& paths);
        void forget(const std::string& path);
    };

    Kept& of(bool isDiscreet) { return isDiscreet ? discreet_ : quoting_; }
    zarngi::Json identified(const std::string& path, const files::TableUnits& units);

    Kept quoting_;
    Kept discreet_;
};

} // namespace engine

#endif
