#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qx
{

/// "[#####-----]" for a fraction, which is taken within 0 and 1; one that is no number counts as 0.
std::string Bar(double fraction, unsigned width);

/// A number with at most this many decimals, without trailing zeros.
std::string FormatNumber(double number, int decimals = 2);

/// Columns (not bytes) that UTF-8 text takes, each character taken as one wide.
std::size_t ColumnsOf(std::string_view utf8);

/// The text with what a terminal might obey escaped, and nothing cut.
std::string Printable(std::string_view utf8);

/// Text in columns for people to read. Columns are as wide as their widest cell; numbers stand to the right.
class Table
{
public:
    enum Alignment
    {
        Alignment_Left,
        Alignment_Right,
    };

    struct Column
    {
        std::string heading;
        Alignment alignment = Alignment_Left;
    };

    explicit Table(std::vector<Column> columns);

    /// Requires: a cell for each column.
    void AddRow(std::vector<std::string> cells);

    /// The heading and the rows, each without a line end.
    std::vector<std::string> Lines() const;

    /// On the standard output.
    void Print() const;

private:
    std::string Line(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) const;

    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows; // the heading first
};

} // namespace qx
