#include "cli/commands/convertCommand.h"

#include <iostream>
#include <utility>

#include "cli/commands/optionNames.h"
#include "cli/guard/unpackPixels.h"
#include "cli/output/outputs.h"
#include "comparison/conversion/conversion.h"
#include "comparison/sources/diskSource.h"
#include "comparison/text.h"
#include "files/nativeDeflate.h"

namespace zarngi
{

namespace
{

ConversionRequest requestOf(const ConvertOptions& options)
{
    ConversionRequest request;
    request.output = options.output;
    request.like = options.like;
    request.scale = options.scale;
    request.allowErrorDoses = options.allowErrorDoses;
    request.words = {"--like", "--scale"};
    return request;
}

void tellWarnings(const Conversion& conversion)
{
    for (const Sentence& warning : conversion.warnings()) {
        std::cerr << "zarngi: warning: " << oneLine(warning.text(programWording())) << '\n';
    }
}

} // namespace

ExitCode convert(const ConvertOptions& options)
{
    Conversion conversion(requestOf(options));
    OutputNames names;
    names.difference = options.output;
    names.checkFiles({options.input, options.like}, {});
    DiskSource source(unpackPixels, false);
    conversion.setDose(source.dose(options.input, options.units.parsed()));
    tellWarnings(conversion);
    names.checkFiles({conversion.dose().path, conversion.dose().dataPath}, {});
    if (!options.like.empty()) {
        conversion.setStudy(source.study(options.like));
    }
    OutputFile output(options.output);
    output.write(files::asText(std::move(conversion).file(files::nativeDeflate()).view()));
    return ExitCode::fine;
}

} // namespace zarngi
