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

DoseUnit Conversion::unit() const
{
    const bool isMadeGray = files::needsFactor(dose_.unit) && !request_.scale.empty();
    return isMadeGray ? DoseUnit::gray : dose_.unit;
}

const char* Conversion::toldUnit() const
{
    const bool isAssumed = !dose_.tellsUnit && unit() == dose_.unit;
    return isAssumed || dose_.isError() ? "" : files::unitName(unit());
}

files::RtDoseFacts Conversion::facts() const
{
    const DoseUnit unit = this->unit();
    files::RtDoseFacts facts;
    facts.isRelative = unit != DoseUnit::gray;
    facts.isDifference = dose_.isError();
    if (files::needsFactor(unit)) {
        facts.comment = std::string("in ") + files::unitName(unit);
    }
    facts.study = study_;
    return facts;
}

files::Bytes Conversion::file(const files::Deflate& deflate) &&
{
    std::vector<DoseImage> others;
    combine(dose_, others, factor_);
    return volumeFileOf(request_.output, dose_.image, facts(), deflate, toldUnit());
}

} // namespace zarngi
