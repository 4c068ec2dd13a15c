#include "files/structures/runs.h"

#include <algorithm>
#include <limits>
#include <tuple>

namespace files
{

namespace
{

auto rowOf(const Run& run)
{
    return std::tie(run.z, run.y);
}

/** Adds to a row, in order of x; what touches becomes one run. */
void append(Runs& runs, const Run& run)
{
    if (run.begin >= run.end) {
        return;
    }
    if (!runs.empty() && rowOf(runs.back()) == rowOf(run) && runs.back().end >= run.begin) {
        runs.back().end = std::max(runs.back().end, run.end);
        return;
    }
    runs.push_back(run);
}

bool isBefore(const Run& a, const Run& b)
{
    return std::tie(a.z, a.y, a.begin) < std::tie(b.z, b.y, b.begin);
}

} // namespace

std::size_t pointCount(const Runs& runs)
{
    std::size_t count = 0;
    for (const Run& run : runs) {
        count += static_cast<std::size_t>(run.end - run.begin);
    }
    return count;
}

Runs intersection(const Runs& a, const Runs& b)
{
    Runs both;
    auto i = a.begin();
    auto j = b.begin();
    while (i != a.end() && j != b.end()) {
        if (rowOf(*i) != rowOf(*j)) {
            ++(rowOf(*i) < rowOf(*j) ? i : j);
            continue;
        }
        append(both, {i->z, i->y, std::max(i->begin, j->begin), std::min(i->end, j->end)});
        ++(i->end < j->end ? i : j);
    }
    return both;
}

Runs unionOf(const Runs& a, const Runs& b)
{
    Runs sorted(a.size() + b.size());
    std::merge(a.begin(), a.end(), b.begin(), b.end(), sorted.begin(), isBefore);
    Runs either;
    for (const Run& run : sorted) {
        append(either, run);
    }
    return either;
}

Runs difference(const Runs& a, const Runs& b)
{
    Runs rest;
    auto j = b.begin();
    for (const Run& run : a) {
        int begin = run.begin;
        while (j != b.end() &&
               (rowOf(*j) < rowOf(run) || (rowOf(*j) == rowOf(run) && j->end <= run.begin))) {
            ++j;
        }
        // The last of them may reach into the next run of the row.
        for (auto hole = j; hole != b.end() && rowOf(*hole) == rowOf(run) && hole->begin < run.end;
             ++hole) {
            append(rest, {run.z, run.y, begin, hole->begin});
            begin = std::max(begin, hole->end);
        }
        append(rest, {run.z, run.y, begin, run.end});
    }
    return rest;
}

} // namespace files
