#include "comparison/selfTest/installation.h"

#include "files/error.h"
#include "files/sourceFile.h"
#include "libZarnGI.h"
#include "platform/machine.h"
#include "platform/paths.h"

namespace zarngi
{

Installation thisInstallation(std::vector<std::string> paths)
{
    Installation installation{platform::systemName(), platform::processorName(), {}};
    paths.push_back(platform::fileOfCode(reinterpret_cast<const void*>(&zarnGI_init)));
    for (const std::string& path : paths) {
        const auto contents = files::resultOf([&] { return files::readDataFile(path); });
        if (contents) {
            installation.files.push_back({platform::nameOf(path), digestOf(contents->view())});
        }
    }
    return installation;
}

} // namespace zarngi
