/**
 * @file keptValues.h
 * What was read from files, kept as long as it is likely to be asked for again.
 */
#ifndef ZARNGI_WEB_ENGINE_KEPTVALUES_H
#define ZARNGI_WEB_ENGINE_KEPTVALUES_H

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace engine
{

/**
 * Values by the paths of their files: those in use, and the two that came last. A folder may hold
 * dozens of doses, of which two are compared: any other is read again when it is chosen.
 */
template <class Value> class KeptValues
{
public:
    /** Null where it is not kept. */
    const Value* find(const std::string& path) const
    {
        const auto found = values_.find(path);
        return found == values_.end() ? nullptr : &found->second;
    }

    const Value& add(const std::string& path, Value value)
    {
        latest_.erase(std::remove(latest_.begin(), latest_.end(), path), latest_.end());
        latest_.push_back(path);
        if (latest_.size() > mostLatest) {
            latest_.pop_front();
        }
        dropOthers();
        return values_.insert_or_assign(path, std::move(value)).first->second;
    }

    void use(std::set<std::string> paths)
    {
        used_ = std::move(paths);
        latest_.clear();
        dropOthers();
    }

    void forget(const std::string& path) { values_.erase(path); }

private:
    static constexpr std::size_t mostLatest = 2;

    void dropOthers()
    {
        std::erase_if(values_, [this](const auto& entry) {
            const std::string& path = entry.first;
            return !used_.contains(path) &&
                   std::find(latest_.begin(), latest_.end(), path) == latest_.end();
        });
    }

    std::map<std::string, Value> values_;
    std::set<std::string> used_;
    std::deque<std::string> latest_;
};

} // namespace engine

#endif
