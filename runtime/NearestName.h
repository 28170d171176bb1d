#pragma once

#include "runtime/Errors.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace qpr
{

/// The known name that somebody who wrote the given one most likely meant, for "did you mean ...?"; none when all are
/// too different. Letters of the other case cost nothing; a letter more, less, other than it should be, or swapped with
/// its neighbour is one mistake, of which about one in three letters is allowed. Of equally near names the first.
std::optional<std::wstring> NearestName(const std::wstring& given, std::span<const std::wstring> known);

/// A name that is none of the known ones. The text is the error's own; the nearest name is there to be suggested.
class UnknownNameError : public RuntimeError
{
public:
    UnknownNameError(std::wstring_view text, const std::wstring& given, std::span<const std::wstring> known)
        : RuntimeError(text)
        , m_nearest(NearestName(given, known))
    {
    }

    const std::optional<std::wstring>& GetNearest() const noexcept { return m_nearest; }

private:
    std::optional<std::wstring> m_nearest;
};

} // namespace qpr
