#include "files/output/wholeFile.h"

#include <system_error>

#include "platform/paths.h"
#include "platform/systemError.h"
#include "platform/temporaryFile.h"

namespace files
{

Result<bool> writeWhole(const std::string& path, ByteView contents)
{
    return resultOf([&] {
        try {
            platform::TemporaryFile file(platform::pathOf(path).parent_path());
            file.write(asText(contents));
            file.renameTo(path);
        } catch (const std::system_error& error) {
            throw Refusal({FileError::Kind::system,
                           "cannot be written: " + platform::reasonOf(error.code()),
                           error.code().value()});
        }
        return true;
    });
}

} // namespace files
