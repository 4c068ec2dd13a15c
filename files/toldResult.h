/**
 * @file toldResult.h
 * What readers say, as it leaves them: with excerpts of the file, or without.
 */
#ifndef ZARNGI_FILES_TOLDRESULT_H
#define ZARNGI_FILES_TOLDRESULT_H

#include <string>
#include <vector>

#include "files/doseImage.h"
#include "files/error.h"
#include "files/host.h"
#include "files/plans/plan.h"
#include "files/structures/structureSet.h"
#include "files/text.h"

namespace files
{

inline void tellAll(std::vector<std::string>& messages, bool quotes)
{
    for (std::string& message : messages) {
        message = told(message, quotes);
    }
}

inline void tell(DoseImage& dose, bool quotes)
{
    tellAll(dose.warnings, quotes);
    tellAll(dose.doubts, quotes);
}

inline void tell(StructureSet& set, bool quotes)
{
    tellAll(set.warnings, quotes);
    for (Structure& structure : set.structures) {
        structure.refusal = told(structure.refusal, quotes);
    }
}

inline void tell(Plan& plan, bool quotes)
{
    tellAll(plan.warnings, quotes);
}

/** What `make` reads for a host, or the error that it threw, with no mark of an excerpt left. */
template <class Make> auto toldResultOf(const Host& host, const Make& make)
{
    auto result = resultOf(make);
    if (!result) {
        FileError error = result.error();
        error.sentence = told(error.sentence, host.quotesFiles);
        return decltype(result)(std::move(error));
    }
    tell(*result, host.quotesFiles);
    return result;
}

} // namespace files

#endif
