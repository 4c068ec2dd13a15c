#include "files/output/wholeFile.h"

#include <filesystem>
#include <system_error>

#include "files/output/temporaryFile.h"

namespace files
{

Result<bool> writeWhole(const std::string& path, ByteView contents)
{
    return resultOf([&] {
        try {
            TemporaryFile file(std::filesystem::path(path).parent_path());
            file.write(asText(contents));
            file.renameTo(path);
        } catch (const std::system_error& error) {
            throw Refusal({FileError::Kind::system, "cannot be written: " + error.code().message(),
                           error.code().value()});
        }
        return true;
    });
}

} // namespace files
