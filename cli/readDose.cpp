#include "readDose.h"

#include "failure.h"
#include "files/readDose.h"
#include "files/zlibDeflate.h"
#include "guard/unpackPixels.h"

namespace cli
{

DoseImage readDose(const std::string& path, const WatchFile& watch)
{
    const files::Host host{files::zlibDeflate(), unpackPixels, watch};
    files::Result<DoseImage> dose = files::readDoseFile(path, host);
    if (!dose) {
        throw InputError(path + ": " + dose.error().sentence);
    }
    return std::move(*dose);
}

} // namespace cli
