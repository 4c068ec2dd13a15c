#include "comparison/conversion/conversion.h"

#include <string>
#include <utility>

#include "comparison/documents/doseJson.h"
#include "comparison/documents/warningsJson.h"
#include "comparison/failure.h"
#include "comparison/sources/diskSource.h"
#include "comparison/sources/inputFiles.h"
#include "files/nativeDeflate.h"
#include "files/output/wholeFile.h"
#include "host/calls.h"
#include "host/refusals.h"

namespace
{

std::string textOf(const char* text)
{
    return text == nullptr ? std::string() : text;
}

zarngi::ConversionRequest requestOf(const zarnGIHost_Conversion& asked)
{
    zarngi::ConversionRequest request;
    request.output = asked.output;
    request.like = textOf(asked.like);
    request.scale = textOf(asked.scale);
    request.allowErrorDoses = asked.allowErrorDoses != 0;
    request.words = {host::wordOf(asked.words, "like"), host::wordOf(asked.words, "scale")};
    return request;
}

/** With what it is given. */
zarngi::Conversion conversionOf(const zarnGIHost_Conversion& asked)
{
    zarngi::ConversionRequest request = requestOf(asked);
    zarngi::Conversion conversion(request);
    zarngi::InputFiles({asked.input, request.like}).checkIsNone(request.output);
    zarngi::DiskSource source({}, false, !host::areExcerptsShown());
    conversion.setDose(source.dose(asked.input, host::readerHost(asked.told).units));
    const zarngi::DoseImage& dose = conversion.dose();
    zarngi::InputFiles({dose.path, dose.dataPath}).checkIsNone(request.output);
    if (!request.like.empty()) {
        conversion.setStudy(source.study(request.like));
    }
    return conversion;
}

void write(const std::string& path, const files::Bytes& file)
{
    const files::Result<bool> written = files::writeWhole(path, file.view());
    if (!written) {
        throw zarngi::failureOf(path, written.error());
    }
}

} // namespace

int zarnGIHost_convert(const zarnGIHost_Conversion* conversion, zarnGIHost_Bytes* warnings,
                       zarnGIHost_Refusal* refusal)
{
    if (refusal != nullptr) {
        *refusal = {};
    }
    if (conversion == nullptr || conversion->input == nullptr || conversion->output == nullptr) {
        return host::refuse(refusal, ZARNGI_HOST_REFUSAL_ARGUMENT, "a required pointer is null");
    }
    zarngi::Wording wording = zarngi::plainWording();
    return host::guarded(refusal, wording, [&] {
        wording = host::wordingOf(conversion->words);
        zarngi::Conversion made = conversionOf(*conversion);
        const std::string told =
            zarngi::toText(zarngi::warningsJson(made.warnings(), wording), 2) + "\n";
        write(conversion->output, std::move(made).file(files::nativeDeflate()));
        return warnings == nullptr
                   ? static_cast<int>(ZARNGI_HOST_OK)
                   : host::hand({reinterpret_cast<const unsigned char*>(told.data()), told.size()},
                                warnings);
    });
}
