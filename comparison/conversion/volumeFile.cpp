#include "comparison/conversion/volumeFile.h"

#include <string_view>
#include <utility>

#include "comparison/comparison.h"
#include "comparison/failure.h"
#include "comparison/fileDigest.h"
#include "comparison/gammaRun.h"
#include "files/encodeVolume.h"
#include "files/text.h"

namespace zarngi
{

namespace
{

/** The decimal digits of a number of hexadecimal ones. */
std::string decimalOf(std::string_view hexadecimal)
{
    std::string digits = "0"; // the lowest one first
    for (const char c : hexadecimal) {
        auto carry = static_cast<unsigned>(c <= '9' ? c - '0' : c - 'a' + 10);
        for (char& digit : digits) {
            const unsigned value = static_cast<unsigned>(digit - '0') * 16 + carry;
            digit = static_cast<char>('0' + value % 10);
            carry = value / 10;
        }
        for (; carry > 0; carry /= 10) {
            digits += static_cast<char>('0' + carry % 10);
        }
    }
    return {digits.rbegin(), digits.rend()};
}

/** A UID made of a UUID, and that of a digest (RFC 9562, version 8). */
std::string uidOf(const std::string& contents)
{
    const std::string_view bytes = contents;
    std::string uuid =
        digestOf({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()})
            .sha256.substr(0, 32);
    uuid[12] = '8';
    uuid[16] = '9';
    return "2.25." + decimalOf(uuid);
}

std::string fingerprintOf(const Image& image, const files::RtDoseFacts& facts)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(image.values.data());
    std::string text = digestOf({bytes, image.values.size() * sizeof(float)}).sha256;
    for (const Vec3* const list : {&image.geometry.spacing, &image.geometry.origin}) {
        for (const double value : *list) {
            text.append(" ").append(files::exactNumber(value));
        }
    }
    for (const std::string& part : {files::join(image.geometry.size, " "), facts.comment,
                                    facts.study.instance, facts.study.patientId}) {
        text.append(" ").append(part);
    }
    return text;
}

void setMissing(std::string& uid, const std::string& contents)
{
    if (uid.empty()) {
        uid = uidOf(contents);
    }
}

files::Result<files::Bytes> rtDoseOf(const Image& image, files::RtDoseFacts facts)
{
    const std::string fingerprint = fingerprintOf(image, facts);
    facts.version = projectVersion();
    setMissing(facts.sopInstance, "instance " + fingerprint);
    setMissing(facts.seriesInstance, "series " + fingerprint);
    setMissing(facts.study.instance, "study " + fingerprint);
    setMissing(facts.study.frameOfReference, "frame " + fingerprint);
    setMissing(facts.study.plan, "plan " + fingerprint);
    return files::encodeRtDose(image, facts);
}

/** A format that cannot hold doses is no fault of a file. */
FailureKind kindOfUnwritten(const files::FileError& error)
{
    return kindOf(error) == FailureKind::memory ? FailureKind::memory : FailureKind::pair;
}

} // namespace

bool isDicomName(const std::string& path)
{
    return files::lowerCase(path).ends_with(".dcm");
}

bool isWritableVolumeName(const std::string& path)
{
    return isDicomName(path) || files::volumeFormatOf(path).has_value();
}

files::Bytes volumeFileOf(const std::string& name, const Image& image, files::RtDoseFacts facts,
                          const files::Deflate& deflate, std::string_view unit)
{
    if (!isWritableVolumeName(name)) {
        throw InputError(name + ": does not end in " + writableEndings);
    }
    files::Result<files::Bytes> file =
        isDicomName(name) ? rtDoseOf(image, std::move(facts))
                          : files::encodeImage(*files::volumeFormatOf(name), image, deflate, unit);
    if (!file) {
        throw failureOf(name, Sentence(file.error().sentence), kindOfUnwritten(file.error()));
    }
    return std::move(*file);
}

} // namespace zarngi
