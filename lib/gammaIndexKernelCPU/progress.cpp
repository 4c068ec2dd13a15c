#include "progress.h"

#include "engineState.h"
#include "report.h"

namespace zarngi::engine
{

void ProgressBar::showMark()
{
    report::progressMark();
    percent_ += 2.5F;
    if (percent_ == 100) {
        percent_ = 110; // no index gets there: the last dot is the end of the bar
    }
    findNext();
}

void reportIdlePass()
{
    if (!report::showsEverything()) {
        return;
    }
    const auto step = static_cast<std::size_t>(pthreads_max_num);
    report::progressHeader();
    ProgressBar(activeVoxels.size()).advanceTo((activeVoxels.size() - 1) / step * step);
    report::progressEnd();
}

} // namespace zarngi::engine
