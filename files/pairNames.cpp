#include "files/pairNames.h"

#include <initializer_list>

#include "files/error.h"
#include "files/text.h"
#include "platform/paths.h"

namespace files
{

namespace
{

/** The path without one of the endings, in any case, or nothing where it has none of them. */
std::optional<std::string> stemOf(const std::string& path,
                                  std::initializer_list<std::string_view> endings)
{
    for (const std::string_view ending : endings) {
        if (lowerCase(path).ends_with(ending)) {
            return path.substr(0, path.size() - ending.size());
        }
    }
    return {};
}

std::optional<std::string> firstThatIsThere(const std::string& stem,
                                            std::initializer_list<const char*> endings,
                                            const Exists& exists)
{
    for (const char* const ending : endings) {
        if (exists(stem + ending)) {
            return stem + ending;
        }
    }
    return {};
}

/** As much of a path as a sentence shows. */
std::string nameOf(const std::string& path)
{
    return excerpt(platform::nameOf(path));
}

} // namespace

std::optional<std::string> headerBeside(const std::string& path, const Exists& exists)
{
    const std::optional<std::string> stem = stemOf(path, {".img", ".img.gz"});
    return stem ? firstThatIsThere(*stem, {".hdr", ".hdr.gz", ".HDR"}, exists) : std::nullopt;
}

std::string dataOfPair(const std::string& header, const Exists& exists)
{
    const std::optional<std::string> stem = stemOf(header, {".hdr", ".hdr.gz"});
    if (!stem) {
        refuseUnsupported(
            "is the header of a NIfTI pair but not named .hdr, which tells where its data are");
    }
    return firstThatIsThere(*stem, {".img", ".img.gz", ".IMG"}, exists).value_or(*stem + ".img");
}

std::string pathBeside(const std::string& header, const std::string& name)
{
    if (name.find('\0') != std::string::npos) {
        refuseDamaged("its data file " + excerpt(name) + " is missing");
    }
    return platform::textOf(platform::pathOf(header).parent_path() / platform::pathOf(name));
}

std::string sentenceAboutData(const std::string& path, const std::string& reason)
{
    return "its data file " + nameOf(path) + (reason.empty() ? " is missing" : " " + reason);
}

} // namespace files
