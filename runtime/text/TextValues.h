#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Conversion of texts to values in the classic locale. Every failure is a RuntimeError
/// "Invalid <description> string '<text>': <what is wrong>." (without the description when it is empty).
namespace qpr
{

/// Plain conversion: the text as the stream reads it (leading white space, Unicode's, and "+" pass), nothing left over.
std::int32_t ParseInt32(std::wstring_view text, std::wstring_view description);
float ParseFloat(std::wstring_view text, std::wstring_view description);
bool ParseBool(std::wstring_view text, std::wstring_view description);

/// Non-negative conversion: "no value given", "value must be 0 or higher".
std::uint32_t ParseUInt32(std::wstring_view text, std::wstring_view description);
std::uint64_t ParseUInt64(std::wstring_view text, std::wstring_view description);

/// A non-negative integer followed directly by "%"; the result is a fraction (80% is 0.8).
float ParsePercentage(std::wstring_view text, std::wstring_view description);

enum class UnitKind
{
    Memory, ///< B, KB, MB, GB
    Frequency, ///< Hz, KHz, MHz, GHz
    Bandwidth, ///< bps, Kbps, Mbps, Gbps
};

/// A non-negative integer followed by a unit, with or without a blank, in the kind's base unit (bytes, Hz, bps); the
/// multiples are powers of 1024 for all three.
std::uint64_t ParseQuantity(std::wstring_view text, UnitKind kind, std::wstring_view description);

/// The text without the double quotes that enclose it, if any do; an opening one without its closing one is an error.
std::wstring ParseQuotedText(std::wstring_view text, std::wstring_view description);

} // namespace qpr
