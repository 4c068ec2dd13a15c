#include "comparison/conversion/conversion.h"

#include <utility>

#include "comparison/composition/doseChecks.h"
#include "comparison/conversion/volumeFile.h"
#include "comparison/failure.h"

namespace zarngi
{

namespace
{

void checkNames(const ConversionRequest& request)
{
    if (!isWritableVolumeName(request.output)) {
        throw UsageError("output", request.output + ": does not end in " + writableEndings);
    }
    if (!request.like.empty() && !isDicomName(request.output)) {
        throw UsageError("like", request.words.like + " is for RT Doses, and " + request.output +
                                     " is none (.dcm)");
    }
}

DoseFactor factorOf(const ConversionRequest& request)
{
    if (request.scale.empty()) {
        return {};
    }
    try {
        return parseFactor({Member::evaluationScale}, request.scale);
    } catch (const UsageError& error) {
        throw UsageError("scale", Sentence(request.words.scale) + ": " + error.reason());
    }
}

const char* kindOf(const files::Measurement& measurement)
{
    switch (measurement.kind) {
    case files::Measurement::Kind::points:
        return "holds single points";
    case files::Measurement::Kind::plane:
        return "holds a plane";
    case files::Measurement::Kind::grid:
        break;
    }
    return "has places without a dose";
}

} // namespace

Conversion::Conversion(ConversionRequest request) : request_(std::move(request))
{
    checkNames(request_);
    factor_ = factorOf(request_);
}

void Conversion::setDose(DoseImage dose)
{
    if (!request_.allowErrorDoses) {
        checkIsDose(dose);
    }
    if (dose.measurement) {
        throw failureOf(dose.path, Sentence(kindOf(*dose.measurement)) + "; a volume is converted");
    }
    dose_ = std::move(dose);
}

std::vector<Sentence> Conversion::warnings() const
{
    std::vector<Sentence> warnings;
    addWarnings(warnings, dose_);
    return warnings;
}

files::RtDoseFacts Conversion::facts() const
{
    const bool isRelative = dose_.unit == DoseUnit::relative;
    // A factor makes gray of what a simulation counts in.
    const bool isGray = dose_.unit == DoseUnit::gray || (!isRelative && !request_.scale.empty());
    files::RtDoseFacts facts;
    facts.isRelative = !isGray;
    facts.isDifference = dose_.isError();
    if (!isGray && !isRelative) {
        facts.comment = std::string("in ") + files::unitName(dose_.unit);
    }
    facts.study = study_;
    return facts;
}

files::Bytes Conversion::file(const files::Deflate& deflate) &&
{
    std::vector<DoseImage> others;
    combine(dose_, others, factor_);
    return volumeFileOf(request_.output, dose_.image, facts(), deflate);
}

} // namespace zarngi
