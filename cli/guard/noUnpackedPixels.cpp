// Where there is no program that unpacks JPEG.
#include "cli/guard/unpackPixels.h"

namespace zarngi
{

files::Result<files::Bytes> unpackPixels(files::ByteView /*file*/, std::size_t /*bytes*/)
{
    return files::FileError{files::FileError::Kind::notSupported,
                            "holds a dose packed as JPEG, which this build cannot unpack: have it "
                            "stored without compression"};
}

} // namespace zarngi
