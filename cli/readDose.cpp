#include "readDose.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <new>

#include "dicomDose.h"
#include "failure.h"
#include "fileFormat.h"
#include "volumeFile.h"

namespace cli
{

namespace
{

void checkValues(const std::vector<float>& values)
{
    const auto isNumber = [](float value) { return std::isfinite(value); };
    if (!std::all_of(values.begin(), values.end(), isNumber)) {
        throw InputError("holds doses that are not finite numbers");
    }
}

DoseImage readIdentified(const std::string& path)
{
    const FileFormat format = identifyFormat(path);
    DoseImage dose = format == FileFormat::dicom ? readDicomDose(path) : readVolume(path, format);
    checkValues(dose.image.values);
    dose.path = path;
    dose.format = formatName(format);
    return dose;
}

} // namespace

DoseImage readDose(const std::string& path)
{
    try {
        return readIdentified(path);
    } catch (const InputError& error) {
        throw InputError(path + ": " + error.what());
    } catch (const std::bad_alloc&) {
        throw InputError(path + ": does not fit in memory");
    } catch (const std::exception& error) {
        throw InputError(path + ": cannot be read: " + error.what());
    }
}

} // namespace cli
