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
#include "comparison/documents/json.h"
#include "comparison/documents/requestJson.h"
#include "comparison/failure.h"
#include "comparison/parallel.h"
#include "host/callersSource.h"
#include "host/turn.h"

namespace
{

using zarngi::FailureKind;
using zarngi::Json;

template <std::size_t size> void copyText(std::string_view text, char (&place)[size])
{
    const std::size_t length = std::min(text.size(), size - 1);
    std::copy_n(text.data(), length, place);
    place[length] = '\0';
}

int statusOf(int kind)
{
    switch (kind) {
    case ZARNGI_HOST_REFUSAL_SYSTEM:
        return ZARNGI_HOST_SYSTEM;
    case ZARNGI_HOST_REFUSAL_MEMORY:
        return ZARNGI_HOST_NO_MEMORY;
    case ZARNGI_HOST_REFUSAL_ARGUMENT:
        return ZARNGI_HOST_BAD_ARGUMENT;
    default:
        return ZARNGI_HOST_REFUSED;
    }
}

/** Tells a refusal to the caller, without memory of its own; its status. */
int refuse(zarnGIHost_Refusal* refusal, int kind, std::string_view sentence,
           std::string_view member = {})
{
    if (refusal != nullptr) {
        refusal->kind = kind;
        copyText(sentence, refusal->sentence);
        copyText(member, refusal->member);
    }
    return statusOf(kind);
}

int kindOf(const zarngi::InputError& error)
{
    switch (error.kind()) {
    case FailureKind::foreign:
        return ZARNGI_HOST_REFUSAL_FOREIGN;
    case FailureKind::damaged:
        return ZARNGI_HOST_REFUSAL_FILE;
    case FailureKind::notSupported:
        return ZARNGI_HOST_REFUSAL_UNSUPPORTED;
    case FailureKind::system:
        return ZARNGI_HOST_REFUSAL_SYSTEM;
    case FailureKind::memory:
        return ZARNGI_HOST_REFUSAL_MEMORY;
    case FailureKind::interrupted:
        return ZARNGI_HOST_REFUSAL_INTERRUPTED;
    case FailureKind::pair:
        break;
    }
    return ZARNGI_HOST_REFUSAL_PAIR;
}

int refuseFile(zarnGIHost_Refusal* refusal, const zarngi::FileFailure& failure)
{
    if (refusal != nullptr) {
        refusal->systemError = failure.error().systemError;
        copyText(failure.path(), refusal->file);
    }
    return refuse(refusal, kindOf(failure), failure.error().sentence);
}

/** What may be about one of the files, which is told apart from the sentence. */
int refusePair(zarnGIHost_Refusal* refusal, const zarngi::InputError& error,
               const zarngi::Wording& wording)
{
    std::string sentence = error.sentence().text(wording);
    const std::string file = error.sentence().subject();
    const std::string start = file + ": ";
    if (!file.empty() && sentence.starts_with(start)) {
        sentence.erase(0, start.size());
        if (refusal != nullptr) {
            copyText(file, refusal->file);
        }
    }
    return refuse(refusal, kindOf(error), sentence, error.member());
}

/**
 * Runs a comparison: no exception leaves it.
 * @param wording of what refuses it, which the call may set
 */
template <class Call>
int guarded(zarnGIHost_Refusal* refusal, const zarngi::Wording& wording, const Call& call) noexcept
{
    try {
        return call();
    } catch (const zarngi::UsageError& error) {
        return refuse(refusal, ZARNGI_HOST_REFUSAL_REQUEST, error.sentence().text(wording),
                      error.member());
    } catch (const zarngi::FileFailure& error) {
        return refuseFile(refusal, error);
    } catch (const zarngi::InputError& error) {
        return refusePair(refusal, error, wording);
    } catch (const std::bad_alloc&) {
        return refuse(refusal, ZARNGI_HOST_REFUSAL_MEMORY, "not enough memory");
    } catch (const std::length_error&) { // more than a vector holds
        return refuse(refusal, ZARNGI_HOST_REFUSAL_MEMORY, "not enough memory");
    } catch (const std::exception& error) {
        return refuse(refusal, ZARNGI_HOST_REFUSAL_SYSTEM, error.what());
    }
}

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

/** An object of texts; empty for what is none. */
Json tableOf(const char* words)
{
    try {
        return words != nullptr ? Json::parse(words) : Json::object();
    } catch (const Json::exception&) {
        return Json::object();
    }
}

/** How the caller's sentences call the members of a request. */
zarngi::Wording wordingOf(const char* words)
{
    const Json table = tableOf(words);
    return {[table](zarngi::Member member) {
                const std::string name = zarngi::memberName(member);
                const Json* const word = table.find(name);
                return word != nullptr && word->is_string() ? word->get<std::string>() : name;
            },
            zarngi::plainWording().file};
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
        wording = wordingOf(wanted.words);
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
