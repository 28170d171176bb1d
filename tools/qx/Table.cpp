#include "tools/qx/Table.h"

#include "runtime/text/PrintableText.h"
#include "runtime/text/Utf8.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <limits>

std::string qx::Bar(double fraction, unsigned width)
{
    const double bounded = std::isnan(fraction) ? 0 : std::clamp(fraction, 0.0, 1.0);
    const auto filled = static_cast<unsigned>(std::lround(bounded * width));
    return '[' + std::string(filled, '#') + std::string(width - filled, '-') + ']';
}

namespace qx
{

std::string FormatNumber(double number, int decimals)
{
    char text[400];
    std::snprintf(text, sizeof(text), "%.*f", decimals, number);
    std::string result = text;
    if (result.find('.') == std::string::npos)
        return result;
    result.erase(result.find_last_not_of('0') + 1);
    if (result.back() == '.')
        result.pop_back();
    return result == "-0" ? "0" : result;
}

std::size_t ColumnsOf(std::string_view utf8)
{
    const auto startsCharacter = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; };
    return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), startsCharacter));
}

std::string Printable(std::string_view utf8)
{
    return qpr::ToUtf8(qpr::Printable(qpr::FromUtf8(utf8), std::numeric_limits<std::size_t>::max()));
}

Table::Table(std::vector<Column> columns)
    : m_columns(std::move(columns))
{
    std::vector<std::string> headings;
    for (const Column& column : m_columns)
        headings.push_back(column.heading);
    m_rows.push_back(std::move(headings));
}

void Table::AddRow(std::vector<std::string> cells)
{
    for (std::string& cell : cells)
        cell = Printable(cell);
    m_rows.push_back(std::move(cells));
}

std::string Table::Line(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) const
{
    std::string line;
    for (std::size_t column = 0; column < cells.size(); ++column)
    {
        const std::string padding(widths[column] - ColumnsOf(cells[column]), ' ');
        if (column > 0)
            line += "  ";
        line += m_columns[column].alignment == Alignment_Right ? padding + cells[column] : cells[column] + padding;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::vector<std::string> Table::Lines() const
{
    std::vector<std::size_t> widths(m_columns.size());
    for (const auto& row : m_rows)
    {
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], ColumnsOf(row[column]));
    }
    std::vector<std::string> lines;
    for (const auto& row : m_rows)
        lines.push_back(Line(row, widths));
    return lines;
}

void Table::Print() const
{
    for (const std::string& line : Lines())
        std::cout << line << '\n';
}

} // namespace qx
