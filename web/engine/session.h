/**
 * @file session.h
 * What a page does with its files: one comparison at a time, and all that can be had from it.
 */
#ifndef ZARNGI_WEB_ENGINE_SESSION_H
#define ZARNGI_WEB_ENGINE_SESSION_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "comparison/compare.h"
#include "comparison/documents/json.h"
#include "web/engine/keptFiles.h"
#include "web/engine/output.h"
#include "web/engine/testedMaps.h"

namespace engine
{

/**
 * Answers calls; messages.ts has their members. Binary answers stay in output() until the next
 * call.
 */
class Session
{
public:
    /** @throws zarngi::InputError, zarngi::UsageError */
    zarngi::Json answer(const zarngi::Json& call);

    files::ByteView output() const { return output_.bytes(); }

private:
    using Json = zarngi::Json;

    Json request(const Json& call);
    Json compare(const Json& call);
    void begin(const zarngi::Request& request, const Json& call);
    std::optional<Json> step(const std::string& what, const Json& call);
    Json goOn();
    void endSteps();
    Json nextPart();
    Json partDoses(const Json& call);
    void takePart(const Json& call);
    Json searchedPart(const Json& call);
    Json compared();
    void takeMaps(const zarngi::Comparison& comparison, zarngi::CriterionResult& result);
    Json testedGammas(const Json& call);
    Output gammas(std::size_t criterion) const;
    std::vector<std::int16_t> storedGammas(std::size_t criterion) const;
    Json rates(const Json& call);
    Json values(const Json& call);
    Json volume(const Json& call);
    Json structure(const Json& call);
    Json document(const Json& call);
    Json convert(const Json& call);
    Json example(const Json& call);
    Json selfTest(const Json& call);
    Json withOutput(Output output, Json answer = Json::object());

    KeptFiles files_;
    std::unique_ptr<zarngi::ComparisonInSteps> steps_; ///< that is under way
    std::unique_ptr<zarngi::GammaSearch> search_;      ///< its search that is made in parts
    Json begun_;                                       ///< the call that began it
    int searchers_ = 1;                                ///< engines that have searched for it
    zarngi::Comparison comparison_;
    std::vector<TestedMaps> maps_;     ///< of each result, where it keeps none itself
    Json decisive_;                    ///< what decides its results
    std::optional<std::string> alias_; ///< of anonymous documents; none: they name the files
    Json record_;
    Output output_;
};

} // namespace engine

#endif
