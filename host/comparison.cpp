#include "host/comparison.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "comparison/compare.h"
#include "comparison/documents/disclosure.h"
#include "comparison/documents/requestJson.h"
#include "comparison/failure.h"
#include "comparison/parallel.h"
#include "host/callersSource.h"
#include "host/refusals.h"
#include "host/turn.h"

namespace
{

using host::guarded;
using host::refuse;
using zarngi::FailureKind;

/** Hands on to the caller what is told of a comparison. */
class Following
{
public:
    Following(const zarnGIHost_Watcher& watcher, const zarngi::Request& request)
        : watcher_(watcher), tasks_(request.searchedCriteria().size() + request.sweeps.size() +
                                    (request.explanation ? 1 : 0))
    {
    }

    zarngi::Watchers watchers()
    {
        zarngi::Watchers watchers;
        if (watcher_.progress != nullptr) {
            watchers.search = [this](const zarngi::Criterion& criterion) {
                begin(criterion.label());
                return
                    [this](const zarngi::SearchProgress& search) { return tell(partOf(search)); };
            };
            watchers.work = [this](const std::string& title) {
                begin(title);
                return [this](double share) { return tell(share); };
            };
        }
        if (watcher_.prepared != nullptr) {
            watchers.prepared = [this](const zarngi::Comparison& prepared) { show(prepared); };
        }
        return watchers;
    }

private:
    void begin(const std::string& task)
    {
        task_ = task;
        share_ = 0;
        ++begun_;
    }

    /** Of the shells that there can be. */
    static double partOf(const zarngi::SearchProgress& search)
    {
        return (search.shell - 1 + search.share) / std::max(1, search.shellLimit);
    }

    bool tell(double share)
    {
        share_ = std::clamp(share, share_, 1.0); // of points, each is a search of its own
        const double done =
            (static_cast<double>(begun_ - 1) + share_) / static_cast<double>(tasks_);
        const zarnGIHost_Progress progress{done, task_.c_str(), share_};
        return watcher_.progress(&progress, watcher_.context) == ZARNGI_HOST_OK;
    }

    void show(const zarngi::Comparison& prepared) const
    {
        const zarnGIHost_Comparison shown{{std::shared_ptr<void>(), &prepared}};
        if (watcher_.prepared(&shown, watcher_.context) != ZARNGI_HOST_OK) {
            throw zarngi::InputError("the comparison was interrupted", FailureKind::interrupted);
        }
    }

    const zarnGIHost_Watcher& watcher_;
    std::size_t tasks_;
    std::size_t begun_ = 0;
    std::string task_;
    double share_ = 0;
};

/** What a document does not ask for. */
void addOptions(zarngi::Request& request, const zarnGIHost_Options& options,
                const zarnGIHost_Source& source)
{
    request.hasOnlyFindings = options.hasOnlyFindings != 0;
    request.settings.verbose = options.verbose;
    request.settings.mayTestNothing = options.mayTestNothing != 0;
    if (options.isUnbounded != 0) {
        request.settings.maxGamma = std::numeric_limits<double>::infinity();
    }
    if (options.explained != nullptr && request.explanation) {
        const std::size_t voxels = host::dosesUnder(source, request.reference.file);
        if (voxels == 0) {
            throw zarngi::UsageError({zarngi::Member::reference},
                                     "what alone is explained is told of doses in memory");
        }
        request.explanation->voxels = zarngi::NamedVoxels{
            options.explainedName, {options.explained, options.explained + voxels}};
    }
}

const char* problemOf(const zarnGIHost_Options& options)
{
    return options.explained != nullptr && options.explainedName == nullptr
               ? "a required pointer is null"
               : nullptr;
}

/** @param wording becomes that of roles where nothing of files is to be told */
zarngi::Comparison compared(std::string_view document, const zarnGIHost_Source& source,
                            const zarnGIHost_Watcher& watcher, const zarnGIHost_Options& options,
                            zarngi::Wording& wording)
{
    zarngi::Request request = zarngi::requestOfText(document);
    request.settings.threads = source.threads != 0 ? source.threads : zarngi::processorCount();
    addOptions(request, options, source);
    host::CallersSource from(source, options.areLent != 0);
    if (from.isDiscreet()) {
        wording.file = zarngi::wordingByRoles(request).file;
    }
    Following following(watcher, request);
    zarngi::Watchers watchers = following.watchers();
    std::optional<host::Turn> turn;
    // Files that give no answer keep nobody else waiting.
    watchers.prepared = [&, show = watchers.prepared](const zarngi::Comparison& comparison) {
        turn.emplace();
        if (show) {
            show(comparison);
        }
    };
    return zarngi::compare(request, from, watchers);
}

} // namespace

int zarnGIHost_compare(const char* request, size_t size, const zarnGIHost_Source* source,
                       const zarnGIHost_Watcher* watcher, zarnGIHost_Comparison** comparison,
                       zarnGIHost_Refusal* refusal)
{
    return zarnGIHost_compareWith(request, size, source, watcher, nullptr, comparison, refusal);
}

int zarnGIHost_compareWith(const char* request, size_t size, const zarnGIHost_Source* source,
                           const zarnGIHost_Watcher* watcher, const zarnGIHost_Options* options,
                           zarnGIHost_Comparison** comparison, zarnGIHost_Refusal* refusal)
{
    if (refusal != nullptr) {
        *refusal = {};
    }
    if (comparison != nullptr) {
        *comparison = nullptr;
    }
    const zarnGIHost_Source from = source != nullptr ? *source : zarnGIHost_Source{};
    const zarnGIHost_Watcher told = watcher != nullptr ? *watcher : zarnGIHost_Watcher{};
    const zarnGIHost_Options wanted = options != nullptr ? *options : zarnGIHost_Options{};
    const char* problem = host::problemOf(from);
    problem = problem != nullptr ? problem : problemOf(wanted);
    if (request == nullptr || comparison == nullptr) {
        problem = "a required pointer is null";
    } else if (host::Turn::isMine()) {
        problem = "a watcher of a comparison starts another one";
    }
    if (problem != nullptr) {
        return refuse(refusal, ZARNGI_HOST_REFUSAL_ARGUMENT, problem);
    }
    zarngi::Wording wording = zarngi::plainWording();
    return guarded(refusal, wording, [&] {
        wording = host::wordingOf(wanted.words);
        auto made = std::make_shared<zarngi::Comparison>(
            compared({request, size}, from, told, wanted, wording));
        zarngi::Comparison* const own = made.get();
        *comparison = new zarnGIHost_Comparison{std::move(made), own};
        return static_cast<int>(ZARNGI_HOST_OK);
    });
}

void zarnGIHost_freeComparison(zarnGIHost_Comparison* comparison)
{
    delete comparison;
}
