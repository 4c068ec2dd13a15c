// Files of random contents given to the readers of the command-line program. Each ends in a dose
// that holds together or in one clear line of the program's own.
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "failure.h"
#include "readDose.h"

namespace
{

void require(bool condition, const char* what, const std::string& text = {})
{
    if (!condition) {
        std::fprintf(stderr, "violated: %s\n%s\n", what, text.c_str());
        std::abort();
    }
}

/** A folder for the files, in memory where the system has such a place; removed at the end. */
class Folder
{
public:
    Folder()
    {
        const bool hasMemory = access("/dev/shm", W_OK) == 0;
        std::string pattern = hasMemory ? "/dev/shm/zarngi-fuzz-XXXXXX" : "/tmp/zarngi-fuzz-XXXXXX";
        require(mkdtemp(pattern.data()) != nullptr, "a folder for the files");
        path_ = pattern;
        // For headers that name their data: the one file that lies beside them.
        write("dose.raw", std::string(600, '\x3f'));
    }
    ~Folder() { std::filesystem::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string write(const std::string& name, std::string_view contents) const
    {
        std::string path = path_ + "/" + name;
        std::ofstream(path, std::ios::binary)
            .write(contents.data(), static_cast<std::streamsize>(contents.size()));
        return path;
    }

private:
    std::string path_;
};

void checkDose(const cli::DoseImage& dose, std::size_t fileBytes)
{
    constexpr std::size_t bestCompression = 1032;
    constexpr std::size_t rawBytes = 600;
    const cli::Image& image = dose.image;
    require(image.values.size() == image.geometry.voxels(), "a value per voxel");
    require(image.values.size() <= std::max(rawBytes, fileBytes * bestCompression),
            "no voxel that the file does not tell");
    for (const float value : image.values) {
        require(std::isfinite(value), "doses are numbers");
    }
    for (std::size_t i = 0; i < 3; ++i) {
        require(image.geometry.size[i] > 0 && image.geometry.spacing[i] > 0 &&
                    std::isfinite(image.geometry.origin[i]),
                "a sensible grid");
    }
}

void checkRefusal(const std::string& text, const std::string& path)
{
    constexpr std::size_t longest = 500;
    const auto isControl = [](unsigned char c) { return c < ' ' || c == 0x7F; };
    require(text.starts_with(path + ": "), "the file is named", text);
    require(std::none_of(text.begin(), text.end(), isControl), "one line", text);
    require(text.size() < path.size() + longest, "a short line", text);
    // What readDose() says of exceptions that it does not know, and when memory is used up.
    require(!text.starts_with(path + ": cannot be read: "), "an error of our own", text);
    require(!text.starts_with(path + ": does not fit"), "small files fit in memory", text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const Folder folder;
    const std::string_view contents(reinterpret_cast<const char*>(bytes), size);
    const bool isZipped = contents.starts_with("\x1f\x8b");
    const std::string path = folder.write(isZipped ? "dose.nii.gz" : "dose.nii", contents);
    try {
        checkDose(cli::readDose(path), size);
    } catch (const cli::InputError& error) {
        checkRefusal(error.what(), path);
    }
    return 0;
}
