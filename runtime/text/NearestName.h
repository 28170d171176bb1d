#pragma once

#include <optional>
#include <span>
#include <string>

namespace qpr
{

/// The known name that the given one was most likely meant to be, for "did you mean ...?"; none when all are too
/// different. Case does not count. An extra, missing or wrong letter, or two swapped ones, are one mistake; about one
/// mistake for every three letters is allowed. Of equally near names the first is returned.
std::optional<std::wstring> NearestName(const std::wstring& given, std::span<const std::wstring> known);

} // namespace qpr
