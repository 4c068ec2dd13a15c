#include "comparison/gammaSearch.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <numeric>
#include <stdexcept>
#include <string>

#include "comparison/failure.h"
#include "comparison/libraryCalls.h"
#include "libZarnGI.h"

namespace zarngi
{

namespace
{

constexpr float notTested = -1;

/** Of a reference without a dose above 0, which the library takes for no normalisation. */
bool hasNothingAbove(const GammaSettings& settings)
{
    return settings.normalisation && !(*settings.normalisation > 0);
}

/**
 * Whether parts give what the whole gives: each finds the normalisation, no rotation is drawn for
 * each of them, and the library tells of one search.
 */
bool canBeParted(const GammaSettings& settings)
{
    return settings.normalisation && !settings.rotate && settings.verbose == 0;
}

/** Parts whose records stay near the processor, each of which is worth its preparation. */
std::vector<PlaneRange> partsOf(const Geometry& reference, const GammaSettings& settings)
{
    constexpr std::size_t voxels = std::size_t{1} << 21;
    const std::size_t plane = reference.voxels() / static_cast<std::size_t>(reference.size[2]);
    const auto most = static_cast<int>(std::max<std::size_t>(voxels / plane, 1));
    const int planes = reference.size[2];
    if (reference.voxels() <= largestWhole || planes <= most || !canBeParted(settings)) {
        return {{0, planes}};
    }
    const int count = (planes + most - 1) / most;
    std::vector<PlaneRange> parts;
    for (int i = 0; i < count; ++i) {
        const int first = static_cast<int>(std::int64_t{planes} * i / count);
        const int behind = static_cast<int>(std::int64_t{planes} * (i + 1) / count);
        parts.push_back({first, behind - first});
    }
    return parts;
}

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/** In lanes of bytes, which are summed before one of them is full. */
std::size_t countOf(unsigned char wanted, std::span<const unsigned char> verdicts)
{
    constexpr std::size_t lanes = 64;
    constexpr std::size_t most = 255;
    std::size_t total = 0;
    while (verdicts.size() >= lanes) {
        std::array<unsigned char, lanes> counts{};
        const std::size_t rows = std::min(verdicts.size() / lanes, most);
        for (std::size_t row = 0; row < rows; ++row) {
            for (std::size_t lane = 0; lane < lanes; ++lane) {
                const bool isMeant = verdicts[row * lanes + lane] == wanted;
                counts[lane] = static_cast<unsigned char>(counts[lane] + isMeant);
            }
        }
        total = std::accumulate(counts.begin(), counts.end(), total);
        verdicts = verdicts.subspan(rows * lanes);
    }
    return total + static_cast<std::size_t>(std::count(verdicts.begin(), verdicts.end(), wanted));
}

/** The context of the library's callback. */
struct Watcher {
    const WatchSearch& watch;
    std::size_t done; ///< parts
    std::size_t parts;
    bool hasEnded = false;

    SearchProgress progressOf(const zarnGI_progress& told) const
    {
        if (parts == 1) {
            return {told.shell, told.shellLimit, told.share};
        }
        // Nearly all of the work of a part is its first shell.
        const double share = told.shell == 1 ? told.share : 1;
        return {1, 1, (static_cast<double>(done) + share) / static_cast<double>(parts)};
    }
};

int tellWatcher(const zarnGI_progress* progress, void* context)
{
    Watcher& watcher = *static_cast<Watcher*>(context);
    watcher.hasEnded = !watcher.watch(watcher.progressOf(*progress));
    return watcher.hasEnded ? 1 : 0;
}

} // namespace

GammaSearch::GammaSearch(const GammaRun& run, const GammaSettings& settings,
                         const Criterion& criterion)
    : settings_(settings), criterion_(criterion)
{
    const Geometry& reference = run.reference();
    plane_ = reference.voxels() / static_cast<std::size_t>(reference.size[2]);
    if (hasNothingAbove(settings)) {
        map_.values.assign(reference.voxels(), notTested);
        map_.passed.assign(reference.voxels(), ZARNGI_NOT_TESTED);
        return;
    }
    setParameters(settings, criterion);
    parts_ = partsOf(reference, settings);
    map_.values.resize(reference.voxels());
    map_.passed.resize(reference.voxels());
}

GammaSearch::~GammaSearch()
{
    zarnGI_setProgress(nullptr, nullptr);
    if (parts_.size() > 1) {
        zarnGI_setTestedPlanes(0, 0);
    }
}

void GammaSearch::search(PlaneRange part, const WatchSearch& watch)
{
    const std::string label = criterion_.label();
    if (parts_.size() > 1) {
        require(zarnGI_setTestedPlanes(part.first, part.count), label);
    }
    const GammaPlace place(map_.values.data(), label);
    Watcher watcher{watch, done_, parts_.size()};
    require(zarnGI_setProgress(watch ? tellWatcher : nullptr, &watcher), "the library");
    const auto start = std::chrono::steady_clock::now();
    const int status = zarnGI_startComputation();
    if (watcher.hasEnded) {
        throw InputError(label + ": the computation was interrupted", FailureKind::interrupted);
    }
    require(status, label);
    map_.seconds += secondsSince(start);
    require(zarnGI_getPassed3DMap(map_.passed.data()), label);
    if (parts_.size() > 1) {
        count(part);
    } else {
        float passRate = 0;
        require(zarnGI_getGammaIndexPassRate(&passRate), label);
        map_.passRate = static_cast<double>(passRate);
    }
    ++done_;
}

void GammaSearch::searchRest(const WatchSearch& watch)
{
    while (hasNext()) {
        search(next(), watch);
    }
}

void GammaSearch::take(PlaneRange part, std::span<const float> gamma,
                       std::span<const unsigned char> passed)
{
    const std::size_t voxels = static_cast<std::size_t>(part.count) * plane_;
    if (gamma.size() != voxels || passed.size() != voxels) {
        throw std::invalid_argument("a part of a search has another number of voxels");
    }
    const auto first = static_cast<std::ptrdiff_t>(static_cast<std::size_t>(part.first) * plane_);
    std::copy(gamma.begin(), gamma.end(), map_.values.begin() + first);
    std::copy(passed.begin(), passed.end(), map_.passed.begin() + first);
    count(part);
    ++done_;
    hasTaken_ = true;
}

void GammaSearch::count(PlaneRange part)
{
    const auto verdicts = std::span(map_.passed)
                              .subspan(static_cast<std::size_t>(part.first) * plane_,
                                       static_cast<std::size_t>(part.count) * plane_);
    const std::size_t passed = countOf(ZARNGI_PASSED, verdicts);
    passed_ += passed;
    tested_ += passed + countOf(ZARNGI_FAILED, verdicts);
}

GammaMap GammaSearch::finish()
{
    if (done_ != parts_.size()) {
        throw std::logic_error("parts of a search are missing");
    }
    if (parts_.size() > 1) {
        map_.passRate = passRateOf(passed_, tested_);
    }
    if (hasTaken_) { // all the while somebody searched
        map_.seconds = secondsSince(start_);
    }
    return std::move(map_);
}

double passRateOf(std::size_t passed, std::size_t tested)
{
    const double rate = static_cast<double>(passed) * 100.0 / static_cast<double>(tested);
    return tested > 0 ? static_cast<double>(static_cast<float>(rate)) : 0;
}

} // namespace zarngi
