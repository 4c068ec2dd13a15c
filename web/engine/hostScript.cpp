#include "web/engine/hostScript.h"

#include <emscripten.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <limits>

#include "comparison/fileDigest.h"

// clang-format off: the bodies are JavaScript.

// Streams: [status (0 ended, 1 full, 2 damaged), bytes taken, bytes made].
EM_JS(void, scriptInflate,
      (const void* packed, size_t size, void* buffer, size_t bufferSize, uint32_t* result), {
          const answer = Module.host.inflate(HEAPU8.subarray(packed, packed + size),
                                             HEAPU8.subarray(buffer, buffer + bufferSize));
          HEAPU32.set(answer, result >> 2);
      });

// What is made stays with the script until it is taken.
EM_JS(size_t, scriptDeflatedSize, (const void* plain, size_t size), {
    Module.made = Module.host.deflate(HEAPU8.subarray(plain, plain + size));
    return Module.made.length;
});

EM_JS(void, scriptBase64, (const void* bytes, size_t size, void* text),
      { Module.host.base64(HEAPU8.subarray(bytes, bytes + size), HEAPU8.subarray(text)); });

EM_JS(void, scriptSha256, (const void* bytes, size_t size, void* text),
      { Module.host.sha256(HEAPU8.subarray(bytes, bytes + size), HEAPU8.subarray(text)); });

// Bytes, or -1 where there is no such file.
EM_JS(double, scriptFileSize, (const char* path), {
    Module.found = Module.host.contents(UTF8ToString(path));
    return Module.found ? Module.found.size : -1;
});

// The file whose size was asked for; 0: it cannot be read, and the reason is what is made.
EM_JS(int, scriptReadFile, (void* buffer, size_t size), {
    try {
        Module.found.read(HEAPU8.subarray(buffer, buffer + size));
        return 1;
    } catch (error) {
        Module.made = new TextEncoder().encode(error.message);
        return 0;
    }
});

EM_JS(int, scriptHasFile, (const char* path),
      { return Module.host.has(UTF8ToString(path)) ? 1 : 0; });

EM_JS(size_t, scriptMadeSize, (), { return Module.made.length; });

EM_JS(void, scriptTakeMade, (void* buffer), {
    HEAPU8.set(Module.made, buffer);
    Module.made = null;
});

EM_JS(size_t, scriptHandedSize, (int which), { return Module.host.handed[which].length; });

EM_JS(void, scriptTakeHanded, (int which, void* place),
      { HEAPU8.set(Module.host.handed[which], place); });

EM_JS(void, scriptProgress, (const char* label, int shell, int limit, double share),
      { Module.host.progress(UTF8ToString(label), shell, limit, share); });

// clang-format on

namespace zarngi
{

FileDigest digestOf(std::span<const unsigned char> contents)
{
    std::string text(64, '\0');
    scriptSha256(contents.data(), contents.size(), text.data());
    return {contents.size(), text};
}

} // namespace zarngi

namespace engine
{

namespace
{

enum ScriptStatus : std::uint32_t { ended, full, damaged };

std::array<std::uint32_t, 3> inflated(files::ByteView packed, std::span<unsigned char> buffer)
{
    std::array<std::uint32_t, 3> answer{};
    scriptInflate(packed.data(), packed.size(), buffer.data(), buffer.size(), answer.data());
    return answer;
}

files::Unpacked unpack(files::ByteView packed, std::span<unsigned char> buffer)
{
    const auto [status, taken, made] = inflated(packed, buffer);
    using Status = files::Unpacked::Status;
    return {status == ended  ? Status::ended
            : status == full ? Status::full
                             : Status::damaged,
            taken, made};
}

std::size_t unpackBeginning(files::ByteView packed, std::span<unsigned char> buffer)
{
    return inflated(packed, buffer)[2];
}

files::Bytes takenFromScript(std::size_t size)
{
    files::Bytes bytes(size);
    scriptTakeMade(bytes.data());
    return bytes;
}

files::Bytes pack(files::ByteView plain)
{
    return takenFromScript(scriptDeflatedSize(plain.data(), plain.size()));
}

std::string base64(files::ByteView bytes)
{
    std::string text((bytes.size() + 2) / 3 * 4, '\0');
    scriptBase64(bytes.data(), bytes.size(), text.data());
    return text;
}

} // namespace

const files::Deflate& scriptDeflate()
{
    static constexpr files::Deflate codec = {unpack, unpackBeginning, pack};
    return codec;
}

const zarngi::PagePacking& scriptPacking()
{
    static const zarngi::PagePacking packing = {scriptDeflate(), base64};
    return packing;
}

files::Result<files::Bytes> contentsOf(const std::string& path)
{
    using Kind = files::FileError::Kind;
    const double size = scriptFileSize(path.c_str());
    if (size < 0) {
        return files::FileError{Kind::system, "no such file", ENOENT};
    }
    if (size > static_cast<double>(std::numeric_limits<std::size_t>::max())) {
        return files::FileError{Kind::outOfMemory, "does not fit in memory"};
    }
    files::Bytes bytes(static_cast<std::size_t>(size));
    if (scriptReadFile(bytes.data(), bytes.size()) == 0) {
        const files::Bytes reason = takenFromScript(scriptMadeSize());
        return files::FileError{Kind::system,
                                "cannot be read: " + std::string(files::asText(reason.view()))};
    }
    return bytes;
}

bool exists(const std::string& path)
{
    return scriptHasFile(path.c_str()) != 0;
}

std::size_t handedBytes(int which)
{
    return scriptHandedSize(which);
}

void takeHanded(int which, void* place)
{
    scriptTakeHanded(which, place);
}

void tellProgress(const zarngi::Criterion& criterion, const zarngi::SearchProgress& progress)
{
    scriptProgress(criterion.label().c_str(), progress.shell, progress.shellLimit, progress.share);
}

void tellWork(const std::string& title, double share)
{
    scriptProgress(title.c_str(), 0, 0, share);
}

} // namespace engine
