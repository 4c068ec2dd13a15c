#include "comparison/doseSource.h"

namespace zarngi
{

std::pair<DoseImage, DoseImage> DoseSource::doses(const std::string& reference,
                                                  const std::string& evaluation,
                                                  const files::TableUnits& units)
{
    DoseImage first = dose(reference, units);
    return {std::move(first), dose(evaluation, units)};
}

std::optional<files::Plan> DoseSource::planBeside(const std::string& /*dose*/,
                                                  const std::string& /*sopInstance*/)
{
    return {};
}

} // namespace zarngi
