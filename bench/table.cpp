#include "table.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <iostream>

namespace bench
{

namespace
{

std::string padded(const std::string& cell, std::size_t width)
{
    return cell.size() < width ? cell + std::string(width - cell.size(), ' ') : cell;
}

} // namespace

Table::Table(const std::string& title, std::vector<ColumnFormat> columns)
    : columns_(std::move(columns))
{
    std::cout << "\n== " << title << " ==\n";
    std::vector<std::string> headings;
    for (const ColumnFormat& column : columns_) {
        headings.push_back(column.heading);
    }
    print(headings);
}

void Table::print(const std::vector<std::string>& cells) const
{
    showProgress("");
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        line += (i == 0 ? "" : " | ") + padded(cells[i], columns_.at(i).width);
    }
    std::cout << line << std::endl;
}

std::string shortNumber(double value)
{
    const int wholeDigits = value > 0 ? static_cast<int>(std::floor(std::log10(value))) + 1 : 1;
    const int decimals = wholeDigits < 3 ? 3 - wholeDigits : 0;
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

void showProgress(const std::string& what)
{
    if (isatty(STDERR_FILENO) != 0) {
        std::cerr << "\r\033[K" << what << std::flush;
    }
}

} // namespace bench
