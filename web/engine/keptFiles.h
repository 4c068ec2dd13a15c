/**
 * @file keptFiles.h
 * The files of a page, read once and kept.
 */
#ifndef ZARNGI_WEB_ENGINE_KEPTFILES_H
#define ZARNGI_WEB_ENGINE_KEPTFILES_H

#include <nlohmann/json_fwd.hpp>

#include <map>
#include <string>

#include "files/doseImage.h"
#include "files/structures/structureSet.h"

namespace engine
{

class KeptFiles
{
public:
    /**
     * What a file is: `kind` is "dose", "structures", "mask" (which is a dose as well), "foreign"
     * (none of these) or "refused" with the `sentence`; and what tells it from others.
     */
    nlohmann::ordered_json identify(const std::string& path);

    /** @throws zarngi::InputError */
    const files::DoseImage& dose(const std::string& path);
    /** @throws zarngi::InputError */
    const files::StructureSet& structures(const std::string& path);

    /** A file has changed, or is not there any more. */
    void forget(const std::string& path);

private:
    std::map<std::string, files::DoseImage> doses_;
    std::map<std::string, files::StructureSet> sets_;
};

} // namespace engine

#endif
