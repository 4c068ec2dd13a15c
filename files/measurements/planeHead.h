/**
 * @file planeHead.h
 * What the head of a measured or planned plane tells under its keys.
 */
#ifndef ZARNGI_FILES_MEASUREMENTS_PLANEHEAD_H
#define ZARNGI_FILES_MEASUREMENTS_PLANEHEAD_H

#include <string>
#include <string_view>

#include "files/formats/textHeader.h"
#include "files/measurements/tableText.h"

namespace files
{

class PlaneHead
{
public:
    /** @param where the head stands, for sentences: " in scan 3", or nothing. */
    explicit PlaneHead(std::string where = {}) : where_(std::move(where)) {}

    /** Takes a line "KEY=value", whatever sets them apart. @throws Refusal when it is none. */
    void add(const TextLine& line, char separator);

    /** The entry under a key, in whatever case it is written; null where there is none. */
    const std::string* find(std::string_view key) const;
    /** @throws Refusal that names the key when there is none. */
    const std::string& need(std::string_view key) const;
    /** @throws Refusal when there is none, or it is no finite number. */
    double number(std::string_view key) const;
    /** A whole number from 1 on. @throws Refusal */
    std::size_t count(std::string_view key) const;

private:
    TextHeader entries_;
    std::string where_;
};

} // namespace files

#endif
