#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "comparison/documents/csv.h"
#include "comparison/documents/doseJson.h"
#include "comparison/documents/json.h"
#include "comparison/documents/nativePagePacking.h"
#include "comparison/documents/protocols.h"
#include "comparison/documents/record.h"
#include "comparison/documents/reportPage.h"
#include "comparison/documents/requestJson.h"
#include "comparison/failure.h"
#include "host/calls.h"
#include "host/comparison.h"

using host::refuseArgument;

namespace
{

constexpr const char* nullArgument = "a required pointer is null";

/** What a null pointer means: everything is told. */
std::optional<std::string> aliasOf(const char* alias)
{
    return alias != nullptr ? std::optional<std::string>(alias) : std::nullopt;
}

/** Hands the text that `make` makes to the caller. */
template <class Make> int handText(zarnGIHost_Bytes* out, zarnGIHost_Error* error, const Make& make)
{
    return host::guarded(error, [&] {
        try {
            const std::string text = make();
            return host::hand({reinterpret_cast<const unsigned char*>(text.data()), text.size()},
                              out);
        } catch (const zarngi::Refusal& failure) {
            return host::report({files::FileError::Kind::notSupported, failure.what()}, error);
        }
    });
}

/** Describes values on the grid of the reference. @return a status */
int describe(const zarngi::Comparison& comparison, const void* values, int type,
             zarnGIHost_Volume* map)
{
    const zarngi::Geometry& grid = comparison.reference.image.geometry;
    std::copy(grid.size.begin(), grid.size.end(), map->size);
    std::copy(grid.spacing.begin(), grid.spacing.end(), map->spacing);
    std::copy(grid.origin.begin(), grid.origin.end(), map->origin);
    map->type = type;
    map->values = values;
    return ZARNGI_HOST_OK;
}

bool hasMaps(const zarngi::CriterionResult& result)
{
    return !result.gamma.empty();
}

bool hasMaps(const zarnGIHost_Comparison* comparison, std::size_t criterion)
{
    return comparison != nullptr && criterion < comparison->value->results.size() &&
           hasMaps(comparison->value->results[criterion]);
}

/** Describes a map of a criterion. @return a status */
template <class Value>
int handMap(const zarnGIHost_Comparison* comparison, std::size_t criterion,
            files::LargeVector<Value> zarngi::CriterionResult::*values, int type,
            zarnGIHost_Volume* map)
{
    if (map == nullptr || !hasMaps(comparison, criterion)) {
        return ZARNGI_HOST_BAD_ARGUMENT;
    }
    const zarngi::Comparison& shown = *comparison->value;
    return describe(shown, (shown.results[criterion].*values).data(), type, map);
}

} // namespace

struct zarnGIHost_Map {
    files::LargeVector<float> values;
};

int zarnGIHost_defaultRequest(zarnGIHost_Bytes* json, zarnGIHost_Error* error)
{
    if (json == nullptr) {
        return refuseArgument(nullArgument, error);
    }
    return handText(json, error, [] {
        return zarngi::toText(zarngi::requestJson(zarngi::Request()), 2) + "\n";
    });
}

int zarnGIHost_listProtocols(zarnGIHost_Bytes* json, zarnGIHost_Error* error)
{
    if (json == nullptr) {
        return refuseArgument(nullArgument, error);
    }
    return handText(json, error, [] { return zarngi::toText(zarngi::protocolsJson(), 2) + "\n"; });
}

int zarnGIHost_readProtocol(const char* text, size_t size, zarnGIHost_Bytes* json,
                            zarnGIHost_Error* error)
{
    if (text == nullptr || json == nullptr) {
        return refuseArgument(nullArgument, error);
    }
    return handText(json, error, [&] {
        const std::string_view given(text, size);
        const bool isDocument = given.find('{') != given.npos;
        const zarngi::Request request =
            isDocument ? zarngi::protocolOfText(given, "protocol") : zarngi::shippedProtocol(given);
        return zarngi::toText(zarngi::requestJson(request), 2) + "\n";
    });
}

int zarnGIHost_getRecord(const zarnGIHost_Comparison* comparison, const char* alias,
                         zarnGIHost_Bytes* json, zarnGIHost_Error* error)
{
    if (comparison == nullptr || json == nullptr) {
        return refuseArgument(nullArgument, error);
    }
    return handText(json, error, [&] {
        return zarngi::toText(comparisonJson(*comparison->value, aliasOf(alias)), 2) + "\n";
    });
}

int zarnGIHost_getCsv(const zarnGIHost_Comparison* comparison, const char* alias,
                      zarnGIHost_Bytes* csv, zarnGIHost_Error* error)
{
    if (comparison == nullptr || csv == nullptr) {
        return refuseArgument(nullArgument, error);
    }
    return handText(csv, error, [&] { return comparisonCsv(*comparison->value, aliasOf(alias)); });
}

int zarnGIHost_getPage(const zarnGIHost_Comparison* comparison, const char* pageTemplate,
                       size_t size, const char* alias, zarnGIHost_Bytes* page,
                       zarnGIHost_Error* error)
{
    if (comparison == nullptr || pageTemplate == nullptr || page == nullptr) {
        return refuseArgument(nullArgument, error);
    }
    const std::string_view text(pageTemplate, size);
    if (!zarngi::isPageTemplate(text)) {
        return refuseArgument("the page has no place for its data", error);
    }
    const zarngi::Comparison& shown = *comparison->value;
    if (shown.results.empty() || !std::all_of(shown.results.begin(), shown.results.end(),
                                              [](const auto& one) { return hasMaps(one); })) {
        return refuseArgument("the search has not been made, or a map was taken", error);
    }
    return handText(page, error, [&] {
        return reportPage(shown, comparisonJson(shown, aliasOf(alias)), text,
                          zarngi::nativePagePacking());
    });
}

int zarnGIHost_getGamma(const zarnGIHost_Comparison* comparison, size_t criterion,
                        zarnGIHost_Volume* map)
{
    return handMap(comparison, criterion, &zarngi::CriterionResult::gamma, ZARNGI_HOST_FLOAT, map);
}

int zarnGIHost_getPassed(const zarnGIHost_Comparison* comparison, size_t criterion,
                         zarnGIHost_Volume* map)
{
    return handMap(comparison, criterion, &zarngi::CriterionResult::passed, ZARNGI_HOST_UINT8, map);
}

int zarnGIHost_getExplainedGamma(const zarnGIHost_Comparison* comparison, zarnGIHost_Volume* map)
{
    if (comparison == nullptr || map == nullptr || !comparison->value->explanation) {
        return ZARNGI_HOST_BAD_ARGUMENT;
    }
    const zarngi::Comparison& shown = *comparison->value;
    return describe(shown, shown.explanation->after.gamma.data(), ZARNGI_HOST_FLOAT, map);
}

int zarnGIHost_takeGamma(zarnGIHost_Comparison* comparison, size_t criterion, zarnGIHost_Map** map,
                         zarnGIHost_Volume* described)
{
    if (map == nullptr || described == nullptr || !hasMaps(comparison, criterion) ||
        comparison->own == nullptr) {
        return ZARNGI_HOST_BAD_ARGUMENT;
    }
    return host::guarded(nullptr, [&] {
        files::LargeVector<float>& gamma = comparison->own->results[criterion].gamma;
        *map = new zarnGIHost_Map{std::move(gamma)};
        gamma.clear();
        return describe(*comparison->value, (*map)->values.data(), ZARNGI_HOST_FLOAT, described);
    });
}

void zarnGIHost_freeMap(zarnGIHost_Map* map)
{
    delete map;
}
