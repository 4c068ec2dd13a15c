/**
 * @file callersSource.h
 * Doses, structures and plans of a comparison as a caller of the C interface gives them.
 */
#ifndef ZARNGI_HOST_CALLERSSOURCE_H
#define ZARNGI_HOST_CALLERSSOURCE_H

#include <string>
#include <utility>

#include "comparison/sources/diskSource.h"
#include "host/libZarnGIHost.h"

namespace host
{

/** Why what a caller gives cannot be taken, or null. */
const char* problemOf(const zarnGIHost_Source& source);

/** How many doses are in memory under a name; 0: none. */
std::size_t dosesUnder(const zarnGIHost_Source& source, const std::string& name);

/** By name: what is in memory, then what the caller finds, then files on disk. */
class CallersSource : public zarngi::DoseSource
{
public:
    /**
     * @param source without a problem; stays where it is.
     * @param areLent its doses are not copied.
     */
    CallersSource(const zarnGIHost_Source& source, bool areLent);

    zarngi::DoseImage dose(const std::string& name, const files::TableUnits& units) override;
    files::StructureSet structures(const std::string& name) override;
    files::Plan plan(const std::string& name) override;
    std::optional<files::Plan> planBeside(const std::string& dose,
                                          const std::string& sopInstance) override;
    std::pair<zarngi::DoseImage, zarngi::DoseImage> doses(const std::string& reference,
                                                          const std::string& evaluation,
                                                          const files::TableUnits& units) override;
    zarngi::FileDigests digests() const override;
    bool isDiscreet() const override { return isDiscreet_; }

private:
    void keepDiskUncertainty();
    /** What `read` makes of the contents that the caller finds. @throws InputError */
    template <class Read> auto found(const std::string& name, const Read& read);

    const zarnGIHost_Source& source_;
    bool areLent_;
    zarngi::DiskSource disk_;
    zarngi::FileDigests digests_; ///< of what the caller found
    bool isDiscreet_;             ///< as zarnGIHost_setExcerpts() said for the calling thread
};

} // namespace host

#endif
