#pragma once

#include <optional>
#include <span>
#include <string>

namespace qpr
{

/// The known name that somebody who wrote the given one most likely meant, for "did you mean ...?"; none when all are
/// too different. Letters of the other case cost nothing; a letter more, less, other than it should be, or swapped with
/// its neighbour is one mistake, of which about one in three letters is allowed. Of equally near names the first.
std::optional<std::wstring> NearestName(const std::wstring& given, std::span<const std::wstring> known);

} // namespace qpr
