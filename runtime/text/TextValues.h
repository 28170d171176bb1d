#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Conversion of texts to values in the classic locale. Every failure is a RuntimeError
/// "Invalid <description> string '<text>': <what is wrong>." (without the description when it is empty).
namespace qpr
{

/// Plain conversion: as a stream reads the text, which must be used up. Leading white space (Unicode's) and "+" pass.
std::int32_t ParseInt32(std::wstring_view text, std::wstring_view description);
float ParseFloat(std::wstring_view text, std::wstring_view description);
bool ParseBool(std::wstring_view text, std::wstring_view description);

/// Non-negative conversion, with the further errors "no value given" and "value must be 0 or higher".
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

/// A non-negative integer followed by a unit, with or without a blank, converted to the kind's base unit (bytes, Hz,
/// bps). Multiples are powers of 1024 for all three kinds.
std::uint64_t ParseQuantity(std::wstring_view text, UnitKind kind, std::wstring_view description);

/// The text without its enclosing double quotes, if it has them. An opening quote without the closing one is an error.
std::wstring ParseQuotedText(std::wstring_view text, std::wstring_view description);

} // namespace qpr
