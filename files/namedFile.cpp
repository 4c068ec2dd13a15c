#include "files/namedFile.h"

#include "files/pairNames.h"
#include "files/sourceFile.h"

namespace files
{

NamedFile::NamedFile(const std::string& path, const Host& host)
    : host_(host), header_(headerOfPair(path).value_or(path)), dataPath_(header_)
{
}

Contents NamedFile::read(const std::string& what,
                         const std::function<void(ByteView beginning)>& checkBeginning)
{
    SourceFile source(header_, what);
    Bytes beginning = source.readBeginning();
    checkBeginning(beginning.view());
    contents_ = source.readRest(std::move(beginning));
    watch(header_, contents_);
    return Contents(contents_);
}

FindFile NamedFile::finder()
{
    return [this](const std::string& name) { return resultOf([&] { return dataOf(name); }); };
}

Bytes NamedFile::dataOf(const std::string& name)
{
    dataPath_ = name.empty() ? dataOfPair(header_) : pathBeside(header_, name);
    Bytes contents = readDataFile(dataPath_);
    watch(dataPath_, contents);
    return contents;
}

void NamedFile::watch(const std::string& path, const Bytes& contents) const
{
    if (host_.watch) {
        host_.watch(path, contents.view());
    }
}

} // namespace files
