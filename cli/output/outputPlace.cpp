#include "cli/output/outputPlace.h"

#include <filesystem>

#include "platform/console.h"
#include "platform/paths.h"

namespace zarngi
{

namespace fs = std::filesystem;

OutputPlace placeOf(const std::string& name)
{
    constexpr int mostLinks = 40; // as many as the system follows
    if (name == "-") {
        return {"standard output", "", platform::standardOutput, false};
    }
    fs::path path = platform::pathOf(name);
    for (int links = 0; links < mostLinks; ++links) {
        if (const int descriptor = platform::descriptorNamed(path); descriptor >= 0) {
            return {name, "", descriptor, false};
        }
        std::error_code noLink;
        const fs::path target = fs::read_symlink(path, noLink);
        if (noLink) {
            break;
        }
        path = path.parent_path() / target;
    }
    if (platform::isDeviceOrPipe(name)) {
        return {name, name, -1, false};
    }
    return {name, platform::textOf(path), -1, true};
}

std::optional<platform::FileIdentity> identityOf(const OutputPlace& place)
{
    return place.descriptor >= 0 ? platform::identityOf(place.descriptor)
                                 : platform::identityOfOutput(place.path);
}

} // namespace zarngi
