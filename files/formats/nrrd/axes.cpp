#include "files/formats/nrrd/axes.h"

#include <algorithm>

#include "files/error.h"
#include "files/text.h"

namespace files::nrrd
{

namespace
{

/** The axis of the kind "list", if there is one. */
std::optional<std::size_t> listAxis(const Header& header, std::size_t axes)
{
    const std::string* const entry = header.find("kinds");
    const std::vector<std::string> kinds =
        entry == nullptr ? std::vector<std::string>{} : itemsOf(lowerCase(*entry), '"', '"');
    const auto list = std::find(kinds.begin(), kinds.end(), "list");
    if (list == kinds.end() || kinds.size() != axes) {
        return {};
    }
    return static_cast<std::size_t>(list - kinds.begin());
}

} // namespace

Axes axesOf(const Header& header, Lists lists)
{
    Axes axes;
    axes.sizes = wholeNumbersOf(header.need("sizes"), "a grid size");
    const std::string& dimension = header.need("dimension");
    if (wholeNumbersOf(dimension, "a number of dimensions", 1)[0] !=
        static_cast<std::int64_t>(axes.sizes.size())) {
        refuseEntry("a number of dimensions", dimension);
    }
    if (axes.sizes.size() < 3) {
        volumeSize(axes.sizes);
    }
    if (const std::string* const units = header.find("units")) {
        axes.units = itemsOf(*units, '"', '"');
        if (axes.units.size() != axes.sizes.size()) {
            refuseEntry("units", *units);
        }
    }
    if (lists == Lists::layers) {
        axes.layers = listAxis(header, axes.sizes.size());
    }
    return axes;
}

std::array<std::size_t, 3> pickAxes(const Axes& axes,
                                    const std::function<bool(std::size_t axis)>& isSpatial)
{
    std::vector<std::size_t> picked;
    for (std::size_t i = 0; i < axes.sizes.size(); ++i) {
        const bool isOne = axes.sizes[i] == 1;
        if (isSpatial(i) && i != axes.layers && !(picked.size() == 3 && isOne)) {
            picked.push_back(i);
        } else if (!axes.mayBeNone(i)) {
            refuseUnsupported("has " + std::to_string(axes.sizes[i]) +
                              " values per voxel instead of one dose");
        }
    }
    if (picked.size() != 3) {
        refuseUnsupported("is not three-dimensional but " + std::to_string(picked.size()) +
                          "-dimensional");
    }
    return {picked[0], picked[1], picked[2]};
}

} // namespace files::nrrd
