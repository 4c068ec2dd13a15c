/**
 * @file namedFile.h
 * A file that a user names, and those that it names itself: headers with data beside them, pairs.
 */
#ifndef ZARNGI_FILES_NAMEDFILE_H
#define ZARNGI_FILES_NAMEDFILE_H

#include <functional>
#include <string>
#include <utility>

#include "files/host.h"

namespace files
{

class NamedFile
{
public:
    /** @throws Refusal when the header of a pair cannot be opened. */
    NamedFile(const std::string& path, const Host& host);
    NamedFile(const NamedFile&) = delete;
    NamedFile& operator=(const NamedFile&) = delete;

    /**
     * Its contents, to be kept by whom they are of use to; of a pipe, until it ends.
     * @param what it should be, for the sentence about a folder or device: "dose file".
     * @param checkBeginning throws a Refusal where it is not worth while to read on.
     * @throws Refusal
     */
    Contents read(const std::string& what,
                  const std::function<void(ByteView beginning)>& checkBeginning);

    /** Fetches the file that it names, while this lives. */
    FindFile finder();

    /** Tells a dose or structures that were read from it where they come from. */
    template <class Value> Value withPaths(Value value) const
    {
        value.path = header_;
        value.dataPath = dataPath_;
        return value;
    }

private:
    Bytes dataOf(const std::string& name);
    void watch(const std::string& path, const Bytes& contents) const;

    const Host& host_;
    std::string header_;
    std::string dataPath_;
    Bytes contents_;
};

} // namespace files

#endif
